// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <QProcess>
#include <QUrl>
#include <QtTest>

#include <csignal>

namespace {

QByteArray nextLine(QProcess& process)
{
    QDeadlineTimer watchdog(10000);
    while (!process.canReadLine() && !watchdog.hasExpired()) {
        if (!process.waitForReadyRead(1000) && process.state() == QProcess::NotRunning) {
            break;
        }
    }
    return process.readLine().trimmed();
}

quint16 portOf(const QByteArray& url)
{
    return static_cast<quint16>(QUrl(QString::fromLatin1(url)).port(0));
}

} // namespace

class TestTesselSim : public QObject
{
    Q_OBJECT

private:
    static void run(QProcess& process, const QStringList& arguments)
    {
        process.start(QStringLiteral(TESSEL_SIM), arguments);
        QVERIFY(process.waitForStarted(10000));
    }

private Q_SLOTS:
    void itServesUntilASignalComes_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }

    void itServesUntilASignalComes()
    {
        QFETCH(int, signal);
        QProcess process;
        run(process,
            {QStringLiteral("--protocol"), QStringLiteral("single-screen"), QStringLiteral("--cabinets"),
             QStringLiteral("5"), QStringLiteral("--custom-name"), QStringLiteral("Atrium")});
        const QByteArray url = nextLine(process);
        QVERIFY2(url.startsWith("http://127.0.0.1:"), url.constData());
        HttpClient client(portOf(url));
        QCOMPARE(client.get("/api/protocol/version").status, 404);
        QCOMPARE(client.get("/api/v1/device/cabinet").list().size(), 5);
        QCOMPARE(client.get("/api/v1/device/hw").object().value(QStringLiteral("customName")).toString(),
                 QStringLiteral("Atrium"));
        QCOMPARE(client.get("/sim").status, 404);
        QCOMPARE(::kill(static_cast<pid_t>(process.processId()), signal), 0);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 0);
        QCOMPARE(process.readAllStandardError(), QByteArray());
    }

    void itServesSeveralDevices()
    {
        QProcess process;
        run(process, {QStringLiteral("--devices"), QStringLiteral("3"), QStringLiteral("--control")});
        QSet<quint16> ports;
        for (int i = 0; i < 3; ++i) {
            ports.insert(portOf(nextLine(process)));
        }
        QCOMPARE(ports.size(), 3);
        for (const quint16 port : qAsConst(ports)) {
            QCOMPARE(HttpClient(port).get("/sim").status, 200);
        }
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 0);
    }

    void aPortInUseEndsWithOne()
    {
        QProcess first;
        run(first, {});
        const QByteArray url = nextLine(first);
        QProcess second;
        run(second, {QStringLiteral("--port"), QString::number(portOf(url))});
        QVERIFY(second.waitForFinished(10000));
        QCOMPARE(second.exitCode(), 1);
        QVERIFY(second.readAllStandardOutput().isEmpty());
        QVERIFY(second.readAllStandardError().contains(QByteArray::number(portOf(url))));
        first.terminate();
        QVERIFY(first.waitForFinished(10000));
    }

    void badArgumentsEndWithTwo_data()
    {
        QTest::addColumn<QStringList>("arguments");
        const auto row = [](const char* arguments) {
            QTest::newRow(arguments) << QString::fromLatin1(arguments).split(QLatin1Char(' '));
        };
        row("--protocol new");
        row("--protocol old");
        row("--cabinets 10001");
        row("--cabinets -1");
        row("--cabinets many");
        row("--screens 0");
        row("--receiving-cards 0");
        row("--port 65536");
        row("--port -1");
        row("--port 65535 --devices 2");
        row("--bind localhost");
        row("--bind 1.2.3.400");
        row("--devices 0");
        row("--heartbeat 0");
        row("--port");
        row("--nothing");
        row("stray");
    }

    void badArgumentsEndWithTwo()
    {
        QFETCH(QStringList, arguments);
        QProcess process;
        run(process, arguments);
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 2);
        QVERIFY(process.readAllStandardOutput().isEmpty());
        QVERIFY(!process.readAllStandardError().isEmpty());
    }

    void helpAndVersionEndWithZero_data()
    {
        QTest::addColumn<QString>("argument");
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("help") << "--help" << QByteArray("--cabinets");
        QTest::newRow("version") << "--version" << QByteArray("tessel-sim 0.");
    }

    void helpAndVersionEndWithZero()
    {
        QFETCH(QString, argument);
        QFETCH(QByteArray, text);
        QProcess process;
        run(process, {argument});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 0);
        QVERIFY(process.readAllStandardOutput().contains(text));
    }
};

QTEST_GUILESS_MAIN(TestTesselSim)
#include "tst_tesselsim.moc"
