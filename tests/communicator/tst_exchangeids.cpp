// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include "communicator/exchangeobserver.h"

#include <logcollector.h>
#include <recordingengine.h>

#include <communicator/httpproxy.h>

#include <QEventLoop>
#include <QLoggingCategory>
#include <QTimer>
#include <QtTest>

#include <algorithm>
#include <future>
#include <mutex>
#include <optional>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

using Request = std::function<void(const QString& device, HttpJsonPackage* package)>;
Q_DECLARE_METATYPE(Request)

namespace {

/// The reports that an observer received.
template <class Record>
class Heard
{
public:
    void operator()(const Record& record)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_records.push_back(record);
    }
    std::vector<Record> records() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_records;
    }
    size_t count() const { return records().size(); }

private:
    mutable std::mutex m_mutex; ///< guards m_records
    std::vector<Record> m_records;
};

void get(const QString& device = QStringLiteral("wall"))
{
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/api/v1/x"));
    HttpProxy::getInstance()->getSync(device, &package);
}

ExchangeRecord recordOf(ExchangeId id)
{
    ExchangeRecord record;
    record.id = id;
    return record;
}

} // namespace

class TestExchangeIds : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false")); }
    void cleanup() { HttpProxy::getInstance()->setEngine(nullptr); }

    void recordAndProgressCarryTheIdThatTheScopeCollected_data();
    void recordAndProgressCarryTheIdThatTheScopeCollected();
    void whatIsNeverSentHasItsIdToo_data();
    void whatIsNeverSentHasItsIdToo();
    void idsRiseAndNoneIsZero();
    void anEngineIsGivenTheIdAndMayTellTheObservers();
    void theLogNamesTheId();

    void aScopeCollectsNothingOfOtherThreads();
    void aScopeCollectsWhatAnEventLoopBegins();
    void nestedScopesAllCollect();
    void scopesMayEndInAnyOrder();
    void scopesOfSeveralThreadsMayShareTheirIds();

    void observersAreCalledInTheOrderInWhichTheyCame();
    void aHandleRemovesItsObserver();
    void theOneWithoutAHandleStandsBesideTheOthers();
    void aRemovalWaitsForTheCallOnAnotherThread();
    void anObserverMayRemoveObservers();
    void anObserverMayAddObservers();
    void observersMayComeAndGoWhileExchangesEnd();
};

void TestExchangeIds::recordAndProgressCarryTheIdThatTheScopeCollected_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::newRow("blocking") << true;
    QTest::newRow("non-blocking") << false;
}

void TestExchangeIds::recordAndProgressCarryTheIdThatTheScopeCollected()
{
    QFETCH(bool, blocking);
    MisbehavingServer server;
    Heard<ExchangeRecord> ended;
    Heard<ExchangeProgress> underWay;
    const ObserverHandle first = addExchangeObserver(std::ref(ended));
    const ObserverHandle second = addProgressObserver(std::ref(underWay));
    get(server.address()); // of which the scope must not know
    const size_t before = underWay.count();
    ExchangeIds ids;
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/api/v1/x"));
    {
        const ExchangeScope scope(ids);
        if (blocking) {
            HttpProxy::getInstance()->getSync(server.address(), &package);
        } else {
            HttpProxy::getInstance()->get(server.address(), &package);
        }
    }
    get(server.address());
    QTRY_COMPARE(ended.count(), size_t(3));
    QCOMPARE(ids.all().size(), size_t(1));
    const ExchangeId id = ids.latest();
    QVERIFY(id != 0 && ids.contains(id) && !ids.contains(id - 1) && !ids.contains(id + 1));
    const auto records = ended.records();
    QCOMPARE(std::count_if(records.begin(), records.end(), [&](auto& record) { return record.id == id; }), 1);
    const auto told = underWay.records();
    QVERIFY(std::any_of(told.begin() + int(before), told.end(), [&](auto& one) { return one.id == id; }));
    QVERIFY(std::none_of(told.begin(), told.begin() + int(before), [&](auto& one) { return one.id == id; }));
}

void TestExchangeIds::whatIsNeverSentHasItsIdToo_data()
{
    QTest::addColumn<Request>("request");
    const auto unwritable = [](HttpJsonPackage* package) {
        QVariant deep = 1;
        for (int i = 0; i < 2000; ++i) {
            deep = QVariantList{deep};
        }
        package->setRequestWithJsonObj(deep);
    };
    QTest::newRow("no body, blocking") << Request([=](const QString& device, HttpJsonPackage* package) {
        unwritable(package);
        HttpProxy::getInstance()->putSync(device, package);
    });
    QTest::newRow("no body, non-blocking") << Request([=](const QString& device, HttpJsonPackage* package) {
        unwritable(package);
        HttpProxy::getInstance()->put(device, package);
    });
    QTest::newRow("no destination") << Request([](const QString& device, HttpJsonPackage* package) {
        HttpProxy::getInstance()->getFileDownloadSync(device, package);
    });
    QTest::newRow("no such device, blocking") << Request([](const QString&, HttpJsonPackage* package) {
        HttpProxy::getInstance()->getSync(QStringLiteral("no device"), package);
    });
    QTest::newRow("no such device, non-blocking") << Request([](const QString&, HttpJsonPackage* package) {
        HttpProxy::getInstance()->get(QStringLiteral("no device"), package);
    });
}

void TestExchangeIds::whatIsNeverSentHasItsIdToo()
{
    QFETCH(Request, request);
    MisbehavingServer server;
    Heard<ExchangeRecord> ended;
    const ObserverHandle handle = addExchangeObserver(std::ref(ended));
    ExchangeIds ids;
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/api/v1/x"));
    {
        const ExchangeScope scope(ids);
        request(server.address(), &package);
    }
    QTRY_COMPARE(ended.count(), size_t(1));
    QVERIFY(ended.records()[0].state != State::Success);
    QCOMPARE(ids.all(), std::vector<ExchangeId>{ended.records()[0].id});
    QCOMPARE(server.connections(), 0);
}

void TestExchangeIds::idsRiseAndNoneIsZero()
{
    ExchangeIds ids;
    QCOMPARE(ids.latest(), ExchangeId(0));
    QVERIFY(!ids.contains(0));
    const ExchangeScope scope(ids);
    ExchangeId before = 0;
    for (int i = 0; i < 3; ++i) {
        const ExchangeId id = beginExchange();
        QVERIFY(id > before);
        QCOMPARE(ids.latest(), id);
        QCOMPARE(exchangesBegun(), id);
        before = id;
    }
    QCOMPARE(ids.all(), (std::vector<ExchangeId>{before - 2, before - 1, before}));
}

void TestExchangeIds::anEngineIsGivenTheIdAndMayTellTheObservers()
{
    auto* const engine = RecordingEngine::install();
    engine->answer([](const HttpRequest& request) {
        ExchangeProgress progress;
        progress.id = request.id;
        tellObservers(progress);
        tellObservers(recordOf(request.id));
        return RecordingEngine::data("{}");
    });
    Heard<ExchangeRecord> ended;
    Heard<ExchangeProgress> underWay;
    const ObserverHandle first = addExchangeObserver(std::ref(ended));
    const ObserverHandle second = addProgressObserver(std::ref(underWay));
    ExchangeIds ids;
    {
        const ExchangeScope scope(ids);
        get();
    }
    QCOMPARE(ended.count(), size_t(1));
    QCOMPARE(underWay.count(), size_t(1));
    QCOMPARE(ended.records()[0].id, ids.latest());
    QCOMPARE(underWay.records()[0].id, ids.latest());
}

void TestExchangeIds::theLogNamesTheId()
{
    MisbehavingServer server;
    const LogCollector log;
    ExchangeIds ids;
    const ExchangeScope scope(ids);
    get(server.address());
    const QString start =
        QStringLiteral("tessel.http.info: #%1 GET %2 /api/v1/x: ").arg(ids.latest()).arg(server.address());
    QVERIFY2(log.lines().size() == 1 && log.lines()[0].startsWith(start), qPrintable(log.lines().join('\n')));
}

void TestExchangeIds::aScopeCollectsNothingOfOtherThreads()
{
    ExchangeIds ids;
    const ExchangeScope scope(ids);
    std::thread(beginExchange).join();
    QVERIFY(ids.all().empty());
}

void TestExchangeIds::aScopeCollectsWhatAnEventLoopBegins()
{
    RecordingEngine::install();
    ExchangeIds ids;
    const ExchangeScope scope(ids);
    QEventLoop loop;
    QTimer::singleShot(0, &loop, [&loop] {
        get();
        loop.quit();
    });
    loop.exec();
    QCOMPARE(ids.all(), std::vector<ExchangeId>{exchangesBegun()});
}

void TestExchangeIds::nestedScopesAllCollect()
{
    ExchangeIds outer;
    ExchangeIds inner;
    const ExchangeScope all(outer);
    const ExchangeId first = beginExchange();
    ExchangeId second = 0;
    {
        const ExchangeScope some(inner);
        const ExchangeScope again(outer); // which collects no id twice
        second = beginExchange();
    }
    const ExchangeId third = beginExchange();
    QCOMPARE(inner.all(), std::vector<ExchangeId>{second});
    QCOMPARE(outer.all(), (std::vector<ExchangeId>{first, second, third}));
}

void TestExchangeIds::scopesMayEndInAnyOrder()
{
    ExchangeIds outer;
    ExchangeIds inner;
    std::optional<ExchangeScope> all(std::in_place, outer);
    std::optional<ExchangeScope> some(std::in_place, inner);
    all.reset();
    const ExchangeId first = beginExchange();
    some.reset();
    beginExchange();
    QVERIFY(outer.all().empty());
    QCOMPARE(inner.all(), std::vector<ExchangeId>{first});
}

void TestExchangeIds::scopesOfSeveralThreadsMayShareTheirIds()
{
    constexpr int each = 500;
    ExchangeIds ids;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&ids] {
            const ExchangeScope scope(ids);
            for (int k = 0; k < each; ++k) {
                const ExchangeId id = beginExchange();
                if (!ids.contains(id)) {
                    qFatal("an id is missing");
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::vector<ExchangeId> all = ids.all();
    QCOMPARE(all.size(), size_t(4 * each));
    QVERIFY(std::adjacent_find(all.begin(), all.end(), std::greater_equal<ExchangeId>()) == all.end());
}

void TestExchangeIds::observersAreCalledInTheOrderInWhichTheyCame()
{
    std::vector<int> called;
    const auto note = [&called](int number) {
        return [&called, number](const ExchangeRecord&) { called.push_back(number); };
    };
    const ObserverHandle first = addExchangeObserver(note(1));
    ObserverHandle second = addExchangeObserver(note(2));
    const ObserverHandle third = addExchangeObserver(note(3));
    tellObservers(recordOf(1));
    second.remove();
    second.remove(); // of which nothing comes
    tellObservers(recordOf(2));
    QCOMPARE(called, (std::vector<int>{1, 2, 3, 1, 3}));
}

void TestExchangeIds::aHandleRemovesItsObserver()
{
    QVERIFY(!isExchangeObserved() && !isProgressObserved());
    Heard<ExchangeProgress> underWay;
    Heard<ExchangeRecord> ended;
    {
        ObserverHandle handle = addProgressObserver(std::ref(underWay));
        QVERIFY(isProgressObserved() && !isExchangeObserved());
        ObserverHandle other = std::move(handle);
        handle = addExchangeObserver(std::ref(ended));
        tellObservers(ExchangeProgress());
        tellObservers(recordOf(1));
        handle = std::move(other); // removes what it held
        QVERIFY(isProgressObserved() && !isExchangeObserved());
        tellObservers(recordOf(2));
        tellObservers(ExchangeProgress());
    }
    QVERIFY(!isExchangeObserved() && !isProgressObserved());
    tellObservers(ExchangeProgress());
    QCOMPARE(underWay.count(), size_t(2));
    QCOMPARE(ended.count(), size_t(1));
    const ObserverHandle empty = addExchangeObserver({});
    QVERIFY(!isExchangeObserved());
}

void TestExchangeIds::theOneWithoutAHandleStandsBesideTheOthers()
{
    Heard<ExchangeRecord> ended;
    Heard<ExchangeRecord> set;
    Heard<ExchangeRecord> setLater;
    const ObserverHandle handle = addExchangeObserver(std::ref(ended));
    setExchangeObserver(std::ref(set));
    tellObservers(recordOf(1));
    setExchangeObserver(std::ref(setLater));
    tellObservers(recordOf(2));
    setExchangeObserver({});
    tellObservers(recordOf(3));
    QCOMPARE(ended.count(), size_t(3));
    QCOMPARE(set.count(), size_t(1));
    QCOMPARE(setLater.count(), size_t(1));
    QCOMPARE(setLater.records()[0].id, ExchangeId(2));
}

void TestExchangeIds::aRemovalWaitsForTheCallOnAnotherThread()
{
    std::promise<void> entered;
    std::promise<void> gate;
    std::atomic<bool> returned{false};
    std::atomic<int> quick{0};
    ObserverHandle handle = addExchangeObserver([&](const ExchangeRecord& record) {
        if (record.id != 1) {
            ++quick;
            return;
        }
        entered.set_value();
        gate.get_future().wait();
        returned = true;
    });
    std::thread teller([] { tellObservers(recordOf(1)); });
    entered.get_future().wait();
    auto removed = std::async(std::launch::async, [&] {
        handle.remove();
        return returned.load();
    });
    // The removal has begun once no further call comes.
    for (int before = -1; before != quick;) {
        before = quick;
        tellObservers(recordOf(2));
    }
    gate.set_value();
    QVERIFY(removed.get());
    teller.join();
}

void TestExchangeIds::anObserverMayRemoveObservers()
{
    ObserverHandle second;
    Heard<ExchangeRecord> ended;
    int calls = 0;
    ObserverHandle first = addExchangeObserver([&](const ExchangeRecord&) {
        ++calls;
        second.remove();
        first.remove();
    });
    second = addExchangeObserver(std::ref(ended));
    tellObservers(recordOf(1));
    tellObservers(recordOf(2));
    QCOMPARE(calls, 1);
    QCOMPARE(ended.count(), size_t(0));
    QVERIFY(!isExchangeObserved());
}

void TestExchangeIds::anObserverMayAddObservers()
{
    Heard<ExchangeRecord> ended;
    std::vector<ObserverHandle> added;
    const ObserverHandle handle = addExchangeObserver([&](const ExchangeRecord&) {
        if (added.empty()) {
            added.push_back(addExchangeObserver(std::ref(ended)));
        }
    });
    tellObservers(recordOf(1));
    QCOMPARE(ended.count(), size_t(0));
    tellObservers(recordOf(2));
    QCOMPARE(ended.count(), size_t(1));
}

void TestExchangeIds::observersMayComeAndGoWhileExchangesEnd()
{
    MisbehavingServer server;
    Heard<ExchangeRecord> all;
    const ObserverHandle handle = addExchangeObserver(std::ref(all));
    std::atomic<int> asking{4};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 50; ++k) {
                get(server.address());
            }
            --asking;
        });
    }
    while (asking > 0) {
        Heard<ExchangeRecord> some; // gone as soon as its handle is
        const ObserverHandle shortLived = addExchangeObserver(std::ref(some));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(all.count(), size_t(200));
}

QTEST_GUILESS_MAIN(TestExchangeIds)
#include "tst_exchangeids.moc"
