// SPDX-License-Identifier: MIT
#include "communicator/events/ssereader.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

namespace {

struct Reading
{
    QList<QByteArray> events;
    QStringList ids;
    int gaps = 0;
    SseReader reader{1000, [this](SseReader::Event&& event) {
                         if (event.id) {
                             ids.append(QString::fromUtf8(*event.id));
                         }
                         if (event.data) {
                             events.append(*event.data);
                         }
                         gaps += event.isGap ? 1 : 0;
                     }};

    bool feed(const QByteArray& bytes)
    {
        return reader.feed(bytes.constData(), static_cast<size_t>(bytes.size()));
    }
};

} // namespace

class TestSseReader : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void streamsAreReadWhereverThePiecesEnd_data();
    void streamsAreReadWhereverThePiecesEnd();

    void whatIsTakenIsCountedToTheByte();

    void anIdCountsWithItsEventOnly()
    {
        Reading reading;
        reading.feed("id: 1\ndata: a\n\nid: 2\ndata: b\n");
        QCOMPARE(reading.reader.lastEventId(), QByteArray("1"));
        reading.reader.reset();
        reading.feed("data: c\n\n");
        QCOMPARE(reading.reader.lastEventId(), QByteArray("1"));
    }

    void anIdIsKeptAcrossEventsUntilItIsEmptied()
    {
        Reading reading;
        reading.feed("id: 1\ndata: a\n\ndata: b\n\n");
        QCOMPARE(reading.reader.lastEventId(), QByteArray("1"));
        reading.feed("id\ndata: c\n\n");
        QCOMPARE(reading.reader.lastEventId(), QByteArray());
    }

    void anIdIsToldWithTheBlockThatNamesItOnly()
    {
        Reading reading;
        reading.feed("id: e:1\n\ndata: a\n\nid: e:2\ndata: b\n\n:\n\ndata: c\nid: e:3\n\n");
        QCOMPARE(reading.ids, (QStringList{"e:1", "e:2", "e:3"}));
        QCOMPARE(reading.events, (QList<QByteArray>{"a", "b", "c"}));
    }

    void aGapIsAnEventOfItsOwnType()
    {
        Reading reading;
        reading.feed(
            "event: gap\nid: e:7\ndata: {}\n\nevent: gaps\ndata: a\n\nevent: gap\nevent: other\ndata: b\n\n"
            "event: gap\n\ndata: c\n\n"); // without data it is no event, but it says enough
        QCOMPARE(reading.gaps, 2);
        QCOMPARE(reading.ids, QStringList("e:7"));
        QCOMPARE(reading.events.size(), 4);
    }

    void anIdWithNulOrBeyondAHeadersSizeIsIgnored()
    {
        Reading reading;
        reading.feed("id: 1\n\n");
        reading.feed(QByteArray("id: 2\0x\n\n", 9));
        QCOMPARE(reading.reader.lastEventId(), QByteArray("1"));
        SseReader large(1 << 20, [](SseReader::Event&&) {});
        const QByteArray line = "id: " + QByteArray(5000, 'i') + "\n\n";
        QVERIFY(large.feed(line.constData(), static_cast<size_t>(line.size())));
        QVERIFY(large.lastEventId().isEmpty());
    }

    void anIdThatIsKnownFromBeforeHoldsUntilTheNext()
    {
        SseReader reader(1 << 20, [](SseReader::Event&&) {});
        const auto feed = [&reader](const QByteArray& text) {
            return reader.feed(text.constData(), std::size_t(text.size()));
        };
        reader.setLastEventId("e:1");
        QCOMPARE(reader.lastEventId(), QByteArray("e:1"));
        QVERIFY(feed("data: 1\n\n"));
        QCOMPARE(reader.lastEventId(), QByteArray("e:1"));
        QVERIFY(feed("id: e:2\ndata: 2\n\nid: e:3\n"));
        QCOMPARE(reader.lastEventId(), QByteArray("e:2"));
    }

    void anIdReachesToItsBound()
    {
        for (const int size : {4096, 4097}) {
            SseReader reader(1 << 20, [](SseReader::Event&&) {});
            const QByteArray line = "id: " + QByteArray(size, 'i') + "\n\n";
            QVERIFY(reader.feed(line.constData(), static_cast<size_t>(line.size())));
            QCOMPARE(reader.lastEventId().size(), size == 4096 ? 4096 : 0);
        }
    }

    void aResetForgetsHowTheLastStreamEnded()
    {
        Reading reading;
        reading.feed("data: x\r");
        reading.reader.reset();
        // An empty line comes first, so that the mark behind it is none.
        reading.feed("\n\xEF\xBB\xBF"
                     "data: a\n\ndata: b\n\n");
        QCOMPARE(reading.events, QList<QByteArray>{"b"});
    }

    void aResetDropsTheEventThatHadBegun()
    {
        Reading reading;
        reading.feed("data: half\nda");
        reading.reader.reset();
        reading.feed("\xEF\xBB\xBF"
                     "data: whole\n\n");
        QCOMPARE(reading.events, QList<QByteArray>{"whole"});
    }

    void retryIsTakenWhenItIsANumber()
    {
        Reading reading;
        reading.feed("retry: 2500\n");
        QCOMPARE(reading.reader.takeRetry().value().count(), 2500);
        QVERIFY(!reading.reader.takeRetry());
        reading.feed("retry: 2.5\nretry: -1\nretry:\nretry: 99999999999999999999\n");
        QVERIFY(!reading.reader.takeRetry());
    }

    void aLineOrAnEventBeyondTheBoundIsRefused()
    {
        Reading line;
        QVERIFY(!line.feed("data: " + QByteArray(2000, 'x') + "\n\n"));
        Reading endless;
        QVERIFY(endless.feed(QByteArray(900, 'x')));
        QVERIFY(!endless.feed(QByteArray(900, 'x')));
        Reading lines;
        bool taken = true;
        for (int i = 0; i < 1000 && taken; ++i) {
            taken = lines.feed("data: 1234567890\n");
        }
        QVERIFY(!taken);
        Reading comment;
        QVERIFY(comment.feed(":" + QByteArray(900, 'x') + "\n:" + QByteArray(900, 'x') + "\n"));
        QVERIFY(line.events.isEmpty() && endless.events.isEmpty() && lines.events.isEmpty());
    }
};

void TestSseReader::streamsAreReadWhereverThePiecesEnd_data()
{
    QTest::addColumn<QByteArray>("stream");
    QTest::addColumn<QList<QByteArray>>("events");
    using List = QList<QByteArray>;
    const auto row = [](const char* name, const QByteArray& stream, const List& events) {
        QTest::newRow(name) << stream << events;
    };
    row("one event", "data: a\n\n", {"a"});
    row("without the blank", "data:a\n\n", {"a"});
    row("one blank only is dropped", "data:  a\n\n", {" a"});
    row("carriage returns", "data: a\r\rdata: b\r\r", {"a", "b"});
    row("both line ends", "data: a\r\n\r\ndata: b\r\n\r\n", {"a", "b"});
    row("mixed line ends", "data: a\r\ndata: b\rdata: c\n\r\n", {"a\nb\nc"});
    row("several lines", "data: a\ndata: b\n\n", {"a\nb"});
    row("empty data", "data\n\n", {""});
    row("two empty lines of data", "data\ndata\n\n", {"\n"});
    row("no data, no event", "event: x\nid: 1\n\n", {});
    row("types are passed over", "event: x\ndata: a\n\n", {"a"});
    row("comments", ": keep-alive\n\n:\ndata: a\n: between\ndata: b\n\n", {"a\nb"});
    row("unknown field", "datum: a\ndata: b\n\n", {"b"});
    row("field with a blank before the colon", "data : a\n\n", {});
    row("colons in data", "data: {\"a\":1}\n\n", {"{\"a\":1}"});
    row("byte-order mark",
        "\xEF\xBB\xBF"
        "data: a\n\n",
        {"a"});
    row("byte-order mark alone in its line", "\xEF\xBB\xBF\ndata: a\n\n", {"a"});
    row("two byte-order marks",
        "\xEF\xBB\xBF\xEF\xBB\xBF"
        "data: a\n\ndata: b\n\n",
        {"b"});
    row("no end, no event", "data: a\n", {});
    row("bytes that are no UTF-8", "data: \xFF\xFE\n\n", {"\xFF\xFE"});
    row("blank lines", "\n\n\r\n\rdata: a\n\n\n\n", {"a"});
}

void TestSseReader::streamsAreReadWhereverThePiecesEnd()
{
    QFETCH(QByteArray, stream);
    QFETCH(QList<QByteArray>, events);
    for (int size = 1; size <= stream.size(); ++size) {
        Reading reading;
        for (int at = 0; at < stream.size(); at += size) {
            QVERIFY(reading.feed(stream.mid(at, size)));
        }
        QCOMPARE(reading.events, events);
    }
    for (int cut = 0; cut <= stream.size(); ++cut) {
        Reading reading;
        QVERIFY(reading.feed(stream.left(cut)));
        QVERIFY(reading.feed(stream.mid(cut)));
        QCOMPARE(reading.events, events);
    }
}

void TestSseReader::whatIsTakenIsCountedToTheByte()
{
    for (const int surplus : {0, 1}) {
        QList<QByteArray> events;
        SseReader reader(100,
                         [&events](SseReader::Event&& event) { events.append(event.data.value_or("")); });
        const auto feed = [&reader](const QByteArray& text) {
            return reader.feed(text.constData(), std::size_t(text.size()));
        };
        // Each line counts its end.
        QVERIFY(feed("data: " + QByteArray(49, 'a') + "\n"));
        QCOMPARE(feed("data: " + QByteArray(49 + surplus, 'b') + "\n\n"), surplus == 0);
        QCOMPARE(events.size(), surplus == 0 ? 1 : 0);
    }
}

QTEST_GUILESS_MAIN(TestSseReader)
#include "tst_ssereader.moc"
