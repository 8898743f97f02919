// SPDX-License-Identifier: MIT
#include "simulateddevice.h"

#include <communicator/calloutcome.h>
#include <communicator/deviceconnections.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>

#include <QTemporaryFile>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using Tessel::Simulator::Fault;
using Tessel::Simulator::Login;
using Tessel::Simulator::Options;

Q_DECLARE_METATYPE(Tessel::Simulator::Login)

namespace {

const char* const displayMode = "/api/v1/device/hw/displaymode";

Options guarded(Login login, bool tls)
{
    Options options;
    options.login = login;
    options.user = login == Login::Bearer ? QString() : QStringLiteral("admin");
    options.secret =
        QStringLiteral("pa55 wörd").remove(login == Login::Bearer ? QStringLiteral(" wörd") : QString());
    options.tls = tls;
    return options;
}

QMap<QString, QVariant> hwInfo(const QString& key, bool isFromDevice = false)
{
    QMap<QString, QVariant> map;
    HWInfo::getInstance()->getHWInfo(key, map, isFromDevice);
    return map;
}

int mode(const QString& key)
{
    return hwInfo(key).value(QStringLiteral("displayMode")).toInt();
}

ConnectionState stateOf(const QString& key)
{
    return DeviceConnections::getInstance()->connection(key).state;
}

} // namespace

/// The library and controllers that have to be logged in to, that are encrypted, busy, or restart.
class TestAccess : public QObject
{
    Q_OBJECT

private:
    static void everyAccess()
    {
        QTest::addColumn<Login>("login");
        QTest::addColumn<bool>("tls");
        for (const auto& row : Tessel::Simulator::loginNames) {
            for (const bool tls : {false, true}) {
                QTest::addRow("%s%s", row.name, tls ? ", TLS" : "") << row.login << tls;
            }
        }
    }

private Q_SLOTS:
    // Operators live on the thread that asks for them first.
    void initTestCase()
    {
        HWInfo::getInstance();
        CabinetInfoOperator::getInstance();
    }

    void operationsAndEventsPassTheLogin_data() { everyAccess(); }

    void operationsAndEventsPassTheLogin()
    {
        QFETCH(Login, login);
        QFETCH(bool, tls);
        SimulatedDevice device(guarded(login, tls));
        QVERIFY2(device.startWithEvents(), qPrintable(device.simulator.errorString()));
        QCOMPARE(mode(device.key), 0);
        QVERIFY(device.simulator.setValue(displayMode, R"({"displayMode":2})"));
        QTRY_COMPARE(mode(device.key), 2);
        // A write with a body, and a body that is too large for one packet.
        QList<QVariant> cabinets;
        QVERIFY(CabinetInfoOperator::getInstance()->getAllCabinetsInfo(device.key, cabinets, false));
        QCOMPARE(cabinets.size(), 240);
        QMap<QString, QVariant> reply;
        QVERIFY(HWInfo::getInstance()->putHWInfoRename(device.key, {{"customName", "North"}}, reply));
        QTRY_COMPARE(hwInfo(device.key).value(QStringLiteral("customName")).toString(),
                     QStringLiteral("North"));
    }

    void aRestartInTheMiddleOfEventsIsSeen_data() { everyAccess(); }

    void aRestartInTheMiddleOfEventsIsSeen()
    {
        QFETCH(Login, login);
        QFETCH(bool, tls);
        SimulatedDevice device(guarded(login, tls));
        QVERIFY(device.startWithEvents());
        QSignalSpy missed(DeviceConnections::getInstance(), &DeviceConnections::eventsMissed);
        QCOMPARE(mode(device.key), 0);
        for (int i = 1; i <= 20; ++i) {
            QVERIFY(device.simulator.setValue(displayMode,
                                              QStringLiteral(R"({"displayMode":%1})").arg(i).toUtf8()));
            if (i == 10) {
                device.simulator.restartDevice();
            }
        }
        QTRY_COMPARE_WITH_TIMEOUT(missed.size(), 1, 20000);
        QTRY_COMPARE_WITH_TIMEOUT(mode(device.key), 20, 20000);
        QTRY_COMPARE(stateOf(device.key), ConnectionState::Live);
    }

    void eventsThatTheDeviceForgotAreMadeUpFor()
    {
        SimulatedDevice device(guarded(Login::Digest, true));
        QVERIFY(device.startWithEvents());
        QCOMPARE(mode(device.key), 0);
        // The stream opens again only when the events of the meantime are forgotten.
        Fault away;
        away.path = QStringLiteral("/api/v1/events");
        away.status = 503;
        away.times = -1;
        device.simulator.addFault(away);
        device.simulator.disconnectStreams();
        QVERIFY(device.simulator.setValue(displayMode, R"({"displayMode":3})"));
        device.simulator.forgetEvents();
        device.simulator.clearFaults();
        QTRY_COMPARE_WITH_TIMEOUT(mode(device.key), 3, 30000);
    }

    void aBusyDeviceIsWaitedFor()
    {
        SimulatedDevice device(guarded(Login::Bearer, true));
        Fault busy;
        busy.path = QStringLiteral("/api/v1/events");
        busy.status = 503;
        busy.retryAfter = "1";
        busy.times = 2;
        device.simulator.addFault(busy);
        busy.path = QStringLiteral("/api/v1/device/hw");
        busy.times = 1;
        device.simulator.addFault(busy);
        HttpProxy::getInstance()->initialize(true);
        QElapsedTimer timer;
        timer.start();
        QVERIFY(device.start());
        {
            CallOutcome outcome;
            QVERIFY(hwInfo(device.key, true).isEmpty());
            QVERIFY(outcome.hasFailed());
            QCOMPARE(outcome.exchanges().last().status, 503);
        }
        QVERIFY(!hwInfo(device.key, true).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(device.key), ConnectionState::Live, 30000);
        // Each of the two refusals was waited out.
        QVERIFY(timer.elapsed() >= 2000);
    }

    void aWrongSecretIsToldAndARightOneHelps_data() { everyAccess(); }

    void aWrongSecretIsToldAndARightOneHelps()
    {
        QFETCH(Login, login);
        QFETCH(bool, tls);
        if (login == Login::None) {
            return;
        }
        HttpProxy::getInstance()->initialize(true);
        SimulatedDevice device(guarded(login, tls));
        QVERIFY(device.simulator.start());
        SimulatedDevice::Endpoint endpoint = device.endpoint();
        endpoint.secret = QStringLiteral("wrong");
        QVERIFY(device.add(endpoint));
        CallOutcome outcome;
        QVERIFY(hwInfo(device.key).isEmpty());
        QCOMPARE(outcome.exchanges().last().status, 401);
        QTRY_COMPARE(stateOf(device.key), ConnectionState::Refused);
        QVERIFY(device.add());
        QVERIFY(!hwInfo(device.key).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(device.key), ConnectionState::Live, 20000);
    }

    void aTokenThatHasRunOutIsReplaced()
    {
        SimulatedDevice device(guarded(Login::Bearer, false));
        QVERIFY(device.startWithEvents());
        QVERIFY(!hwInfo(device.key).isEmpty());
        device.simulator.expireToken();
        CallOutcome outcome;
        QVERIFY(hwInfo(device.key, true).isEmpty());
        QCOMPARE(outcome.exchanges().last().status, 401);
        SimulatedDevice::Endpoint endpoint = device.endpoint();
        endpoint.secret = device.simulator.replaceToken();
        QVERIFY(device.add(endpoint));
        QVERIFY(!hwInfo(device.key, true).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(stateOf(device.key), ConnectionState::Live, 20000);
    }

    void nobodyElseIsTakenForTheDevice()
    {
        SimulatedDevice device(guarded(Login::Basic, true));
        SimulatedDevice other(guarded(Login::Basic, true));
        QVERIFY(device.simulator.start());
        QVERIFY(other.simulator.start());
        SimulatedDevice::Endpoint endpoint = device.endpoint();
        endpoint.pinnedKey = other.simulator.pinnedKey();
        QVERIFY(device.add(endpoint));
        QVERIFY(hwInfo(device.key).isEmpty());
        QCOMPARE(device.simulator.requestCount(), quint64(0)); // nor was it told the password
        endpoint.pinnedKey.clear();
        QVERIFY(device.add(endpoint));
        QVERIFY(hwInfo(device.key).isEmpty());

        QTemporaryFile authority;
        QVERIFY(authority.open());
        authority.write(device.simulator.certificate());
        authority.close();
        endpoint.caFile = authority.fileName();
        QVERIFY(device.add(endpoint));
        QVERIFY(!hwInfo(device.key).isEmpty());
    }

    void anExchangeThatGoesWrongLeavesTheNextOneAlone_data()
    {
        QTest::addColumn<int>("cut");
        QTest::addColumn<bool>("tls");
        for (const auto cut : {Fault::Cut::Truncate, Fault::Cut::Close, Fault::Cut::End, Fault::Cut::HalfHead,
                               Fault::Cut::Reset, Fault::Cut::ShortLength, Fault::Cut::Surplus,
                               Fault::Cut::IdleNotice, Fault::Cut::LateBody}) {
            for (const bool tls : {false, true}) {
                QTest::addRow("%d%s", static_cast<int>(cut), tls ? ", TLS" : "")
                    << static_cast<int>(cut) << tls;
            }
        }
    }

    void anExchangeThatGoesWrongLeavesTheNextOneAlone()
    {
        QFETCH(int, cut);
        QFETCH(bool, tls);
        SimulatedDevice device(guarded(Login::Bearer, tls));
        QVERIFY(device.start());
        for (int i = 0; i < 5; ++i) {
            Fault fault;
            fault.cut = static_cast<Fault::Cut>(cut);
            fault.pause = 1;
            fault.method = "GET";
            device.simulator.addFault(fault);
            hwInfo(device.key, true);
            QVERIFY(device.simulator.setValue(displayMode,
                                              QStringLiteral(R"({"displayMode":%1})").arg(i).toUtf8()));
            // Whatever the device has left on the connection is not taken for this reply.
            CallOutcome outcome;
            int seen = hwInfo(device.key, true).value(QStringLiteral("displayMode")).toInt();
            if (fault.cut == Fault::Cut::IdleNotice && outcome.hasFailed()) {
                // The notice and the request crossed: it reads like an answer, and is told as what it says.
                QCOMPARE(outcome.exchanges().last().status, 408);
                seen = hwInfo(device.key, true).value(QStringLiteral("displayMode")).toInt();
            }
            QCOMPARE(seen, i);
        }
    }
};

QTEST_GUILESS_MAIN(TestAccess)
#include "tst_access.moc"
