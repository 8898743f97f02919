// SPDX-License-Identifier: MIT
#include "communicator/http/responseparser.h"

#include <QtTest>

#include <vector>

using namespace Krelm::Communicator::HttpDevice;
using State = ResponseParser::State;

namespace {

struct Recorder final : ResponseParser::Handler
{
    void responseField(std::string_view name, std::string_view value) override
    {
        fields.append(QByteArray(name.data(), int(name.size())) + '=' +
                      QByteArray(value.data(), int(value.size())));
    }
    bool responseHead(const ResponseParser::Head& given) override
    {
        ++heads;
        head = given;
        return wantsHead;
    }
    bool responseBody(const char* bytes, std::size_t size) override
    {
        body.append(bytes, int(size));
        return body.size() <= wantedBody;
    }

    QByteArrayList fields;
    ResponseParser::Head head;
    QByteArray body;
    int heads = 0;
    bool wantsHead = true;
    int wantedBody = 1 << 20;
};

struct Reading
{
    explicit Reading(const TransferLimits& limits = {})
        : parser(recorder, limits)
    {}
    /// Feeds @p text in pieces of @p size.
    State feed(const QByteArray& text, int size)
    {
        for (int at = 0; at < text.size(); at += size) {
            const QByteArray piece = text.mid(at, size);
            parser.feed(piece.constData(), std::size_t(piece.size()));
        }
        return parser.state();
    }
    Recorder recorder;
    ResponseParser parser;
};

const std::vector<int> pieceSizes{1, 2, 3, 7, 64, 100000};

} // namespace

class TestResponseParser : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void headsAreCountedForEachResponseAnew()
    {
        TransferLimits limits;
        limits.headerLines = 3;
        limits.headerBytes = 100;
        Reading reading(limits);
        const QByteArray lines = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n";
        const QByteArray interim = "HTTP/1.1 100 Go\r\n\r\n";
        for (const int size : pieceSizes) {
            QCOMPARE(reading.feed(lines, size), State::Complete);
            reading.parser.reset();
            QCOMPARE(reading.feed("HTTP/1.1 200 OK\r\nA:\r\nContent-Length: 0\r\n\r\n", size),
                     State::TooLarge);
            reading.parser.reset();
        }
        // Interim ones count, and what has come of the next one before it is whole.
        limits.headerLines = 100;
        for (const int size : pieceSizes) {
            Reading another(limits);
            QCOMPARE(another.feed(interim + interim, size), State::Reading);
            const int left = 100 - 2 * interim.size();
            const QByteArray begun = "HTTP/1.1 200 OK\r\n" + QByteArray(left - 17, 'x');
            QCOMPARE(another.feed(begun, size), State::Reading);
            QCOMPARE(another.feed("x", size), State::TooLarge);
        }
    }

    void aHeadThatIsTooLargeIsSoThoughItsEndComesAtOnce()
    {
        TransferLimits limits;
        limits.headerBytes = 100;
        const QByteArray lines = "HTTP/1.1 200 OK\r\nContent-Length: 0\r\n";
        for (const int length : {100, 105}) {
            const QByteArray head = lines + "X:" + QByteArray(length - lines.size() - 6, 'x') + "\r\n\r\n";
            Reading reading(limits);
            QCOMPARE(reading.feed(head, 60), length == 100 ? State::Complete : State::TooLarge);
        }
    }

    void aSloppyButHarmlessResponseIsUnderstood_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("fields");
        const auto row = [](const char* name, const QByteArray& text, const QByteArray& fields) {
            QTest::newRow(name) << text << fields;
        };
        row("by the book", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}", "Content-Length=2");
        row("bare line feeds", "HTTP/1.1 200 OK\nContent-Length: 2\n\n{}", "Content-Length=2");
        row("bare line feeds mixed with CRLF", "HTTP/1.1 200 OK\r\nContent-Length: 2\n\r\n{}",
            "Content-Length=2");
        row("a bare blank line", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\n{}", "Content-Length=2");
        row("no reason phrase", "HTTP/1.1 200 \r\nContent-Length: 2\r\n\r\n{}", "Content-Length=2");
        row("nothing after the status", "HTTP/1.1 200\r\nContent-Length: 2\r\n\r\n{}", "Content-Length=2");
        row("a long reason phrase", "HTTP/1.1 200 All is well: really\r\nContent-Length: 2\r\n\r\n{}",
            "Content-Length=2");
        row("unusual capitalisation", "HTTP/1.1 200 OK\r\ncOnTeNt-lEnGtH: 2\r\n\r\n{}", "cOnTeNt-lEnGtH=2");
        row("HTTP/1.0", "HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\n{}", "Content-Length=2");
        row("no space after the colon", "HTTP/1.1 200 OK\r\nContent-Length:2\r\n\r\n{}", "Content-Length=2");
        row("spaces around the value", "HTTP/1.1 200 OK\r\nContent-Length: \t 2 \r\n\r\n{}",
            "Content-Length=2");
        row("a space before the colon", "HTTP/1.1 200 OK\r\nContent-Length : 2\r\n\r\n{}",
            "Content-Length=2");
        row("two spaces before the status", "HTTP/1.1  200 OK\r\nContent-Length: 2\r\n\r\n{}",
            "Content-Length=2");
        row("a folded line", "HTTP/1.1 200 OK\r\nX-Long: a\r\n  b\r\nContent-Length: 2\r\n\r\n{}",
            "X-Long=a b,Content-Length=2");
        row("an empty value", "HTTP/1.1 200 OK\r\nX-None:\r\nContent-Length: 2\r\n\r\n{}",
            "X-None=,Content-Length=2");
        row("the same length twice", "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nContent-Length: 2\r\n\r\n{}",
            "Content-Length=2,Content-Length=2");
        row("non-ASCII letters", "HTTP/1.1 200 OK\r\nX-Name: B\xfchne\r\nContent-Length: 2\r\n\r\n{}",
            "X-Name=B\xfchne,Content-Length=2");
        row("chunks", "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\n{\r\n1\r\n}\r\n0\r\n\r\n",
            "Transfer-Encoding=chunked");
        row("chunks with unusual capitalisation",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: Chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n",
            "Transfer-Encoding=Chunked");
        row("chunks with an extension",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2;a=b\r\n{}\r\n0\r\n\r\n",
            "Transfer-Encoding=chunked");
        row("chunks with a trailer",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\nX-Late: 1\r\n\r\n",
            "Transfer-Encoding=chunked");
        row("leading zeros in a chunk's size",
            "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0002\r\n{}\r\n0\r\n\r\n",
            "Transfer-Encoding=chunked");
        row("interim responses",
            "HTTP/1.1 100 Continue\r\nX-Early: 1\r\n\r\nHTTP/1.1 103 Early Hints\r\n\r\n"
            "HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}",
            "Content-Length=2");
    }
    void aSloppyButHarmlessResponseIsUnderstood()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, fields);
        for (const int size : pieceSizes) {
            Reading reading;
            QCOMPARE(reading.feed(text, size), State::Complete);
            QCOMPARE(reading.recorder.head.status, 200);
            QCOMPARE(reading.recorder.heads, 1);
            QCOMPARE(reading.recorder.body, QByteArray("{}"));
            QCOMPARE(reading.recorder.fields.join(','), fields);
        }
    }

    void aChunkHasAsManyBytesAsItsHexadecimalSizeSays()
    {
        const QByteArray head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
        for (const QByteArray digits : {"9", "10", "1a", "aF", "bcd", "0E", "Fe"}) {
            const QByteArray data(digits.toInt(nullptr, 16), 'x');
            for (const int size : pieceSizes) {
                Reading reading;
                QCOMPARE(reading.feed(head + digits + "\r\n" + data + "\r\n0\r\n\r\n", size),
                         State::Complete);
                QCOMPARE(reading.recorder.body, data);
            }
        }
    }

    void whatCouldMisleadIsMalformed_data()
    {
        QTest::addColumn<QByteArray>("text");
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        const QByteArray chunked = ok + "Transfer-Encoding: chunked\r\n\r\n";
        const auto row = [](const char* name, const QByteArray& text) { QTest::newRow(name) << text; };
        row("two lengths", ok + "Content-Length: 2\r\nContent-Length: 3\r\n\r\n{}x");
        row("two lengths in one line", ok + "Content-Length: 2, 3\r\n\r\n{}x");
        row("a length and chunks",
            ok + "Content-Length: 2\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n0\r\n\r\n");
        row("chunks and a length",
            ok + "Transfer-Encoding: chunked\r\nContent-Length: 2\r\n\r\n2\r\n{}\r\n0\r\n\r\n");
        row("chunked twice",
            ok + "Transfer-Encoding: chunked\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
        row("another coding", ok + "Transfer-Encoding: gzip\r\n\r\n{}");
        row("two codings", ok + "Transfer-Encoding: gzip, chunked\r\n\r\n0\r\n\r\n");
        row("chunks in HTTP/1.0", "HTTP/1.0 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n");
        row("a negative length", ok + "Content-Length: -2\r\n\r\n{}");
        row("a signed length", ok + "Content-Length: +2\r\n\r\n{}");
        row("a length that is no number", ok + "Content-Length: two\r\n\r\n{}");
        row("a hexadecimal length", ok + "Content-Length: 0x2\r\n\r\n{}");
        row("an empty length", ok + "Content-Length:\r\n\r\n{}");
        row("a length beyond 64 bits", ok + "Content-Length: 18446744073709551618\r\n\r\n{}");
        row("a status line among the headers",
            "HTTP/1.1 500 No\r\nHTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}");
        row("a line without a colon", ok + "Content-Length 2\r\n\r\n{}");
        row("a line without a name", ok + ": 2\r\n\r\n{}");
        row("a name with a blank", ok + "Content Length: 2\r\n\r\n{}");
        row("a zero byte in a value", ok + QByteArray("X-A: a\0b\r\nContent-Length: 2\r\n\r\n{}", 33));
        row("a folded line after the status", ok + " X-A: b\r\nContent-Length: 2\r\n\r\n{}");
        row("a status of two digits", "HTTP/1.1 20 OK\r\n\r\n");
        row("a status of four digits", "HTTP/1.1 2000 OK\r\n\r\n");
        row("a status that is no number", "HTTP/1.1 2x0 OK\r\n\r\n");
        row("no status", "HTTP/1.1\r\n\r\n");
        row("HTTP/2", "HTTP/2 200 OK\r\n\r\n");
        row("HTTP/1.12", "HTTP/1.12 200 OK\r\n\r\n");
        row("a request", "GET / HTTP/1.1\r\n\r\n");
        row("another protocol", "220 mail server ready\r\n");
        row("another protocol, switched to", "HTTP/1.1 101 Switching Protocols\r\n\r\n");
        row("bytes before the status line", "\r\nHTTP/1.1 200 OK\r\n\r\n");
        row("a chunk's size that is no number", chunked + "zz\r\n{}\r\n0\r\n\r\n");
        row("a negative chunk", chunked + "-2\r\n{}\r\n0\r\n\r\n");
        row("a chunk longer than its size", chunked + "1\r\n{}\r\n0\r\n\r\n");
        row("a chunk's size beyond 64 bits", chunked + "10000000000000002\r\n{}\r\n0\r\n\r\n");
        row("a blank before a chunk's size", chunked + " 2\r\n{}\r\n0\r\n\r\n");
        row("a status line in the trailer", chunked + "2\r\n{}\r\n0\r\nHTTP/1.1 200 OK\r\n\r\n");
    }
    void whatCouldMisleadIsMalformed()
    {
        QFETCH(QByteArray, text);
        for (const int size : pieceSizes) {
            Reading reading;
            QCOMPARE(reading.feed(text, size), State::Malformed);
            QVERIFY(!reading.parser.error().isEmpty());
            QVERIFY(!reading.parser.keepsConnection());
        }
    }

    // A device that falls silent there is not waited for.
    void aWrongByteInTheFrameOfAChunkIsNoticedWhenItComes_data()
    {
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<char>("wrong");
        const auto row = [](const char* name, const QByteArray& before, char wrong) {
            QTest::newRow(name) << "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + before << wrong;
        };
        row("no size", "", 'z');
        row("a size in words", "1", 'z');
        row("a size of 65 bits", "1000000000000000", '0');
        row("a blank before the size", "", ' ');
        row("a bare line feed behind the size", "2", '\n');
        row("a bare carriage return behind the size", "2\r", '{');
        row("a blank behind the size", "2 ", '\r');
        row("an extension without a name", "2;", '\r');
        row("an extension's name", "2;a", '/');
        row("a blank behind an extension's name", "2;a ", 'b');
        row("an extension without a value", "2;a=", '\r');
        row("an extension's value", "2;a=b", '(');
        row("a quoted value without end", "2;a=\"b", '\r');
        row("an escaped line end", "2;a=\"\\", '\r');
        row("behind a quoted value", "2;a=\"b\"", 'c');
        row("no line end behind the data", "2\r\n{}", '0');
        row("half a line end behind the data", "2\r\n{}\r", '0');
        row("a blank line behind the data", "2\r\n{}\r\n", '\r');
        row("a trailer that begins with a colon", "0\r\n", ':');
        row("a folded line at the beginning of the trailer", "0\r\n", ' ');
        row("a blank in a name of the trailer", "0\r\nX", ' ');
        row("a control character in the trailer", "0\r\nX: ", '\b');
        row("a bare carriage return in the trailer", "0\r\nX: y\r", 'z');
        row("a second field without a name", "0\r\nX: y\r\n z\r\n", ':');
        row("half a line end at the end", "0\r\n\r", '\r');
    }
    void aWrongByteInTheFrameOfAChunkIsNoticedWhenItComes()
    {
        QFETCH(QByteArray, before);
        QFETCH(char, wrong);
        for (const int size : pieceSizes) {
            Reading pieces;
            QCOMPARE(pieces.feed(before, size), State::Reading);
            QCOMPARE(pieces.feed(QByteArray(1, wrong), 1), State::Malformed);
            Reading whole;
            QCOMPARE(whole.feed(before + wrong, size), State::Malformed);
            QCOMPARE(whole.parser.error(), pieces.parser.error());
        }
    }

    void aFrameMayComeInPieces_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("by the book") << QByteArray("2\r\n{}\r\n0\r\n\r\n");
        QTest::newRow("extensions") << QByteArray("2 ; a = b;c=\"d;\\\"e\" ;f\r\n{}\r\n0;g=h\r\n\r\n");
        QTest::newRow("a tab in the trailer") << QByteArray("1\r\n{\r\n1\r\n}\r\n0\r\nX: a\tb\r\n\r\n");
        QTest::newRow("a trailer") << QByteArray("1\r\n{\r\n01\r\n}\r\n00\r\nX:\r\n y\r\nZ: \xff\r\n\r\n");
        QTest::newRow("zeros") << QByteArray("00000000000000000000002\r\n{}\r\n0\r\n\r\n");
    }
    void aFrameMayComeInPieces()
    {
        QFETCH(QByteArray, body);
        for (const int size : pieceSizes) {
            Reading reading;
            QCOMPARE(reading.feed("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n" + body, size),
                     State::Complete);
            QCOMPARE(reading.recorder.body, QByteArray("{}"));
        }
    }

    void chunksWithoutAByteAreAnEmptyBody()
    {
        const QByteArray text = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\nX-Late: 1\r\n\r\n";
        for (const int size : pieceSizes) {
            Reading reading;
            QCOMPARE(reading.feed(text, size), State::Complete);
            QCOMPARE(reading.recorder.body, QByteArray());
            QVERIFY(reading.parser.keepsConnection());
        }
    }

    void theEndOfTheConnectionCompletesNothingButABodyWithoutALength_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("complete");
        const QByteArray ok = "HTTP/1.1 200 OK\r\n";
        QTest::newRow("nothing") << QByteArray() << false;
        QTest::newRow("within the status line") << QByteArray("HTTP/1.1 2") << false;
        QTest::newRow("within the head") << ok + "X-A: b\r\n" << false;
        QTest::newRow("within a body") << ok + "Content-Length: 3\r\n\r\n{}" << false;
        QTest::newRow("within a chunk") << ok + "Transfer-Encoding: chunked\r\n\r\n3\r\n{}" << false;
        QTest::newRow("before the last chunk") << ok + "Transfer-Encoding: chunked\r\n\r\n2\r\n{}\r\n"
                                               << false;
        QTest::newRow("within the trailer") << ok + "Transfer-Encoding: chunked\r\n\r\n0\r\nX: 1\r\n"
                                            << false;
        QTest::newRow("after an interim response") << QByteArray("HTTP/1.1 100 Continue\r\n\r\n") << false;
        QTest::newRow("a body without a length") << ok + "\r\n{}" << true;
        QTest::newRow("an empty body without a length") << ok + "\r\n" << true;
    }
    void theEndOfTheConnectionCompletesNothingButABodyWithoutALength()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, complete);
        for (const int size : pieceSizes) {
            Reading reading;
            QCOMPARE(reading.feed(text, size), State::Reading);
            QCOMPARE(reading.parser.hasBegun(), !text.isEmpty());
            QCOMPARE(reading.parser.end(), complete ? State::Complete : State::Cut);
            QVERIFY(!reading.parser.keepsConnection());
        }
    }

    void theConnectionIsKeptOnlyWhenNothingSpeaksAgainstIt_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<bool>("kept");
        QTest::newRow("HTTP/1.1") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}") << true;
        QTest::newRow("no body") << QByteArray("HTTP/1.1 204 No Content\r\n\r\n") << true;
        QTest::newRow("no body, with a length")
            << QByteArray("HTTP/1.1 304 Same\r\nContent-Length: 7\r\n\r\n") << true;
        QTest::newRow("told to close")
            << QByteArray("HTTP/1.1 200 OK\r\nConnection: close\r\nContent-Length: 2\r\n\r\n{}") << false;
        QTest::newRow("told to close, among others")
            << QByteArray("HTTP/1.1 200 OK\r\nConnection: x-other, Close\r\nContent-Length: 2\r\n\r\n{}")
            << false;
        QTest::newRow("HTTP/1.0") << QByteArray("HTTP/1.0 200 OK\r\nContent-Length: 2\r\n\r\n{}") << false;
        QTest::newRow("HTTP/1.0, told to keep it")
            << QByteArray("HTTP/1.0 200 OK\r\nConnection: Keep-Alive\r\nContent-Length: 2\r\n\r\n{}") << true;
        QTest::newRow("bytes after the body")
            << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}x") << false;
        QTest::newRow("bytes after a reply without a body")
            << QByteArray("HTTP/1.1 204 No Content\r\n\r\nx") << false;
        QTest::newRow("bytes after the last chunk")
            << QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\nx") << false;
    }
    void theConnectionIsKeptOnlyWhenNothingSpeaksAgainstIt()
    {
        QFETCH(QByteArray, text);
        QFETCH(bool, kept);
        for (const int size : pieceSizes) {
            Reading reading;
            QCOMPARE(reading.feed(text, size), State::Complete);
            QCOMPARE(reading.parser.keepsConnection(), kept);
        }
    }

    void aLengthBeyondTheRangeOfFilesIsTheLongestThereIs()
    {
        Reading reading;
        reading.feed("HTTP/1.1 200 OK\r\nContent-Length: 18446744073709551615\r\n\r\n", 1000);
        QCOMPARE(reading.recorder.head.length, std::numeric_limits<qint64>::max());
    }

    void framingIsBounded_data()
    {
        QTest::addColumn<QByteArray>("text");
        const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
        QByteArray lines;
        for (int i = 0; i < 300; ++i) {
            lines += "X: 1\r\n";
        }
        QByteArray chunks;
        for (int i = 0; i < 2000; ++i) {
            chunks += "1;abcdefgh=12345678\r\nx\r\n";
        }
        QByteArray interim;
        for (int i = 0; i < 2000; ++i) {
            interim += "HTTP/1.1 100 Continue\r\nX-A: 1234567890\r\n\r\n";
        }
        QTest::newRow("a header of 70 KB") << "HTTP/1.1 200 OK\r\nX: " + QByteArray(70000, 'h') + "\r\n\r\n";
        QTest::newRow("a header without end") << "HTTP/1.1 200 OK\r\nX: " + QByteArray(200000, 'h');
        QTest::newRow("300 header lines") << "HTTP/1.1 200 OK\r\n" + lines + "\r\n";
        QTest::newRow("interim responses without end") << interim;
        QTest::newRow("a chunk's frame without end") << chunked + "1;" + QByteArray(40000, 'x');
        QTest::newRow("extensions of many chunks") << chunked + chunks;
        QTest::newRow("a trailer without end") << chunked + "0\r\nX: " + QByteArray(40000, 'x');
    }
    void framingIsBounded()
    {
        QFETCH(QByteArray, text);
        for (const int size : {64, 1000, 100000}) {
            Reading reading;
            QCOMPARE(reading.feed(text, size), State::TooLarge);
            QVERIFY(!reading.parser.error().isEmpty());
        }
    }

    void aBodyReachesToTheEndOfTheConnectionOnlyWithoutALength()
    {
        const auto untilClose = [](const QByteArray& text) {
            Reading reading;
            reading.feed(text + "\r\n", 100000);
            return reading.recorder.heads == 1 && reading.recorder.head.untilClose;
        };
        QVERIFY(untilClose("HTTP/1.1 200 OK\r\n"));
        QVERIFY(!untilClose("HTTP/1.1 200 OK\r\nContent-Length: 0\r\n"));
        QVERIFY(!untilClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n"));
        QVERIFY(!untilClose("HTTP/1.1 204 No\r\n"));
        QVERIFY(untilClose("HTTP/1.1 205 No\r\n"));
        QVERIFY(!untilClose("HTTP/1.1 304 No\r\n"));
        QVERIFY(untilClose("HTTP/1.1 305 No\r\n"));
    }

    void whatIsMalformedIsTold()
    {
        const auto errorOf = [](const QByteArray& text) {
            Reading reading;
            reading.feed(text, 100000);
            return reading.parser.error();
        };
        QVERIFY(errorOf("HTTP/1.1 200 OK\r\n: 2\r\n\r\n")
                    .startsWith(QLatin1String("the reply's head is not valid HTTP: ")));
        QVERIFY(errorOf("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\n{}\r\n")
                    .startsWith(QLatin1String("the reply's body is not valid HTTP: ")));
        QCOMPARE(errorOf("220 mail"), QStringLiteral("the reply is not an HTTP/1 response"));
        QCOMPARE(errorOf("HTTP/1.1 200 OK\r\nX: " + QByteArray(70000, 'x')),
                 QStringLiteral("the reply's headers are too large"));
        QCOMPARE(errorOf("HTTP/1.1 200 OK\r\n" + QByteArray("X: 1\r\n").repeated(300) + "\r\n"),
                 QStringLiteral("the reply's headers are too large"));
        const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
        QCOMPARE(errorOf(chunked + "1;" + QByteArray(40000, 'x')),
                 QStringLiteral("the reply's chunk framing is too large"));
        QCOMPARE(errorOf(chunked + ("1;" + QByteArray(9000, 'x') + "\r\ny\r\n").repeated(2)),
                 QStringLiteral("the reply's chunk extensions are too large"));
    }

    void framingReachesToItsBound()
    {
        const QByteArray chunked = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n";
        for (const int tooMuch : {0, 1}) {
            const State expected = tooMuch == 0 ? State::Reading : State::TooLarge;
            Reading frame;
            QCOMPARE(frame.feed(chunked + "1;" + QByteArray(16384 - 2 + tooMuch, 'x'), 100000), expected);
            // In several chunks, each with the semicolon.
            Reading extensions;
            QByteArray chunks;
            for (int i = 0; i < 16; ++i) {
                chunks += "1;" + QByteArray(1023 + (i == 0 ? tooMuch : 0), 'x') + "\r\ny\r\n";
            }
            QCOMPARE(extensions.feed(chunked + chunks, 100000), expected);
        }
    }

    void aHandlerThatRefusesEndsTheReading()
    {
        Reading head;
        head.recorder.wantsHead = false;
        QCOMPARE(head.feed("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}", 1000), State::Refused);
        QCOMPARE(head.recorder.body, QByteArray());
        for (const QByteArray& text :
             {QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n123456789"),
              QByteArray("HTTP/1.1 200 OK\r\n\r\n123456789"),
              QByteArray("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n9\r\n123456789")}) {
            Reading body;
            body.recorder.wantedBody = 3;
            QCOMPARE(body.feed(text, 1), State::Refused);
            QCOMPARE(body.recorder.body, QByteArray("1234"));
        }
    }

    void aResponseMayFollowAnotherAfterReset()
    {
        Reading reading;
        QCOMPARE(reading.feed("HTTP/1.1 500 No\r\nContent-Length: 1\r\n\r\nx?", 1), State::Complete);
        reading.parser.reset();
        QVERIFY(!reading.parser.hasBegun());
        QCOMPARE(reading.feed("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n1\r\ny\r\n0\r\n\r\n", 1),
                 State::Complete);
        QCOMPARE(reading.recorder.head.status, 200);
        QCOMPARE(reading.recorder.body, QByteArray("xy"));
        QVERIFY(reading.parser.keepsConnection());
    }
};

QTEST_GUILESS_MAIN(TestResponseParser)
#include "tst_responseparser.moc"
