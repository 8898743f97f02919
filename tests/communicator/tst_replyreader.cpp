// SPDX-License-Identifier: MIT
#include "communicator/http/replyreader.h"

#include <QTemporaryDir>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

namespace {

void feed(ReplyReader& reader, const QByteArray& text)
{
    reader.feed(text.constData(), std::size_t(text.size()));
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

QByteArray headOf(int length)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n";
}

} // namespace

class TestReplyReader : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void repliesShareTheMemoryForBodies()
    {
        TransferLimits limits;
        limits.allBodiesBytes = 1000;
        limits.smallBodyBytes = 0;
        ReplyReader first(limits);
        feed(first, headOf(700) + QByteArray(600, 'a'));
        {
            ReplyReader second(limits);
            const QByteArray tooMuch = headOf(500) + QByteArray(500, 'b');
            QCOMPARE(second.feed(tooMuch.constData(), std::size_t(tooMuch.size())),
                     ResponseParser::State::Refused);
            QCOMPARE(second.finish(State::Success).state, State::LimitExceeded);
            QCOMPARE(second.error(),
                     QStringLiteral("the replies being received together exceed their common limit"));
            second.reset();
            feed(second, headOf(400) + QByteArray(400, 'c'));
            QCOMPARE(second.finish(State::Success).state, State::Success);
            second.reset();
            feed(second, headOf(400) + QByteArray(400, 'd')); // and goes while it holds them
        }
        feed(first, QByteArray(100, 'a'));
        QCOMPARE(first.finish(State::Success).body, QByteArray(700, 'a'));
        ReplyReader third(limits);
        feed(third, headOf(1000) + QByteArray(1000, 'e'));
        QCOMPARE(third.finish(State::Success).state, State::Success);
        third.reset();
        feed(third, headOf(1001) + QByteArray(1000, 'f'));
        third.restart();
        feed(third, headOf(1000) + QByteArray(1000, 'g'));
        QCOMPARE(third.finish(State::Success).body, QByteArray(1000, 'g'));
    }

    // The room behind a text is for the JSON reader, which would copy it otherwise.
    void aBodyTakesTheMemoryThatItNeeds_data()
    {
        QTest::addColumn<int>("length");
        QTest::addColumn<int>("first"); // bytes of the first piece
        QTest::addColumn<int>("capacity");
        QTest::newRow("whole") << 1000 << 1000 << 1064;
        QTest::newRow("in two pieces") << 1000 << 1 << 1064;
        QTest::newRow("large") << (1 << 20) << 1 << (1 << 20) + 64;
        QTest::newRow("larger than what is taken at once") << (1 << 20) + 1 << 1 << (1 << 20) + 64;
    }
    void aBodyTakesTheMemoryThatItNeeds()
    {
        QFETCH(int, length);
        QFETCH(int, first);
        QFETCH(int, capacity);
        ReplyReader reader{TransferLimits()};
        feed(reader, headOf(length));
        feed(reader, QByteArray(first, 'x'));
        feed(reader, QByteArray(length - first, 'x'));
        const HttpReply reply = reader.finish(State::Success);
        QCOMPARE(reply.body.size(), length);
        QCOMPARE(reply.body.capacity(), capacity);
    }

    void aSmallReplyComesThoughLargeOnesFillTheMemory()
    {
        TransferLimits limits;
        limits.allBodiesBytes = 1000;
        limits.smallBodyBytes = 100;
        ReplyReader large(limits);
        feed(large, headOf(2000) + QByteArray(1000, 'a'));
        ReplyReader small(limits);
        feed(small, headOf(100) + QByteArray(100, 'b'));
        QCOMPARE(small.finish(State::Success).body, QByteArray(100, 'b'));
        small.reset();
        feed(small, headOf(101) + QByteArray(101, 'c'));
        QCOMPARE(small.finish(State::Success).state, State::LimitExceeded);
    }

    void everyOutcomeHasItsReason_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("ended");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("reason");
        const auto row = [](const char* name, const QByteArray& text, bool ended, int state, int status,
                            const char* reason) {
            QTest::newRow(name) << text << ended << state << status << QString::fromLatin1(reason);
        };
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        row("whole", ok + "Content-Length: 2\r\n\r\n{}", false, State::Success, 200, "");
        row("199 is interim", "HTTP/1.1 199 No\r\n\r\n", true, State::Broken, 0,
            "the connection ended in the middle of the reply's head");
        row("299", "HTTP/1.1 299 OK\r\nContent-Length: 2\r\n\r\n{}", false, State::Success, 299, "");
        row("300", "HTTP/1.1 300 No\r\nContent-Length: 2\r\n\r\n{}", false, State::HttpFailure, 300,
            "HTTP status 300");
        row("404", "HTTP/1.1 404 No\r\nContent-Length: 2\r\n\r\n{}", false, State::HttpFailure, 404,
            "HTTP status 404");
        row("206", "HTTP/1.1 206 Part\r\nContent-Length: 2\r\n\r\n{}", false, State::Broken, 206,
            "the device sent a partial reply (206), which was not requested");
        row("nothing", "", true, State::Broken, 0, "the connection ended without a reply");
        row("a cut head", "HTTP/1.1 200", true, State::Broken, 0,
            "the connection ended in the middle of the reply's head");
        row("a cut body", headOf(3) + "{}", true, State::Broken, 200,
            "the connection ended in the middle of the reply's body");
        row("no length, JSON", ok + "\r\n{}", true, State::Success, 200, "");
        row("no length, cut JSON", ok + "\r\n{\"a\"", true, State::Broken, 200,
            "the reply has no length and may be truncated");
        row("the largest body", headOf(1000) + QByteArray(1000, ' '), false, State::Success, 200, "");
        row("a larger one", headOf(1001), false, State::LimitExceeded, 200, "the reply is too large");
        row("a larger one, in chunks",
            ok + "Transfer-Encoding: chunked\r\n\r\n3E8\r\n" + QByteArray(1000, ' ') + "\r\n1\r\n \r\n",
            false, State::LimitExceeded, 200, "the reply is too large");
        row("large headers", ok + QByteArray(70000, 'x'), false, State::LimitExceeded, 0,
            "the reply's headers are too large");
        row("chunk extensions without end",
            ok + "Transfer-Encoding: chunked\r\n\r\n" +
                ("1;" + QByteArray(9000, 'e') + "\r\n \r\n").repeated(2),
            false, State::LimitExceeded, 200, "the reply's chunk extensions are too large");
        row("the largest head",
            ok + "X: " + QByteArray(65536 - 17 - 3 - 2 - 21 - 2, 'x') + "\r\nContent-Length: 2\r\n\r\n{}",
            false, State::Success, 200, "");
        row("no HTTP", "hello\r\n", false, State::Broken, 0, "the reply is not an HTTP/1 response");
    }
    void everyOutcomeHasItsReason()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, ended);
        QFETCH(int, state);
        QFETCH(int, status);
        QFETCH(QString, reason);
        TransferLimits limits;
        limits.bodyBytes = 1000;
        ReplyReader reader(limits);
        for (int i = 0; i < 2; ++i) { // a reader serves one reply after the other
            reader.reset();
            QVERIFY(!reader.hasBegun());
            QCOMPARE(reader.status(), 0);
            QCOMPARE(reader.received(), qint64(0));
            QCOMPARE(reader.expected(), qint64(-1));
            feed(reader, text);
            QCOMPARE(reader.hasBegun(), !text.isEmpty());
            if (ended) {
                reader.end();
            }
            QCOMPARE(reader.status(), status);
            const HttpReply reply = reader.finish(State::Success);
            QCOMPARE(int(reply.state), state);
            QCOMPARE(reply.status, status);
            QCOMPARE(reader.error(), reason);
            QCOMPARE(reply.body.isEmpty(), state != State::Success && state != State::HttpFailure);
        }
        // What the caller knows better has no reason of the reader's, unless the reader gave up first.
        reader.reset();
        QCOMPARE(reader.error(), QString());
        feed(reader, text);
        const bool refused = reason == QLatin1String("the reply is too large");
        const HttpReply reply = reader.finish(State::TimedOut);
        QCOMPARE(int(reply.state), refused || status == 206 ? state : int(State::TimedOut));
        QCOMPARE(reader.error(), refused || status == 206 ? reason : QString());
        QVERIFY(reply.body.isEmpty());
    }

    void theLimitsAreThoseThatArePromised()
    {
        const TransferLimits limits;
        QCOMPARE(limits.bodyBytes, qint64(268435456));
        QCOMPARE(limits.allBodiesBytes, qint64(536870912));
        QCOMPARE(limits.smallBodyBytes, qint64(65536));
        QCOMPARE(limits.downloadBytes, qint64(17179869184));
        QCOMPARE(limits.headerBytes, qint64(65536));
        QCOMPARE(limits.headerLines, 256);
        QCOMPARE(maxTargetLength, 4194304);
        QCOMPARE(maxHeaderLength, 1048576);
        QCOMPARE(maxConvertibleText, 715827882);
        QCOMPARE(defaultExpectedTime, 10000);
    }

    void headersOfOneNameAreOneList()
    {
        ReplyReader reader{TransferLimits()};
        feed(reader, "HTTP/1.1 200 OK\r\nX-Aa: 1\r\nB:\r\nx-AA: 2\r\nC: \xc3\xa9\r\nX-AA: 3\r\n"
                     "Content-Length: 2\r\n\r\n{");
        QCOMPARE(reader.header(QStringLiteral("x-aa")), QStringLiteral("1, 2, 3"));
        QCOMPARE(reader.header(QStringLiteral("d")), QString());
        QCOMPARE(reader.received(), qint64(1));
        QCOMPARE(reader.expected(), qint64(2));
        feed(reader, "}");
        QCOMPARE(reader.received(), qint64(2));
        const QMap<QString, QString> wanted{
            {"X-Aa", "1, 2, 3"}, {"B", ""}, {"C", QStringLiteral("\u00e9")}, {"Content-Length", "2"}};
        QCOMPARE(reader.finish(State::Success).headers, wanted);
        reader.reset();
        feed(reader, "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n");
        QCOMPARE(reader.finish(State::Success).headers.size(), 1);
    }

    void whatIsBegunAnewForgetsWhatCame()
    {
        ReplyReader reader{TransferLimits()};
        feed(reader, "HTTP/1.1 200 OK\r\nX: 1\r\n\r\nuntil the end");
        reader.restart();
        QVERIFY(!reader.hasBegun());
        QCOMPARE(reader.status(), 0);
        QCOMPARE(reader.header(QStringLiteral("x")), QString());
        QCOMPARE(reader.received(), qint64(0));
        QCOMPARE(reader.expected(), qint64(-1));
        feed(reader, headOf(5) + "no {}");
        const HttpReply reply = reader.finish(State::Success);
        QCOMPARE(reply.state, State::Success);
        QCOMPARE(reply.body, QByteArray("no {}"));
        QCOMPARE(reply.headers.size(), 1);
    }

    void onlyAWholeGoodReplyBecomesTheFile_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("state");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("body");
        const QByteArray large(1500, 'x'); // more than a body in memory may have
        QTest::newRow("good") << headOf(1500) + large << int(State::Success) << large << QByteArray();
        QTest::newRow("too large") << headOf(2001) << int(State::LimitExceeded) << QByteArray("old")
                                   << QByteArray();
        QTest::newRow("cut") << headOf(5) + "abcd" << int(State::Broken) << QByteArray("old") << QByteArray();
        QTest::newRow("of no length") << QByteArray("HTTP/1.1 200 OK\r\n\r\n{}") << int(State::Broken)
                                      << QByteArray("old") << QByteArray();
        QTest::newRow("a failure") << QByteArray("HTTP/1.1 404 No\r\nContent-Length: 2\r\n\r\n{}")
                                   << int(State::HttpFailure) << QByteArray("old") << QByteArray("{}");
        QTest::newRow("a failure whose text is too large")
            << "HTTP/1.1 404 No\r\nContent-Length: 1500\r\n\r\n" + large << int(State::LimitExceeded)
            << QByteArray("old") << QByteArray();
    }
    void onlyAWholeGoodReplyBecomesTheFile()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, state);
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, body);
        const QTemporaryDir directory;
        const QString path = directory.filePath(QStringLiteral("old.bin"));
        QFile old(path);
        QVERIFY(old.open(QIODevice::WriteOnly) && old.write("old") == 3);
        old.close();
        TransferLimits limits;
        limits.bodyBytes = 1000;
        limits.downloadBytes = 2000;
        limits.allBodiesBytes = 1400; // a file takes no memory
        ReplyReader reader(limits);
        QVERIFY(reader.storeIn(path));
        feed(reader, text);
        reader.end();
        const HttpReply reply = reader.finish(State::Success);
        QCOMPARE(int(reply.state), state);
        QCOMPARE(reply.body, body);
        QCOMPARE(contentOf(path), content);
        // The next reply goes to memory again.
        reader.reset();
        feed(reader, headOf(2) + "{}");
        QCOMPARE(reader.finish(State::Success).body, QByteArray("{}"));
        QCOMPARE(contentOf(path), content);
        QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    }

    void aReplyThatWouldBecomeTooMuchIsBrokenOff_data()
    {
        QTest::addColumn<QByteArray>("start");
        QTest::addColumn<QByteArray>("element");
        QTest::addColumn<int>("state");
        const auto row = [](const char* name, const QByteArray& start, const QByteArray& element, int state) {
            QTest::newRow(name) << start << element << state;
        };
        row("objects", "{\"data\":[", "{\"\":1},", State::LimitExceeded);
        row("numbers", "[", "1,", State::LimitExceeded);
        row("closing brackets", "[", "]", State::LimitExceeded);
        row("behind a byte-order mark and white space", "\xEF\xBB\xBF \n[", "[],", State::LimitExceeded);
        row("a long string", "{\"data\":\"", "[1,{\\\"},", State::Success);
        row("many short strings", "{\"data\":[", "\"0.125,0.5\",", State::Success);
        row("no JSON", "coefficients ", "1 ", State::Success);
        row("white space", "", " ", State::Success);
        row("zero bytes", "", QByteArray(1, '\0'), State::Success);
    }
    // The bound is exceeded long before the end where it is.
    void aReplyThatWouldBecomeTooMuchIsBrokenOff()
    {
        QFETCH(QByteArray, start);
        QFETCH(QByteArray, element);
        QFETCH(int, state);
        constexpr int size = 40 << 20;
        ReplyReader reader{TransferLimits()};
        const QByteArray piece = element.repeated((60 << 10) / element.size());
        feed(reader, headOf(start.size() + piece.size() * (size / piece.size())) + start);
        ResponseParser::State parsing = ResponseParser::State::Reading;
        for (int i = 0; i < size / piece.size() && parsing == ResponseParser::State::Reading; ++i) {
            parsing = reader.feed(piece.constData(), std::size_t(piece.size()));
        }
        const bool isWhole = state == State::Success;
        QCOMPARE(parsing == ResponseParser::State::Complete, isWhole);
        const HttpReply reply = reader.finish(State::Success);
        QCOMPARE(int(reply.state), state);
        QCOMPARE(reply.body.isEmpty(), !isWhole);
        QCOMPARE(reader.error(),
                 isWhole ? QString() : QStringLiteral("the reply holds more than 8 million JSON tokens"));
        // The next one is counted anew.
        reader.reset();
        feed(reader, headOf(5 << 20) + "[" + QByteArray("1,").repeated((5 << 19) - 1) + "1]");
        QCOMPARE(reader.finish(State::Success).state, State::Success);
    }

    void aFileThatCannotBeWrittenIsTold()
    {
        const QTemporaryDir directory;
        ReplyReader reader{TransferLimits()};
        QVERIFY(!reader.storeIn(directory.filePath(QStringLiteral("none/x"))));
        QVERIFY2(reader.error().startsWith(QLatin1String("cannot write the destination: ")),
                 qPrintable(reader.error()));
        QVERIFY(!reader.storeIn(QStringLiteral("/dev/null")));
        QCOMPARE(reader.error(), QStringLiteral("cannot write the destination: not a regular file"));
    }
};

QTEST_GUILESS_MAIN(TestReplyReader)
#include "tst_replyreader.moc"
