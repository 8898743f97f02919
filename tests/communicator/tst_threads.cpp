// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include "communicator/deviceendpoint.h"
#include "communicator/exchangeobserver.h"

#include <recordingengine.h>

#include <communicator/httpproxy.h>

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <optional>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Mode = MisbehavingServer::Mode;

class TestThreads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false")); }
    void cleanup()
    {
        setProgressObserver({});
        setExchangeObserver({});
        HttpProxy::getInstance()->setEngine(nullptr);
    }

    void manyThreadsBlockOnSeveralDevicesAtOnce();
    void aPackageMayGoAtAnyMomentOfItsExchange();
    void packagesOfManyThreadsAreAnsweredOnTheirOwn();
    void theEngineMayBeReplacedWhileRequestsRun();
    void theEngineMayBeReplacedByAnObserver_data();
    void theEngineMayBeReplacedByAnObserver();
    void devicesMayComeAndGoWhileRequestsRun();
    void thousandsOfRequestsAllSettle();
};

void TestThreads::manyThreadsBlockOnSeveralDevicesAtOnce()
{
    MisbehavingServer servers[4];
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 32; ++i) {
        threads.emplace_back([&, i] {
            const QString key = servers[i % 4].address();
            for (int k = 0; k < 50; ++k) {
                HttpJsonPackage package(nullptr);
                package.setUrl(QStringLiteral("/api/v1/x"));
                if (k % 3 == 0) {
                    package.setRequestWithJsonObj(QVariantMap{{QStringLiteral("k"), k}});
                    HttpProxy::getInstance()->putSync(key, &package);
                } else {
                    HttpProxy::getInstance()->getSync(key, &package);
                }
                good += package.getSimpleState() == State::Success && package.getRoutesJsonMap().size() == 1
                            ? 1
                            : 0;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(good.load(), 32 * 50);
    for (const MisbehavingServer& server : servers) {
        QCOMPARE(server.deliveries(), 8 * 50);
    }
}

// Each package takes the place of the one before: an answer that comes too late for that one would be its own
// second one, or come before it asked.
void TestThreads::aPackageMayGoAtAnyMomentOfItsExchange()
{
    enum Moment { AtOnce, WhileTheLoopTurns, WhenTheDeviceHasAnswered, Answered, MomentCount };
    constexpr int count = 2000;
    MisbehavingServer server;
    std::optional<HttpJsonPackage> package;
    int early = 0;
    int twice = 0;
    int awaited = 0;
    int good = 0;
    for (int i = 0; i < count; ++i) {
        package.emplace(nullptr);
        package->setUrl(QStringLiteral("/api/v1/x"));
        int answers = 0;
        bool asked = false;
        connect(&*package, &HttpJsonPackage::readyRead, &*package, [&](HttpJsonPackage* ready) {
            early += asked ? 0 : 1;
            twice += ++answers == 2 ? 1 : 0;
            good +=
                ready->getSimpleState() == State::Success && ready->getRoutesJsonMap().size() == 1 ? 1 : 0;
        });
        QCoreApplication::processEvents();
        asked = true;
        QVERIFY(HttpProxy::getInstance()->get(server.address(), &*package));
        switch (i % MomentCount) {
        case AtOnce:
            break;
        case WhileTheLoopTurns:
            for (int turn = 0; turn < i % 40; ++turn) {
                QCoreApplication::processEvents();
            }
            awaited += answers;
            break;
        case WhenTheDeviceHasAnswered:
            QVERIFY(server.waitForAnswers(i + 1));
            break;
        case Answered:
            QVERIFY(QSignalSpy(&*package, &HttpJsonPackage::readyRead).wait());
            QCOMPARE(answers, 1);
            ++awaited;
            break;
        }
        package.reset();
    }
    QVERIFY(server.waitForAnswers(count));
    QCOMPARE(server.deliveries(), count);
    QCOMPARE(early, 0);
    QCOMPARE(twice, 0);
    QCOMPARE(good, awaited);
}

void TestThreads::packagesOfManyThreadsAreAnsweredOnTheirOwn()
{
    MisbehavingServer server;
    std::atomic<int> answered{0};
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back(QThread::create([&] {
            QEventLoop loop;
            int left = 50;
            for (int k = 0; k < 50; ++k) {
                auto* const package = new HttpJsonPackage(nullptr);
                package->setUrl(QStringLiteral("/api/v1/x"));
                connect(
                    package, &HttpJsonPackage::readyRead, package,
                    [&, thread = QThread::currentThread()](HttpJsonPackage* ready) {
                        answered +=
                            QThread::currentThread() == thread && ready->getRoutesJsonMap().size() == 1 ? 1
                                                                                                        : 0;
                        ready->deleteLater();
                        if (--left == 0) {
                            loop.quit();
                        }
                    },
                    Qt::DirectConnection);
                HttpProxy::getInstance()->get(server.address(), package);
            }
            loop.exec();
        }));
        threads.back()->start();
    }
    for (const auto& thread : threads) {
        QVERIFY(thread->wait(30000));
    }
    QCOMPARE(answered.load(), 8 * 50);
}

void TestThreads::theEngineMayBeReplacedWhileRequestsRun()
{
    MisbehavingServer server;
    std::vector<std::unique_ptr<HttpJsonPackage>> packages;
    int answered = 0;
    for (int i = 0; i < 200; ++i) {
        packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
        packages.back()->setUrl(QStringLiteral("/api/v1/x"));
        connect(packages.back().get(), &HttpJsonPackage::readyRead, this, [&] { ++answered; });
        HttpProxy::getInstance()->get(server.address(), packages.back().get());
        if (i % 20 == 10) {
            RecordingEngine::install()->hold();
        } else if (i % 20 == 0) {
            HttpProxy::getInstance()->setEngine(nullptr);
        }
    }
    HttpProxy::getInstance()->setEngine(nullptr);
    QTRY_COMPARE(answered, 200);
}

void TestThreads::theEngineMayBeReplacedByAnObserver_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<bool>("midway");
    for (const bool midway : {true, false}) {
        QTest::addRow("blocking, %s", midway ? "midway" : "at the end") << true << midway;
        QTest::addRow("non-blocking, %s", midway ? "midway" : "at the end") << false << midway;
    }
}

// Time enough for all, unless each replacement waits for the exchange that it is called from.
void TestThreads::theEngineMayBeReplacedByAnObserver()
{
    QFETCH(bool, blocking);
    QFETCH(bool, midway);
    constexpr int rounds = 30;
    constexpr int atOnce = 5;
    MisbehavingServer server;
    const auto replace = [](const auto&) { HttpProxy::getInstance()->setEngine(nullptr); };
    if (midway) {
        setProgressObserver(replace);
    } else {
        setExchangeObserver(replace);
    }
    const QDeadlineTimer timeout(30000);
    for (int round = 0; round < rounds && !timeout.hasExpired(); ++round) {
        std::vector<std::unique_ptr<HttpJsonPackage>> packages;
        int answered = 0;
        for (int i = 0; i < atOnce; ++i) {
            packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
            HttpJsonPackage* const package = packages.back().get();
            package->setUrl(QStringLiteral("/api/v1/x"));
            connect(package, &HttpJsonPackage::readyRead, this, [&] { ++answered; });
            if (blocking) {
                HttpProxy::getInstance()->getSync(server.address(), package);
            } else {
                HttpProxy::getInstance()->get(server.address(), package);
            }
        }
        if (!blocking) {
            QTRY_COMPARE_WITH_TIMEOUT(answered, atOnce, 20000);
        }
    }
    QVERIFY(!timeout.hasExpired());
}

void TestThreads::devicesMayComeAndGoWhileRequestsRun()
{
    MisbehavingServer server;
    std::atomic<bool> going{true};
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            while (going) {
                HttpJsonPackage package(nullptr);
                package.setUrl(QStringLiteral("/api/v1/x"));
                HttpProxy::getInstance()->getSync(QStringLiteral("the wall"), &package);
                const auto state = package.getSimpleState();
                // A key with a blank is not an address: the device is known, aborted, or unknown.
                wrong += state != State::Success && state != State::Aborted && state != State::InvalidRequest
                             ? 1
                             : 0;
            }
        });
    }
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    for (int i = 0; i < 300; ++i) {
        HttpProxy::getInstance()->addDevice(QStringLiteral("the wall"), endpoint);
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getSync(QStringLiteral("the wall"), &package);
        wrong += package.getSimpleState() == State::Success ? 0 : 1;
        HttpProxy::getInstance()->removeDevice(QStringLiteral("the wall"));
    }
    going = false;
    for (std::thread& thread : threads) {
        thread.join();
    }
    QCOMPARE(wrong.load(), 0);
}

void TestThreads::thousandsOfRequestsAllSettle()
{
    MisbehavingServer servers[3];
    std::vector<std::unique_ptr<HttpJsonPackage>> packages;
    int good = 0;
    int answered = 0;
    for (int i = 0; i < 3000; ++i) {
        packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
        HttpJsonPackage* const package = packages.back().get();
        package->setUrl(QStringLiteral("/api/v1/x"));
        package->setExpectedTime(60000);
        connect(package, &HttpJsonPackage::readyRead, this, [&](HttpJsonPackage* ready) {
            ++answered;
            good += ready->getSimpleState() == State::Success ? 1 : 0;
        });
        HttpProxy::getInstance()->putMultSync(servers[i % 3].address(), package);
    }
    QTRY_COMPARE_WITH_TIMEOUT(answered, 3000, 60000);
    QCOMPARE(good, 3000);
}

QTEST_GUILESS_MAIN(TestThreads)
#include "tst_threads.moc"
