// SPDX-License-Identifier: MIT
#include "cachedoperator.h"

#include "deviceside.h"
#include "logcollector.h"
#include "recordingengine.h"
#include "signalrecorder.h"

#include <tessel/allurlresource.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QTimer>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

/// What a check works with.
class CachedOperatorBench
{
public:
    explicit CachedOperatorBench(const CachedOperator& subject)
        : op(subject)
        , recorder(subject.instance())
    {
        watch(true);
    }
    ~CachedOperatorBench() { watch(true); }
    CachedOperatorBench(const CachedOperatorBench&) = delete;
    CachedOperatorBench& operator=(const CachedOperatorBench&) = delete;

    void watch(bool on)
    {
        m_watching = on || !op.watch;
        if (op.watch) {
            op.watch(on);
        }
    }

    // Entries differ by a number.
    RecordingEngine::Reply reply(int n) const
    {
        const QByteArray number = QByteArray::number(n);
        return data(R"("n":)" + number + R"(,"size":{"w":)" + number + '}');
    }
    RecordingEngine::Reply data(const QByteArray& members) const
    {
        const QByteArray map = '{' + members + '}';
        return RecordingEngine::data(op.entry == CachedOperator::Entry::Map ? map : '[' + map + ']');
    }
    RecordingEngine::Reply emptyReply() const
    {
        return RecordingEngine::data(op.entry == CachedOperator::Entry::Map ? "{}" : "[]");
    }
    QVariant entry(int n) const { return entryOf({{"n", qlonglong(n)}, {"size.w", qlonglong(n)}}); }
    QVariant kept() const { return entryOf({{"kept", 1}}); }
    QVariant emptyEntry() const
    {
        return op.entry == CachedOperator::Entry::Map ? QVariant(Map()) : QVariant(List());
    }

    void answer(int n) const { engine->answer(reply(n)); }
    bool load(bool force = false) const { return op.load(device, force); }
    /// What an unforced read hands out without asking the device.
    QVariant cached() const { return cachedOf(device); }
    QVariant cachedOf(const QString& deviceKey) const
    {
        const int before = engine->count();
        QVariant out = kept();
        if (!op.read(deviceKey, out, false)) {
            return QStringLiteral("the read failed");
        }
        return engine->count() == before ? out : QStringLiteral("the device was asked");
    }

    void push(const QByteArray& event)
    {
        noteEvent(event);
        DeviceSide::push(device, event);
    }
    void pushFromForeignThread(const QByteArray& event)
    {
        noteEvent(event);
        DeviceSide::pushFromForeignThread(device, event);
    }
    void logOut(const QString& deviceKey)
    {
        m_trace << op.traceOfLogout;
        DeviceSide::logOut(deviceKey);
    }
    /// Lets all replies come.
    void settle() const
    {
        for (int held = engine->held(); held > 0; --held) {
            engine->release();
        }
        QTRY_COMPARE(engine->held(), 0);
        QCoreApplication::processEvents();
    }

    void compareRead() const
    {
        comparePath();
        QCOMPARE(engine->last().parameters, op.parameters);
        QCOMPARE(engine->last().expectedTime, op.expectedTime);
    }
    void compareRefresh() const
    {
        comparePath();
        QCOMPARE(engine->last().parameters, (QMap<QString, QString>()));
        QCOMPARE(engine->last().expectedTime, 10000);
    }
    void compareLog() const
    {
        const QStringList lines = log.lines();
        QVERIFY2(lines.size() == m_trace.size(), qPrintable(lines.join('\n')));
        for (int i = 0; i < lines.size(); ++i) {
            const QRegularExpression line(QRegularExpression::anchoredPattern(m_trace[i]));
            QVERIFY2(line.match(lines[i]).hasMatch(), qPrintable(lines[i]));
        }
    }

    const CachedOperator& op;
    RecordingEngine* const engine = RecordingEngine::install();
    const QString device = DeviceSide::fresh();
    SignalRecorder recorder;
    const LogCollector log;

private:
    QVariant entryOf(const Map& map) const
    {
        return op.entry == CachedOperator::Entry::Map ? QVariant(map) : QVariant(List{map});
    }
    void comparePath() const
    {
        const RecordingEngine::Request sent = engine->last();
        QCOMPARE(sent.deviceKey, device);
        QCOMPARE(sent.path, AllUrlResource::getUrl(QLatin1String(op.routeKey)));
        QCOMPARE(int(sent.method), int(HttpMethod::Get));
        QCOMPARE(sent.body, QByteArray());
        QVERIFY(sent.placeHolders.isEmpty());
    }
    void noteEvent(const QByteArray& event)
    {
        if (!m_watching) {
            return;
        }
        const QStringList lines = op.traceOfEvent(event);
        for (const QString& line : lines) {
            m_trace << QRegularExpression::escape(line);
        }
    }

    bool m_watching = true;
    QStringList m_trace; // patterns
};

namespace {

using Bench = CachedOperatorBench;

// Reads

void aSecondReadIsAnsweredFromTheCache(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 1);
    bench.compareRead();
    QCOMPARE(bench.recorder.take(), bench.op.toldByRead);
    QVERIFY(bench.load());
    QCOMPARE(bench.cached(), bench.entry(1));
    QCOMPARE(bench.engine->count(), 1);
    QCOMPARE(bench.recorder.take(), QStringList());
}

void theReadThatHandsOutFillsTheCacheToo(Bench& bench)
{
    bench.answer(1);
    QVariant out = bench.kept();
    QVERIFY(bench.op.read(bench.device, out, false));
    QCOMPARE(out, bench.entry(1));
    QCOMPARE(bench.engine->count(), 1);
    bench.compareRead();
    QCOMPARE(bench.cached(), bench.entry(1));
}

void aForcedReadReplacesTheWholeEntry(Bench& bench)
{
    bench.engine->answer(bench.data(R"("n":1,"gone":1)"));
    QVERIFY(bench.load());
    bench.answer(2);
    QVERIFY(bench.load(true));
    QCOMPARE(bench.engine->count(), 2);
    bench.compareRead();
    QCOMPARE(bench.cached(), bench.entry(2));
    bench.answer(3);
    QVariant out = bench.kept();
    QVERIFY(bench.op.read(bench.device, out, true));
    QCOMPARE(out, bench.entry(3));
    QCOMPARE(bench.engine->count(), 3);
}

void aFailedFirstReadCachesNothingAndLeavesTheOutput(Bench& bench)
{
    bench.engine->answer(RecordingEngine::failure());
    QVERIFY(!bench.load());
    QVariant out = bench.kept();
    QVERIFY(!bench.op.read(bench.device, out, false));
    QCOMPARE(out, bench.kept());
    QCOMPARE(bench.engine->count(), 2);
    QCOMPARE(bench.recorder.take(), QStringList());
    bench.answer(1);
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 3);
}

void aFailedForcedReadKeepsTheEntryAndTheOutput(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.recorder.take();
    bench.engine->answer(RecordingEngine::failure());
    QVERIFY(!bench.load(true));
    QVariant out = bench.kept();
    QVERIFY(!bench.op.read(bench.device, out, true));
    QCOMPARE(out, bench.kept());
    QCOMPARE(bench.engine->count(), 3);
    QCOMPARE(bench.recorder.take(), QStringList());
    QCOMPARE(bench.cached(), bench.entry(1));
}

void anEmptyReplyCountsAsCached(Bench& bench)
{
    bench.engine->answer(bench.emptyReply());
    QVERIFY(bench.load());
    QCOMPARE(bench.cached(), bench.emptyEntry());
    QCOMPARE(bench.engine->count(), 1);
}

void devicesHaveEntriesOfTheirOwn(Bench& bench)
{
    const QString other = DeviceSide::fresh();
    bench.answer(1);
    QVERIFY(bench.load());
    bench.answer(2);
    QVERIFY(bench.op.load(other, false));
    QCOMPARE(bench.engine->count(), 2);
    QCOMPARE(bench.cached(), bench.entry(1));
    QCOMPARE(bench.cachedOf(other), bench.entry(2));
}

// The watch

void withTheWatchOffEveryReadGoesToTheDeviceAndStores(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.watch(false);
    bench.answer(2);
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 2);
    bench.compareRead();
    bench.answer(3);
    QVariant out = bench.kept();
    QVERIFY(bench.op.read(bench.device, out, false));
    QCOMPARE(out, bench.entry(3));
    QCOMPARE(bench.engine->count(), 3);
    bench.watch(true);
    QCOMPARE(bench.cached(), bench.entry(3));
}

void aWatchThatGoesOffAndOnKeepsTheEntry(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.watch(false);
    bench.watch(true);
    QCOMPARE(bench.cached(), bench.entry(1));
}

void aFailedReadWithTheWatchOffKeepsTheEntry(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.watch(false);
    bench.engine->answer(RecordingEngine::failure());
    QVERIFY(!bench.load());
    bench.watch(true);
    QCOMPARE(bench.cached(), bench.entry(1));
}

void withTheWatchOffEventsAreLost(Bench& bench)
{
    bench.watch(false);
    bench.push(bench.op.event);
    for (const auto& [name, event] : bench.op.otherEvents) {
        bench.push(event);
    }
    bench.watch(true);
    bench.settle();
    QCOMPARE(bench.engine->count(), 0);
    QCOMPARE(bench.recorder.take(), QStringList());
}

void aWatchThatGoesOffDoesNotStopARefreshUnderWay(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.recorder.take();
    bench.answer(2);
    bench.engine->hold();
    bench.push(bench.op.event);
    QCOMPARE(bench.engine->held(), 1);
    bench.watch(false);
    bench.settle();
    QCOMPARE(bench.recorder.take(), bench.op.told(bench.device));
    bench.watch(true);
    QCOMPARE(bench.cached(), bench.entry(2));
    QCOMPARE(bench.engine->count(), 2);
}

// Events

void anEventRenewsTheEntryAndTells(Bench& bench)
{
    bench.engine->answer(bench.data(R"("n":1,"gone":1)"));
    QVERIFY(bench.load());
    bench.recorder.take();
    const QVariant old = bench.cached();
    bench.answer(2);
    bench.engine->hold();
    bench.push(bench.op.event);
    QCOMPARE(bench.engine->count(), 2);
    bench.compareRefresh();
    if (!bench.op.refreshBlocks) {
        QCOMPARE(bench.engine->held(), 1);
        QCOMPARE(bench.recorder.take(), QStringList());
        QCOMPARE(bench.cached(), old);
        bench.settle();
    }
    QCOMPARE(bench.engine->held(), 0);
    QCOMPARE(bench.recorder.take(), bench.op.told(bench.device));
    QCOMPARE(bench.cached(), bench.entry(2));
    QCOMPARE(bench.engine->count(), 2);
}

void anEventOfADeviceWithoutAnEntryMakesOne(Bench& bench)
{
    bench.answer(1);
    bench.push(bench.op.event);
    bench.settle();
    QCOMPARE(bench.recorder.take(), bench.op.told(bench.device));
    QCOMPARE(bench.cached(), bench.entry(1));
    QCOMPARE(bench.engine->count(), 1);
}

void anEmptyReplyToARefreshReplacesTheEntry(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.recorder.take();
    bench.engine->answer(bench.emptyReply());
    bench.push(bench.op.event);
    bench.settle();
    QCOMPARE(bench.recorder.take(), bench.op.told(bench.device));
    QCOMPARE(bench.cached(), bench.emptyEntry());
}

void aFailedRefreshKeepsTheEntryAndTellsNobody(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.recorder.take();
    bench.engine->answer(RecordingEngine::failure());
    bench.push(bench.op.event);
    bench.settle();
    QCOMPARE(bench.engine->count(), 2);
    QCOMPARE(bench.recorder.take(), QStringList());
    QCOMPARE(bench.cached(), bench.entry(1));
}

void aFailedRefreshMakesNoEntry(Bench& bench)
{
    bench.engine->answer(RecordingEngine::failure());
    bench.push(bench.op.event);
    bench.settle();
    QCOMPARE(bench.engine->count(), 1);
    bench.answer(1);
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 2);
}

void anEventDuringAReadIsHandledAfterIt(Bench& bench)
{
    bench.engine->answer([&bench](const RecordingEngine::Request&) {
        const int number = bench.engine->count();
        if (number == 1) {
            bench.pushFromForeignThread(bench.op.event);
        }
        return bench.reply(number);
    });
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 1);
    QCOMPARE(bench.recorder.take(), bench.op.toldByRead);
    QCOMPARE(bench.cached(), bench.entry(1));
    QTRY_COMPARE(bench.engine->count(), 2);
    bench.settle();
    QCOMPARE(bench.recorder.take(), bench.op.told(bench.device));
    QCOMPARE(bench.cached(), bench.entry(2));
}

void anEventFromAForeignThreadIsHandledOnTheOperatorsThread(Bench& bench)
{
    QThread* startedOn = nullptr;
    bench.engine->answer([&](const RecordingEngine::Request&) {
        if (bench.op.refreshBlocks) {
            startedOn = QThread::currentThread();
        }
        return bench.reply(1);
    });
    bool answered = bench.op.refreshBlocks;
    QObject home;
    if (!bench.op.refreshBlocks) {
        bench.engine->startWith([&](const RecordingEngine::Request&, const RecordingEngine::Done& done) {
            startedOn = QThread::currentThread();
            QTimer::singleShot(0, &home, [&, done] {
                done(bench.reply(1));
                answered = true;
            });
            return true;
        });
    }
    bench.pushFromForeignThread(bench.op.event);
    QCOMPARE(bench.engine->count(), 0);
    QTRY_COMPARE(bench.engine->count(), 1);
    QThread* const thread = bench.op.instance()->thread();
    QCOMPARE(startedOn, thread);
    const int told = bench.op.told(bench.device).size();
    QTRY_COMPARE(bench.recorder.threads().size(), told);
    for (const QThread* raisedOn : bench.recorder.threads()) {
        QCOMPARE(raisedOn, thread);
    }
    QTRY_VERIFY(answered);
    bench.settle();
    QCOMPARE(bench.cached(), bench.entry(1));
}

// Logouts

void aLogoutForgetsTheEntry(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.recorder.take();
    bench.logOut(bench.device);
    QCOMPARE(bench.recorder.take(), QStringList());
    QCOMPARE(bench.engine->count(), 1);
    bench.answer(2);
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 2);
    QCOMPARE(bench.cached(), bench.entry(2));
}

void aLogoutForgetsTheEntryWithTheWatchOffAsWell(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.watch(false);
    bench.logOut(bench.device);
    bench.watch(true);
    QVERIFY(bench.load());
    QCOMPARE(bench.engine->count(), 2);
}

void aLogoutKeepsTheEntry(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    bench.logOut(bench.device);
    QCOMPARE(bench.cached(), bench.entry(1));
}

void theLogoutOfAnotherDeviceChangesNothing(Bench& bench)
{
    bench.answer(1);
    QVERIFY(bench.load());
    const QString other = DeviceSide::fresh();
    QVERIFY(bench.op.load(other, false));
    bench.logOut(other);
    bench.logOut(DeviceSide::fresh());
    QCOMPARE(bench.cached(), bench.entry(1));
}

void aLogoutDoesNotStopARefreshUnderWay(Bench& bench)
{
    bench.answer(1);
    bench.engine->hold();
    bench.push(bench.op.event);
    bench.logOut(bench.device);
    bench.settle();
    QCOMPARE(bench.recorder.take(), bench.op.told(bench.device));
    QCOMPARE(bench.cached(), bench.entry(1));
    QCOMPARE(bench.engine->count(), 1);
}

// Events that mean nothing

CachedOperatorCheck isIgnored(const QByteArray& event)
{
    return [event](Bench& bench) {
        bench.push(event);
        bench.settle();
        QCOMPARE(bench.engine->count(), 0);
        QCOMPARE(bench.recorder.take(), QStringList());
    };
}

QString inOtherCase(QString text)
{
    text[0] = text[0].isUpper() ? text[0].toLower() : text[0].toUpper();
    return text;
}

void addOtherEvents(const CachedOperator& subject)
{
    const auto add = [](const QByteArray& name, const QByteArray& event) {
        QTest::addRow("no event: %s", name.constData()) << isIgnored(event);
    };
    const QJsonObject event = QJsonDocument::fromJson(subject.event).object();
    for (const QString& member : subject.members) {
        const QString text = event.value(member).toString();
        const QByteArray name = member.toUtf8();
        const auto with = [&](const QString& key, const QJsonValue& value) {
            QJsonObject changed = event;
            changed.remove(member);
            changed.insert(key, value);
            return QJsonDocument(changed).toJson(QJsonDocument::Compact);
        };
        QJsonObject without = event;
        without.remove(member);
        add("no " + name, QJsonDocument(without).toJson(QJsonDocument::Compact));
        add(name + " in another case", with(inOtherCase(member), text));
        add(name + " has a text in another case", with(member, inOtherCase(text)));
        add(name + " has another text", with(member, "x" + text));
        add(name + " is empty", with(member, ""));
        add(name + " is a number", with(member, 1));
        add(name + " is null", with(member, QJsonValue()));
        add(name + " is an object", with(member, QJsonObject{{text, 1}}));
        add(name + " is a list", with(member, QJsonArray{text}));
    }
    add("a list", '[' + subject.event + ']');
    add("cut", subject.event.left(subject.event.size() - 1));
    add("no JSON", "change");
    add("nothing", "");
    for (const auto& [name, other] : subject.otherEvents) {
        add(name, other);
    }
}

} // namespace

void addCachedOperatorChecks(const CachedOperator& subject)
{
    QTest::addColumn<CachedOperatorCheck>("check");
    const auto add = [](const char* name, const CachedOperatorCheck& check) { QTest::newRow(name) << check; };
#define ADD_CHECK(check) add(#check, check)
    ADD_CHECK(aSecondReadIsAnsweredFromTheCache);
    ADD_CHECK(theReadThatHandsOutFillsTheCacheToo);
    ADD_CHECK(aForcedReadReplacesTheWholeEntry);
    ADD_CHECK(aFailedFirstReadCachesNothingAndLeavesTheOutput);
    ADD_CHECK(aFailedForcedReadKeepsTheEntryAndTheOutput);
    ADD_CHECK(anEmptyReplyCountsAsCached);
    ADD_CHECK(devicesHaveEntriesOfTheirOwn);
    if (subject.watch) {
        ADD_CHECK(withTheWatchOffEveryReadGoesToTheDeviceAndStores);
        ADD_CHECK(aWatchThatGoesOffAndOnKeepsTheEntry);
        ADD_CHECK(aFailedReadWithTheWatchOffKeepsTheEntry);
        ADD_CHECK(withTheWatchOffEventsAreLost);
        ADD_CHECK(aWatchThatGoesOffDoesNotStopARefreshUnderWay);
    }
    ADD_CHECK(anEventRenewsTheEntryAndTells);
    ADD_CHECK(anEventOfADeviceWithoutAnEntryMakesOne);
    ADD_CHECK(anEmptyReplyToARefreshReplacesTheEntry);
    ADD_CHECK(aFailedRefreshKeepsTheEntryAndTellsNobody);
    ADD_CHECK(aFailedRefreshMakesNoEntry);
    ADD_CHECK(anEventDuringAReadIsHandledAfterIt);
    ADD_CHECK(anEventFromAForeignThreadIsHandledOnTheOperatorsThread);
    if (subject.forgetsOnLogout) {
        ADD_CHECK(aLogoutForgetsTheEntry);
        if (subject.watch) {
            ADD_CHECK(aLogoutForgetsTheEntryWithTheWatchOffAsWell);
        }
    } else {
        ADD_CHECK(aLogoutKeepsTheEntry);
    }
    ADD_CHECK(theLogoutOfAnotherDeviceChangesNothing);
    if (!subject.refreshBlocks) {
        ADD_CHECK(aLogoutDoesNotStopARefreshUnderWay);
    }
#undef ADD_CHECK
    addOtherEvents(subject);
}

void checkCachedOperator(const CachedOperator& subject, const CachedOperatorCheck& check)
{
    CachedOperatorBench bench(subject);
    check(bench);
    if (!QTest::currentTestFailed()) {
        bench.compareLog();
    }
}
