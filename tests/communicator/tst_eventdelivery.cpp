// SPDX-License-Identifier: MIT
//
// Events of a real stream, delivered by the proxy to receivers that run event loops of their own.
#include "misbehavingserver.h"

#include "communicator/deviceendpoint.h"

#include <communicator/httpproxy.h>

#include <QEventLoop>
#include <QLoggingCategory>
#include <QtTest>

#include <chrono>
#include <future>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;

namespace {

const QString wall = QStringLiteral("wall");
const QByteArray head = QByteArrayLiteral("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");

QByteArray eventText(int number)
{
    return "data: " + QByteArray::number(number) + "\n\n";
}

} // namespace

class TestEventDelivery : public QObject
{
    Q_OBJECT
    MisbehavingServer* m_server = nullptr;

private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false")); }
    void init() { m_server = new MisbehavingServer(MisbehavingServer::Mode::Scripted); }
    void cleanup()
    {
        HttpProxy::getInstance()->removeDevice(wall);
        HttpProxy::getInstance()->initialize(false);
        QCoreApplication::processEvents();
        delete m_server;
    }

    void aStreamGoesOnWhoseReceiverProcessesEvents_data();
    void aStreamGoesOnWhoseReceiverProcessesEvents();
    void theEventsBehindOneComeWhileItsReceiverRunsALoop();
    void aDeviceThatIsTakenAwayIsToldOnceAndItsStreamEnds();

private:
    /// Opens the stream, which delivers `first` once it is open.
    void open(int first)
    {
        m_server->addScript({head, eventText(first)});
        DeviceEndpoint endpoint;
        endpoint.address = m_server->address();
        QVERIFY(HttpProxy::getInstance()->addDevice(wall, endpoint));
        HttpProxy::getInstance()->initialize(true);
    }
};

void TestEventDelivery::aStreamGoesOnWhoseReceiverProcessesEvents_data()
{
    QTest::addColumn<int>("round");
    for (int round = 1; round <= 20; ++round) {
        QTest::newRow(qPrintable(QStringLiteral("round %1").arg(round))) << round;
    }
}

void TestEventDelivery::aStreamGoesOnWhoseReceiverProcessesEvents()
{
    constexpr int batches = 20;
    constexpr int batchSize = 3;
    QList<QByteArray> received;
    QObject receiver;
    connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &receiver,
            [&](const QByteArray& data) {
                received << data;
                // For as long as it takes that other batches come meanwhile.
                const auto until = std::chrono::steady_clock::now() + std::chrono::microseconds(200);
                do {
                    QCoreApplication::processEvents();
                } while (std::chrono::steady_clock::now() < until);
            });
    open(0);
    QTRY_COMPARE(received, QList<QByteArray>{"0"});
    QList<QByteArray> sent = received;
    // Joins when it goes, also from a test that failed.
    const auto sending = std::async(std::launch::async, [&] {
        for (int batch = 0; batch < batches; ++batch) {
            QByteArray text;
            for (int i = 0; i < batchSize; ++i) {
                text += eventText(batch * batchSize + i + 1);
            }
            m_server->broadcast(text);
            // The batches have to come while earlier ones are being delivered, and apart from each other.
            std::this_thread::sleep_for(std::chrono::microseconds(50));
        }
    });
    for (int i = 1; i <= batches * batchSize; ++i) {
        sent << QByteArray::number(i);
    }
    QTRY_COMPARE(received.size(), sent.size());
    QCOMPARE(received, sent);
}

void TestEventDelivery::theEventsBehindOneComeWhileItsReceiverRunsALoop()
{
    QList<QByteArray> received;
    QList<QByteArray> inside;
    QObject receiver;
    connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &receiver,
            [&](const QByteArray& data) {
                received << data;
                if (data != "1") {
                    return;
                }
                m_server->broadcast(eventText(3) + eventText(4));
                QEventLoop dialog;
                connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, &dialog, [&] {
                    if (received.last() == "4") {
                        dialog.quit();
                    }
                });
                QTimer::singleShot(20000, &dialog, &QEventLoop::quit);
                dialog.exec();
                inside = received;
            });
    open(0);
    QTRY_COMPARE(received, QList<QByteArray>{"0"});
    m_server->broadcast(eventText(1) + eventText(2));
    QTRY_VERIFY(!inside.isEmpty());
    QCOMPARE(inside, (QList<QByteArray>{"0", "1", "2", "3", "4"}));
}

void TestEventDelivery::aDeviceThatIsTakenAwayIsToldOnceAndItsStreamEnds()
{
    QStringList told;
    QObject receiver;
    HttpProxy* const proxy = HttpProxy::getInstance();
    connect(proxy, &HttpProxy::deviceChanged, &receiver, [&] { told << QStringLiteral("changed"); });
    connect(proxy, &HttpProxy::deviceLogout, &receiver,
            [&](const QString& key) { told << QStringLiteral("logout ") + key; });
    open(0);
    QTRY_COMPARE(m_server->open(), 1);
    QTRY_COMPARE(told, QStringList{QStringLiteral("changed")});
    QVERIFY(proxy->removeDevice(wall));
    QTRY_COMPARE(told, (QStringList{QStringLiteral("changed"), QStringLiteral("logout wall"),
                                    QStringLiteral("changed")}));
    QTRY_COMPARE(m_server->open(), 0);
}

QTEST_GUILESS_MAIN(TestEventDelivery)
#include "tst_eventdelivery.moc"
