// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <QProcess>
#include <QTemporaryDir>
#include <QTemporaryFile>
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
    void aMistakeIsWrittenToStandardErrorOnce()
    {
        QProcess process;
        run(process, {QStringLiteral("--cabinets"), QStringLiteral("2")});
        const quint16 port = portOf(nextLine(process));
        HttpClient client(port);
        for (int i = 0; i < 3; ++i) {
            const HttpReply reply = client.put("/api/v1/device/log/age", R"({"days":"few"})");
            QCOMPARE(reply.status, 200);
            QCOMPARE(reply.headers.value("tessel-sim-mistake"),
                     QByteArray("days must be a whole number, not text"));
        }
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(
            process.readAllStandardError(),
            QByteArray("tessel-sim: PUT /api/v1/device/log/age: days must be a whole number, not text\n"));
    }

    void aStrictOneRefusesMistakes()
    {
        QProcess process;
        run(process, {QStringLiteral("--strict")});
        HttpClient client(portOf(nextLine(process)));
        QCOMPARE(client.put("/api/v1/device/log/age", R"({"days":"few"})").status, 400);
        QCOMPARE(client.put("/api/v1/device/log/age", R"({"days":2})").status, 200);
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
    }

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

    void itAsksForALogin_data()
    {
        QTest::addColumn<bool>("fromFile");
        QTest::newRow("variable") << false;
        QTest::newRow("file") << true;
    }

    void itAsksForALogin()
    {
        QFETCH(bool, fromFile);
        QTemporaryFile file;
        QVERIFY(file.open());
        file.write("s3cret\r\nsecond line\n");
        file.close();
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("WALL_TOKEN"), QStringLiteral("s3cret"));
        process.setProcessEnvironment(environment);
        QStringList arguments{QStringLiteral("--login"), QStringLiteral("bearer")};
        arguments += fromFile ? QStringList{QStringLiteral("--secret-file"), file.fileName()}
                              : QStringList{QStringLiteral("--secret-env"), QStringLiteral("WALL_TOKEN")};
        run(process, arguments);
        const quint16 port = portOf(nextLine(process));
        const QByteArray hw = "/api/v1/device/hw";
        QCOMPARE(HttpClient(port).get(hw).status, 401);
        QCOMPARE(HttpClient(port).request("GET", hw, {}, "Authorization: Bearer s3cret\r\n").status, 200);
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
    }

    void itShowsAndWritesItsCertificates()
    {
        QTemporaryDir directory;
        const QString name = directory.filePath(QStringLiteral("walls.pem"));
        QProcess process;
        run(process, {QStringLiteral("--tls"), QStringLiteral("--devices"), QStringLiteral("2"),
                      QStringLiteral("--certificate-file"), name});
        QSet<QByteArray> pins;
        for (int i = 0; i < 2; ++i) {
            const QList<QByteArray> line = nextLine(process).split(' ');
            QCOMPARE(line.size(), 2);
            QVERIFY(line[0].startsWith("https://127.0.0.1:"));
            QVERIFY(line[1].startsWith("sha256//"));
            QCOMPARE(QByteArray::fromBase64(line[1].mid(8)).size(), 32);
            pins.insert(line[1]);
        }
        QCOMPARE(pins.size(), 2);
        QFile file(name);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray text = file.readAll();
        QCOMPARE(text.count("-----BEGIN CERTIFICATE-----"), 2);
        QVERIFY(!text.contains("PRIVATE"));
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 0);

        QProcess failing;
        run(failing, {QStringLiteral("--tls"), QStringLiteral("--certificate-file"),
                      directory.filePath(QStringLiteral("no/such/file"))});
        QVERIFY(failing.waitForFinished(10000));
        QCOMPARE(failing.exitCode(), 1);
        QVERIFY(failing.readAllStandardError().contains("no/such/file"));
        QVERIFY(failing.readAllStandardOutput().isEmpty());
    }

    void itStartsWithFaults()
    {
        QProcess process;
        run(process, {QStringLiteral("--fault"), QStringLiteral(R"({"status":503,"retryAfter":7})"),
                      QStringLiteral("--fault"), QStringLiteral(R"([{"status":429}])")});
        HttpClient client(portOf(nextLine(process)));
        const HttpReply reply = client.get("/api/v1/device/hw");
        QCOMPARE(reply.status, 503);
        QCOMPARE(reply.headers.value("retry-after"), QByteArray("7"));
        QCOMPARE(client.get("/api/v1/device/hw").status, 429);
        QCOMPARE(client.get("/api/v1/device/hw").status, 200);
        process.terminate();
        QVERIFY(process.waitForFinished(10000));
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
        row("--login none --user admin");
        row("--login none --secret-env PATH");
        row("--login oauth --secret-env PATH");
        row("--login basic --secret-env PATH");
        row("--login digest --secret-env PATH");
        row("--login bearer --secret-env PATH --user admin");
        row("--login bearer");
        row("--login bearer --secret-env TESSEL_SIM_NOT_SET");
        row("--login bearer --secret-file /nonexistent/file");
        row("--login bearer --secret-file /dev/null");
        row("--login bearer --secret-env PATH --secret-file /dev/null");
        row("--login basic --user a:b --secret-env PATH");
        row("--login bearer --secret-env PATH --token-lifetime -1");
        row("--nonce-lifetime 0");
        row("--secret word");
        row("--certificate-file cert.pem");
        row("--event-memory -1");
        row("--event-memory 1000001");
        row("--fault x");
        row("--fault {\"status\":99}");
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
