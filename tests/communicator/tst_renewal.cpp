// SPDX-License-Identifier: MIT
//
// What a function that renews a token may do, and when an outcome may be asked for.
#include "misbehavingserver.h"

#include <communicator/calloutcome.h>
#include <communicator/deviceendpoint.h>
#include <communicator/exchangeobserver.h>
#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>

#include <QLoggingCategory>
#include <QtTest>

#include <atomic>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Mode = MisbehavingServer::Mode;

namespace {

const QString wall = QStringLiteral("wall");

DeviceEndpoint bearer(const MisbehavingServer& server, const char* secret)
{
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    endpoint.login = DeviceEndpoint::Login::Bearer;
    endpoint.secret = QString::fromLatin1(secret);
    return endpoint;
}

int statusOf(HttpMethod method)
{
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/x"));
    package.setExpectedTime(60000);
    if (method == HttpMethod::Get) {
        HttpProxy::getInstance()->getSync(wall, &package);
    } else {
        HttpProxy::getInstance()->putSync(wall, &package);
    }
    return package.replyStatus;
}

} // namespace

class TestRenewal : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false")); }
    void cleanup() { HttpProxy::getInstance()->removeDevice(wall); }

    void theFunctionMayRemoveTheDevice()
    {
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        DeviceEndpoint endpoint = bearer(server, "old");
        endpoint.renewSecret = [](const QString& deviceKey) {
            HttpProxy::getInstance()->removeDevice(deviceKey);
            return QStringLiteral("new");
        };
        QVERIFY(HttpProxy::getInstance()->addDevice(wall, endpoint));
        statusOf(HttpMethod::Get);
        QCOMPARE(OperationOutcome::last().exchanges().first().state, State::Aborted);
        QCOMPARE(server.deliveries(), 1);
        QVERIFY(!HttpProxy::getInstance()->devices().contains(wall));
    }

    void theFunctionMayAddTheDeviceAnew_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<int>("status");
        QTest::newRow("and give the token") << "new" << 200;
        QTest::newRow("and give nothing") << QString() << 401;
    }
    void theFunctionMayAddTheDeviceAnew()
    {
        QFETCH(QString, given);
        QFETCH(int, status);
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        DeviceEndpoint endpoint = bearer(server, "old");
        const DeviceEndpoint later = bearer(server, "new");
        endpoint.renewSecret = [given, later](const QString& deviceKey) {
            HttpProxy::getInstance()->addDevice(deviceKey, later);
            return given;
        };
        QVERIFY(HttpProxy::getInstance()->addDevice(wall, endpoint));
        QCOMPARE(statusOf(HttpMethod::Put), status);
        QCOMPARE(statusOf(HttpMethod::Put), 200);
    }

    void theFunctionMayUseTheLibrary()
    {
        MisbehavingServer server(Mode::Token);
        server.setToken("new");
        DeviceEndpoint endpoint = bearer(server, "old");
        std::atomic<int> status{0};
        std::atomic<bool> hadNone{false};
        endpoint.renewSecret = [&](const QString&) {
            hadNone = OperationOutcome::last().ids().empty();
            status = statusOf(HttpMethod::Get);
            return OperationOutcome::last().hasFailed() ? QStringLiteral("new") : QString();
        };
        QVERIFY(HttpProxy::getInstance()->addDevice(wall, endpoint));
        QCOMPARE(statusOf(HttpMethod::Get), 200);
        QCOMPARE(status.load(), 401);
        QVERIFY(hadNone);
    }

    void aStormOfRefusalsCausesFewCalls()
    {
        MisbehavingServer server(Mode::Token); // takes no token at all
        DeviceEndpoint endpoint = bearer(server, "old");
        std::atomic<int> calls{0};
        endpoint.renewSecret = [&calls](const QString&) { return QStringLiteral("new%1").arg(++calls); };
        QVERIFY(HttpProxy::getInstance()->addDevice(wall, endpoint));
        QElapsedTimer time;
        time.start();
        std::vector<std::thread> callers;
        std::atomic<int> refused{0};
        for (int i = 0; i < 8; ++i) {
            callers.emplace_back([&refused] {
                for (int request = 0; request < 50; ++request) {
                    refused += statusOf(HttpMethod::Put) == 401 ? 1 : 0;
                }
            });
        }
        for (std::thread& caller : callers) {
            caller.join();
        }
        QCOMPARE(refused.load(), 400);
        // One, and one for each five seconds that it takes.
        QVERIFY2(calls <= 1 + time.elapsed() / 5000 + 1, qPrintable(QString::number(calls)));
        // None of them went out more than twice, and few did.
        QVERIFY2(server.deliveries() <= 400 + 8 * calls, qPrintable(QString::number(server.deliveries())));
    }

    void anOutcomeMayBeAskedForAnywhere()
    {
        MisbehavingServer server;
        QVERIFY(HttpProxy::getInstance()->addDevice(wall, bearer(server, "a")));
        std::atomic<int> asked{0};
        const ObserverHandle observer = addExchangeObserver([&asked](const ExchangeRecord&) {
            OperationOutcome::last().text();
            ++asked;
        });
        constexpr int count = 50;
        std::vector<std::unique_ptr<HttpJsonPackage>> packages;
        std::vector<OperationOutcome> outcomes;
        int ended = 0;
        for (int i = 0; i < count; ++i) {
            packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
            HttpJsonPackage* const package = packages.back().get();
            package->setUrl(QStringLiteral("/x"));
            connect(package, &HttpJsonPackage::readyRead, this, [&ended](HttpJsonPackage* reply) {
                ended += ExchangeOutcome::of(*reply).succeeded() ? 1 : 0;
                OperationOutcome::last().text();
            });
            HttpProxy::getInstance()->get(wall, package);
            outcomes.push_back(OperationOutcome::last());
        }
        // Other threads ask while the exchanges end.
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&outcomes] {
                for (const OperationOutcome& outcome : outcomes) {
                    const OperationOutcome copy = outcome;
                    while (!copy.isFinished()) {
                        std::this_thread::yield();
                    }
                }
            });
        }
        QTRY_COMPARE(ended, count);
        for (std::thread& thread : threads) {
            thread.join();
        }
        QCOMPARE(asked.load(), count);
        for (const OperationOutcome& outcome : outcomes) {
            QCOMPARE(outcome.text(), QStringLiteral("all exchanges succeeded"));
        }
    }
};

QTEST_GUILESS_MAIN(TestRenewal)
#include "tst_renewal.moc"
