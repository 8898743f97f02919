// SPDX-License-Identifier: MIT
//
// Searching a network for devices, on the addresses of the loopback interface.
#include "walltest.h"

#include <tesselctl/requests/network.h>

#include <QJsonArray>
#include <QJsonObject>

using Tessel::Protocol;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;
using TesselCtl::Expected;
using TesselCtl::hostsOf;

/// In 127.9.8.0/29: a multi-screen device at 1, a single-screen one at 3, one that wants a login at 4,
/// something else at 5 and silence at 6.
class TestDiscover : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        startWall();
        Options options;
        options.bindAddress = "127.9.8.1";
        options.customName = "Main Hall";
        m_devices.clear();
        add(options);
        options.port = m_devices.front()->port();
        options.protocol = Protocol::SingleScreen;
        options.bindAddress = "127.9.8.3";
        add(options);
        options.login = Tessel::Simulator::Login::Bearer;
        options.secret = "hunter2";
        options.bindAddress = "127.9.8.4";
        add(options);
        options.login = Tessel::Simulator::Login::None;
        options.bindAddress = "127.9.8.5";
        add(options);
        m_devices.back()->addFault(answer("*", 200, "<html>Router</html>"));
        options.bindAddress = "127.9.8.6";
        add(options);
        Tessel::Simulator::Fault silence;
        silence.cut = Tessel::Simulator::Fault::Cut::Stall;
        silence.times = -1;
        m_devices.back()->addFault(silence);
    }

    void devicesAreFoundAndNothingElse()
    {
        const Run ran = run(search({"-o", "json"}));
        QVERIFY2(ran.code == 0, ran.err);
        const QJsonArray found = ran.json().array();
        QCOMPARE(found.size(), 3);
        QCOMPARE(found[0].toObject(), (QJsonObject{{"address", "127.9.8.1:" + port()},
                                                   {"name", "Main Hall"},
                                                   {"model", "Wall Controller 16P"},
                                                   {"version", "3.4.1"},
                                                   {"protocol", "multi-screen"}}));
        QCOMPARE(found[1].toObject().value("protocol").toString(), QString("single-screen"));
        QCOMPARE(found[2].toObject(), (QJsonObject{{"address", "127.9.8.4:" + port()}, {"login", "needed"}}));
        QVERIFY2(ran.err.contains("3 of 6 addresses have a device"), ran.err);
        for (const auto& device : m_devices) {
            QVERIFY(device->requestCount() <= 2);
        }
    }

    void aTableShowsThem()
    {
        m_devices.back()->stop(); // whose silence takes time
        const Run ran = run(search({}));
        QVERIFY2(QRegularExpression(
                     "^address +name +model +version +protocol +login\n127.9.8.1:\\d+ +Main Hall +Wall")
                     .match(QString::fromUtf8(ran.out))
                     .hasMatch(),
                 ran.out);
    }

    void whatIsFoundIsAddedOnce()
    {
        m_devices.back()->stop();
        const QStringList add{"--devices", path("devices.toml"), "--add", "--group", "stage", "--site",
                              "hall"};
        const Run ran = run(search(add));
        QVERIFY2(ran.code == 0, ran.err);
        const QByteArray file = read("devices.toml");
        QCOMPARE(file.count("[devices."), 2);
        QVERIFY2(file.contains("[devices.\"main-hall\"]\naddress = \"127.9.8.1:") &&
                     file.contains("[devices.\"main-hall-2\"]\naddress = \"127.9.8.3:") &&
                     file.count("groups = [\"stage\"]") == 2 && file.count("site = \"hall\"") == 2,
                 file);
        const Run again = run(search(add));
        QCOMPARE(again.code, 0);
        QVERIFY2(again.out.contains("main-hall-2"), again.out);
        QCOMPARE(read("devices.toml"), file);
        const Run called =
            run({"--devices", path("devices.toml"), "-d", "@stage", "info", "--columns", "device,protocol"});
        QCOMPARE(
            called.out,
            QByteArray("device       protocol\nmain-hall    multi-screen\nmain-hall-2  single-screen\n"));
    }

    void aSignalEndsTheSearch()
    {
        Program program({"discover", "127.9.8.0/29", "--port", port(), "--timeout", "600"});
        QTRY_VERIFY_WITH_TIMEOUT(m_devices.back()->requestsInFlight() == 1, 30000);
        program.send(SIGINT);
        const Run ran = program.finish();
        QCOMPARE(ran.code, 130);
        QVERIFY2(ran.err.contains("interrupted"), ran.err);
    }

    void networksAreRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QStringList>("hosts");
        QTest::newRow("host") << "10.0.0.7" << QStringList{"10.0.0.7"};
        QTest::newRow("host as network") << "10.0.0.7/32" << QStringList{"10.0.0.7"};
        QTest::newRow("two hosts") << "10.0.0.7/31" << QStringList{"10.0.0.6", "10.0.0.7"};
        QTest::newRow("four addresses") << "10.0.0.7/30" << QStringList{"10.0.0.5", "10.0.0.6"};
        QTest::newRow("end of the range")
            << "255.255.255.255/30" << QStringList{"255.255.255.253", "255.255.255.254"};
    }
    void networksAreRead()
    {
        QFETCH(QString, text);
        QFETCH(QStringList, hosts);
        const Expected<QStringList> read = hostsOf(text);
        QCOMPARE(read.error(), QString());
        QCOMPARE(*read, hosts);
        QCOMPARE(hostsOf("10.0.0.0/22")->size(), 1022);
        QCOMPARE(hostsOf("10.0.0.0/24")->first(), QString("10.0.0.1"));
    }

    void otherTextsAreNoNetwork_data()
    {
        QTest::addColumn<QString>("text");
        for (const char* text : {"", "wall", "10.0.0", "10.0.0.256", "10.0.0.0/33", "10.0.0.0/21",
                                 "10.0.0.0/", "::1", "10.0.0.1/24x"}) {
            QTest::newRow(text) << text;
        }
    }
    void otherTextsAreNoNetwork()
    {
        QFETCH(QString, text);
        QVERIFY(!hostsOf(text));
        const Run ran = run({"discover", text});
        QCOMPARE(ran.code, 2);
    }

private:
    void add(const Options& options)
    {
        m_devices.push_back(std::make_unique<Simulator>(options));
        QVERIFY2(m_devices.back()->start(), qPrintable(m_devices.back()->errorString()));
    }
    QString port() const { return QString::number(m_devices.front()->port()); }
    QStringList search(const QStringList& options) const
    {
        return QStringList{"discover", "127.9.8.0/29", "--port", port(), "--timeout", "5"} + options;
    }

    std::vector<std::unique_ptr<Simulator>> m_devices;
};

QTEST_GUILESS_MAIN(TestDiscover)
#include "tst_discover.moc"
