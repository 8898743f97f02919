// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"
#include "sleepingthread.h"

#include <communicator/deviceconnections.h>
#include <communicator/deviceendpoint.h>
#include <communicator/exchangeobserver.h>
#include <communicator/httpproxy.h>

#include <QEventLoop>
#include <QLoggingCategory>
#include <QSignalSpy>
#include <QtTest>

#include <future>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using Mode = MisbehavingServer::Mode;

namespace {

const QByteArray head = QByteArrayLiteral("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");
const QString wall = QStringLiteral("wall");

bool add(const QString& deviceKey, const MisbehavingServer& server)
{
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    return HttpProxy::getInstance()->addDevice(deviceKey, endpoint);
}

/// The first one to ask for it is another thread.
DeviceConnections* askedForElsewhere()
{
    DeviceConnections* connections = nullptr;
    std::thread([&connections] { connections = DeviceConnections::getInstance(); }).join();
    return connections;
}

} // namespace

/// What the proxy tells about the channels of its devices.
class TestDeviceConnections : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
        connect(m_connections, &DeviceConnections::connectionChanged, this,
                [this](const DeviceConnection& connection) {
                    QCOMPARE(QThread::currentThread(), HttpProxy::getInstance()->thread());
                    m_told << connection.deviceKey + ' ' + connectionStateName(connection.state);
                });
    }
    void cleanup()
    {
        HttpProxy* const proxy = HttpProxy::getInstance();
        for (const QString& key : proxy->devices()) {
            proxy->removeDevice(key);
        }
        proxy->initialize(false);
        QTRY_VERIFY(m_connections->connections().isEmpty());
        QCoreApplication::processEvents();
        m_connections->setChangeEvents({});
        m_told.clear();
    }

    void theConnectionsLiveOnTheProxysThreadWhoeverAsksFirst()
    {
        QCOMPARE(m_connections->thread(), HttpProxy::getInstance()->thread());
    }

    void theStatesOfAChannelAreToldInOrder()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        QSignalSpy events(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData);
        HttpProxy::getInstance()->initialize(true);
        QVERIFY(add(wall, server));
        QTRY_COMPARE(events.size(), 1);
        QCOMPARE(events[0][0].toByteArray(), QByteArray("1"));
        QCOMPARE(events[0][1].toString(), wall);
        QCOMPARE(m_told, (QStringList{"wall connecting", "wall live"}));
        QCOMPARE(m_connections->connection(wall).state, ConnectionState::Live);
        QCOMPARE(m_connections->connections().size(), 1);
        QCOMPARE(m_connections->connections()[0].deviceKey, wall);
        QVERIFY(HttpProxy::getInstance()->removeDevice(wall));
        QTRY_COMPARE(m_told.last(), QStringLiteral("wall stopped"));
        QCOMPARE(m_connections->connection(wall).state, ConnectionState::Stopped);
    }

    void aChannelThatIsClosedSaysWhy()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head});
        QStringList reasons;
        QObject context;
        connect(m_connections, &DeviceConnections::connectionChanged, &context,
                [&reasons](const DeviceConnection& connection) {
                    if (connection.state == ConnectionState::Stopped) {
                        reasons << connection.reason;
                    }
                });
        HttpProxy::getInstance()->initialize(true);
        QVERIFY(add(wall, server));
        QTRY_COMPARE(m_told.size(), 2);
        HttpProxy::getInstance()->initialize(false);
        QTRY_COMPARE(reasons, QStringList(QStringLiteral("the push channel was turned off")));
        server.addScript({head});
        HttpProxy::getInstance()->initialize(true); // opens that of the device that is known
        QTRY_COMPARE(m_connections->connection(wall).state, ConnectionState::Live);
        QVERIFY(HttpProxy::getInstance()->removeDevice(wall));
        QTRY_COMPARE(reasons.size(), 2);
        QCOMPARE(reasons[1], QStringLiteral("the device was removed"));
    }

    void whatHappenedWhileNobodyWantedEventsIsReported()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        server.addScript({head, "id: e:1\n\n"});
        m_connections->setChangeEvents({"\"a\""});
        QSignalSpy events(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData);
        QSignalSpy missed(m_connections, &DeviceConnections::eventsMissed);
        HttpProxy::getInstance()->initialize(true);
        QVERIFY(add(wall, server));
        QTRY_COMPARE(events.size(), 1);
        QCOMPARE(missed.size(), 0);
        HttpProxy::getInstance()->initialize(false);
        HttpProxy::getInstance()->initialize(true);
        QTRY_COMPARE(missed.size(), 1);
        QTRY_COMPARE(events.size(), 2);
        QCOMPARE(events[1][0].toByteArray(), QByteArray("\"a\""));
    }

    void eventsMayEndWhileAnObserverChangesTheDevices()
    {
        MisbehavingServer server;
        HttpProxy* const proxy = HttpProxy::getInstance();
        proxy->initialize(true);
        QVERIFY(add(wall, server));
        std::promise<void> told;
        std::promise<pid_t> ending;
        std::future<pid_t> endingThread = ending.get_future();
        const ObserverHandle observer = addExchangeObserver([&](const ExchangeRecord&) {
            told.set_value();
            const pid_t thread = endingThread.get();
            while (!sleeps(thread)) {
                std::this_thread::yield();
            }
            proxy->removeDevice(wall);
        });
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        QVERIFY(proxy->get(wall, &package));
        told.get_future().wait();
        std::promise<void> ended;
        std::thread thread([&] {
            ending.set_value(pid_t(::syscall(SYS_gettid)));
            proxy->initialize(false);
            ended.set_value();
        });
        if (ended.get_future().wait_for(std::chrono::seconds(20)) != std::future_status::ready) {
            qFatal("the observer and the end of the events wait for each other");
        }
        thread.join();
        QVERIFY(proxy->devices().isEmpty());
    }

    void aHandlerOfLogMessagesMayChangeTheDevices_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("isAccepted");
        QTest::newRow("of an endpoint that is refused") << QStringLiteral("http://") << false;
        QTest::newRow("of a login in clear") << QStringLiteral("192.0.2.1:80") << true;
    }
    void aHandlerOfLogMessagesMayChangeTheDevices()
    {
        QFETCH(QString, address);
        QFETCH(bool, isAccepted);
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ntessel.http.warning=true"));
        static std::atomic<int> told{0};
        told = 0;
        const QtMessageHandler before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
                ++told;
                HttpProxy::getInstance()->removeDevice(wall);
            });
        std::promise<bool> added;
        std::future<bool> isAdded = added.get_future();
        std::thread thread([&] {
            DeviceEndpoint endpoint;
            endpoint.address = address;
            endpoint.login = DeviceEndpoint::Login::Basic;
            endpoint.user = QStringLiteral("admin");
            added.set_value(HttpProxy::getInstance()->addDevice(wall, endpoint));
        });
        const bool hasReturned = isAdded.wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        qInstallMessageHandler(before);
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
        if (!hasReturned) {
            qFatal("the handler waits for the call that tells it");
        }
        thread.join();
        QCOMPARE(isAdded.get(), isAccepted);
        QCOMPARE(told.load(), 1);
        QVERIFY(HttpProxy::getInstance()->devices().isEmpty());
    }

    void aHandlerOfLogMessagesMayEndTheEvents()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ntessel.events.warning=true"));
        static std::atomic<int> told{0};
        told = 0;
        const QtMessageHandler before =
            qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
                HttpProxy::getInstance()->initialize(false);
                ++told;
            });
        MisbehavingServer server(Mode::Raw);
        HttpProxy::getInstance()->initialize(true);
        const bool isAdded = add(wall, server);
        QTRY_COMPARE(told.load(), 1);
        qInstallMessageHandler(before);
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
        QVERIFY(isAdded);
        QTRY_VERIFY(m_connections->connections().isEmpty());
    }

    void aDeviceThatIsMadeKnownAgainKeepsNoConnectionsOfBefore()
    {
        MisbehavingServer server;
        HttpProxy* const proxy = HttpProxy::getInstance();
        for (int i = 0; i < 5; ++i) {
            QVERIFY(add(wall, server));
            HttpJsonPackage package(nullptr);
            package.setUrl(QStringLiteral("/api/v1/x"));
            QSignalSpy done(&package, &HttpJsonPackage::readyRead);
            QVERIFY(proxy->get(wall, &package));
            QTRY_COMPARE(done.size(), 1);
            proxy->getSync(wall, &package);
            QCOMPARE(package.getSimpleState(), IHttpVersionTrigger::Success);
        }
        QCOMPARE(server.connections(), 10);
        QTRY_COMPARE(server.open(), 2);
    }

    void aConnectionInUseIsNotKeptForADeviceThatIsMadeKnownAgain_data()
    {
        QTest::addColumn<bool>("blocking");
        QTest::newRow("blocking") << true;
        QTest::newRow("non-blocking") << false;
    }
    void aConnectionInUseIsNotKeptForADeviceThatIsMadeKnownAgain()
    {
        QFETCH(bool, blocking);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({});
        HttpProxy* const proxy = HttpProxy::getInstance();
        QVERIFY(add(wall, server));
        std::promise<void> ended;
        std::thread caller([&] {
            HttpJsonPackage package(nullptr);
            package.setUrl(QStringLiteral("/api/v1/x"));
            if (blocking) {
                proxy->getSync(wall, &package);
            } else {
                QEventLoop loop;
                QObject::connect(&package, &HttpJsonPackage::readyRead, &loop, &QEventLoop::quit);
                proxy->get(wall, &package);
                loop.exec();
            }
            ended.set_value();
        });
        const bool hasCome = server.waitForDeliveries(1);
        const bool isKnown = add(wall, server);
        server.broadcast("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}");
        ended.get_future().wait();
        caller.join();
        QVERIFY(hasCome);
        QVERIFY(isKnown);
        QTRY_COMPARE(server.open(), 0);
    }

    void whatMayHaveBeenMissedIsToldBeforeItIsReported()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        server.addScript({head, "id: f:1\n\n"});
        m_connections->setChangeEvents({"\"a\""});
        const QByteArrayList further{"\"b\"", "\"c\""};
        QVERIFY(QMetaObject::invokeMethod(HttpProxy::getInstance(), "addChangeEvents",
                                          Q_ARG(QByteArrayList, further)));
        QCOMPARE(m_connections->changeEvents(), (QList<QByteArray>{"\"a\"", "\"b\"", "\"c\""}));
        QList<QByteArray> told;
        QObject context;
        connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &context,
                [&told](const QByteArray& event, const QString& deviceKey) {
                    QCOMPARE(deviceKey, wall);
                    told << event;
                });
        connect(m_connections, &DeviceConnections::eventsMissed, &context,
                [&told](const QString& deviceKey) { told << "missed " + deviceKey.toLatin1(); });
        HttpProxy::getInstance()->initialize(true);
        QVERIFY(add(wall, server));
        QTRY_COMPARE(told, QList<QByteArray>{"1"});
        server.dropConnections();
        QTRY_COMPARE_WITH_TIMEOUT(told.size(), 5, 20000);
        QCOMPARE(told, (QList<QByteArray>{"1", "missed wall", "\"a\"", "\"b\"", "\"c\""}));
    }

    void aChannelOpensOnlyWhenEventsAreWanted()
    {
        MisbehavingServer server(Mode::Scripted);
        QVERIFY(add(wall, server));
        QCoreApplication::processEvents();
        QCOMPARE(m_connections->connection(wall).state, ConnectionState::Stopped);
        QVERIFY(m_connections->connections().isEmpty());
        HttpProxy::getInstance()->initialize(true);
        QTRY_VERIFY(!m_connections->connections().isEmpty());
        HttpProxy::getInstance()->initialize(true); // is open
        QVERIFY(server.waitForDeliveries(1));
        QCoreApplication::processEvents();
        QCOMPARE(m_told.count(QStringLiteral("wall connecting")), 1);
        QCOMPARE(server.connections(), 1);
    }

private:
    DeviceConnections* const m_connections = askedForElsewhere();
    QStringList m_told;
};

QTEST_GUILESS_MAIN(TestDeviceConnections)
#include "tst_deviceconnections.moc"
