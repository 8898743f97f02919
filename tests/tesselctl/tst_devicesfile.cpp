// SPDX-License-Identifier: MIT
//
// The devices file: which devices --device means, whose login goes where, and the commands that change it.
#include "walltest.h"

#include <QJsonArray>
#include <QJsonObject>

#include <sys/stat.h>
#include <unistd.h>

using Tessel::Simulator::Login;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

namespace {

const char* const chips = "/api/v1/device/capability/chips";

} // namespace

class TestDevicesFile : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void init() { startWall(); }

    void devicesAreGivenByNameGroupAndPattern_data()
    {
        QTest::addColumn<QStringList>("given");
        QTest::addColumn<QStringList>("asked");
        const auto row = [](const char* name, const QStringList& given, const QStringList& asked) {
            QTest::newRow(name) << given << asked;
        };
        row("name", {"left"}, {"left"});
        row("two names", {"right", "left"}, {"left", "right"});
        row("group", {"@stage"}, {"left", "right"});
        row("pattern", {"arena-*"}, {"arena-1", "arena-2"});
        row("one character", {"arena-?"}, {"arena-1", "arena-2"});
        row("group and name within it", {"@stage", "left"}, {"left", "right"});
        row("two groups with a device in common", {"@stage", "@led"}, {"arena-1", "left", "right"});
        row("name and address", {"left", "other=127.0.0.1:1"}, {"left", "other"});
    }
    void devicesAreGivenByNameGroupAndPattern()
    {
        QFETCH(QStringList, given);
        QFETCH(QStringList, asked);
        const QByteArray address = m_simulator->address().toUtf8();
        write("devices.toml", "# all walls\n"
                              "[devices.left]\naddress = \"" +
                                  address +
                                  "\"\ngroups = [\"stage\", \"led\"]\n"
                                  "[devices.right]\naddress = \"" +
                                  address +
                                  "\"\ngroups = [\"stage\"]\n"
                                  "site = \"hall\"\ncomment = \"behind the curtain\"\n"
                                  "[devices.\"arena-1\"]\naddress = \"" +
                                  address +
                                  "\"\ngroups = [\"led\"]\n"
                                  "[devices.arena-2]\naddress = \"" +
                                  address + "\"\n");
        QStringList arguments{"--devices", path("devices.toml"), "--json", "call", "getAllChipType"};
        for (const QString& one : given) {
            arguments << "-d" << one;
        }
        const Run ran = run(arguments);
        const QStringList answered = asked.size() == 1 ? asked : ran.json().object().keys();
        QVERIFY2(!ran.json().isNull(), ran.err);
        QCOMPARE(answered, asked);
        QCOMPARE(m_simulator->requestCount(chips), quint64(asked.size() - (asked.contains("other") ? 1 : 0)));
    }

    void theFileIsNamedByOptionVariableOrFolder_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("environment");
        QTest::newRow("option") << "my.toml" << QStringList{"--devices", "%/my.toml"}
                                << QStringList{"TESSELCTL_DEVICES=/nonexistent"};
        QTest::newRow("variable") << "my.toml" << QStringList() << QStringList{"TESSELCTL_DEVICES=%/my.toml"};
        QTest::newRow("folder") << "tesselctl/devices.toml" << QStringList()
                                << QStringList{"XDG_CONFIG_HOME=%"};
    }
    void theFileIsNamedByOptionVariableOrFolder()
    {
        QFETCH(QString, file);
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, environment);
        write(file, "[devices.left]\naddress = \"" + m_simulator->address().toUtf8() + "\"\n");
        arguments.replaceInStrings("%", m_directory->path());
        environment.replaceInStrings("%", m_directory->path());
        const Run ran = run(arguments + QStringList{"-d", "left", "call", "getAllChipType"}, {}, environment);
        QVERIFY2(ran.code == 0, ran.err);
        QCOMPARE(m_simulator->requestCount(chips), quint64(1));
    }

    void aMistakeNamesItsRemedyAndSendsNothing_data()
    {
        QTest::addColumn<QByteArray>("file");
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* name, const QByteArray& file, const QStringList& arguments,
                            const char* message) {
            QTest::newRow(name) << file << arguments << QString(message);
        };
        const QByteArray good = "[devices.left]\naddress = \"%\"\ngroups = [\"stage\"]\n";
        row("not TOML", "[devices.left\n", {"-d", "left"}, "devices.toml, line 1: ");
        row("misspelt member", "[devices.left]\naddress = \"%\"\nlogni = \"basic\"\n", {"-d", "left"},
            "line 3: unknown member \"logni\"; did you mean login");
        row("password in the file", "[devices.left]\naddress = \"%\"\npassword = \"hunter2\"\n",
            {"-d", "left"}, "line 3: \"password\" does not belong here; .*\"secret-file\"");
        row("number as text", "[devices.left]\naddress = 7\n", {"-d", "left"},
            "line 2: \"address\" must be a text in quotation marks");
        row("text as groups", "[devices.left]\naddress = \"%\"\ngroups = \"stage\"\n", {"-d", "left"},
            "line 3: \"groups\" must be a list of texts");
        row("no address", "[devices.left]\nsite = \"hall\"\n", {"-d", "left"}, "device left has no address");
        row("the same name twice", good + good, {"-d", "left"}, "line 4: ");
        row("device outside", "[left]\naddress = \"%\"\n", {"-d", "left"},
            "line 1: unknown entry \"left\"; a device is a table \\[devices.NAME\\]");
        row("name that reads as a group", "[devices.\"@left\"]\naddress = \"%\"\n", {"-d", "left"},
            "\"@left\" cannot name a device");
        row("login without user", good + "login = \"basic\"\n", {"-d", "left"},
            "left in the devices file: login basic needs user");
        row("CA without TLS", good + "ca-file = \"ca.pem\"\n", {"-d", "left"},
            "ca-file and pinned-key need an address that begins with https://");
        row("slash behind the address", "[devices.left]\naddress = \"%/\"\n", {"-d", "left"},
            "must end with the host or the port, without a slash or path");
        row("misspelt name", good, {"-d", "lfet"}, "unknown device \"lfet\"; did you mean left");
        row("misspelt group", good, {"-d", "@stge"},
            "no device of the devices file is in the group @stge; did you mean @stage");
        row("pattern without a match", good, {"-d", "arena-*"},
            "no device of the devices file matches \"arena-\\*\"");
        row("pattern without devices", "", {"-d", "arena-*"}, "the devices file has no devices");
        row("two devices in one option", good, {"-d", "a=127.0.0.1:1,b=127.0.0.1:2"},
            "--device takes one device, .*: --device a=127.0.0.1:1 --device b=127.0.0.1:2");
        row("slash behind an address that is given", good, {"-d", "a=http://127.0.0.1:1/"},
            "must end with the host or the port, without a slash or path");
        row("login options beside a device of the file", good,
            {"-d", "left", "--login", "basic", "--user", "me", "--secret-env", "HOME"},
            "options for login and TLS are for devices given by address");
        row("device of the file and address of one name", good, {"-d", "left", "-d", "left=127.0.0.1:1"},
            "device left is given twice");
    }
    void aMistakeNamesItsRemedyAndSendsNothing()
    {
        QFETCH(QByteArray, file);
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        write("devices.toml", file.replace('%', m_simulator->address().toUtf8()));
        const Run ran = run(QStringList{"--devices", path("devices.toml")} + arguments +
                            QStringList{"call", "getAllChipType"});
        QCOMPARE(ran.code, 2);
        QVERIFY2(QRegularExpression(message).match(QString::fromUtf8(ran.err)).hasMatch(), ran.err);
        QVERIFY2(!ran.err.contains("hunter2"), ran.err);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void aFileThatIsNamedHasToExist()
    {
        const Run ran = run({"--devices", path("none.toml"), "-d", "left", "call", "getAllChipType"});
        QCOMPARE(ran.code, 2);
        QVERIFY2(ran.err.contains("none.toml: No such file or directory"), ran.err);
    }

    void anAddressNeedsNoDevicesFile()
    {
        write("devices.toml", "not TOML");
        const Run ran =
            run(device() + QStringList{"--devices", path("devices.toml"), "call", "getAllChipType"});
        QVERIFY2(ran.code == 0, ran.err);
    }

    void eachDeviceGetsItsOwnLoginAndNoOther()
    {
        Options options;
        options.login = Login::Basic;
        options.user = "admin";
        options.secret = "left secret";
        Simulator left(options);
        QVERIFY2(left.start(), qPrintable(left.errorString()));
        options.secret = "right secret";
        Simulator right(options);
        QVERIFY2(right.start(), qPrintable(right.errorString()));
        write("left.pw", "left secret\n");
        write("right.pw", "right secret\n");
        QVERIFY(QFile::setPermissions(path("left.pw"), QFile::ReadOwner));
        QVERIFY(QFile::setPermissions(path("right.pw"), QFile::ReadOwner | QFile::WriteOwner));
        const auto entry = [](const char* name, const QString& address, const char* secret) {
            return QString("[devices.%1]\naddress = \"%2\"\nlogin = \"basic\"\nuser = \"admin\"\n"
                           "secret-file = \"%3\"\n")
                .arg(name, address, secret)
                .toUtf8();
        };
        write("devices.toml", entry("left", left.address(), "left.pw") +
                                  entry("right", right.address(), "right.pw") +
                                  "[devices.plain]\naddress = \"" + m_simulator->address().toUtf8() + "\"\n");
        const QStringList file{"--devices", path("devices.toml"), "--json"};
        const Run all = run(file + QStringList{"-d", "*", "call", "getAllChipType"});
        QVERIFY2(all.code == 0, all.err);
        QCOMPARE(all.json().object().keys(), QStringList({"left", "plain", "right"}));

        // Neither the name nor the address of an entry lends its login to a device given by address.
        for (const QString& given : {"left=" + left.address(), left.address(), "right=" + left.address()}) {
            const Run stranger = run(file + QStringList{"-d", given, "call", "getAllChipType"});
            QVERIFY2(stranger.code == 5 && stranger.err.contains("401"), stranger.err);
        }
    }

    void aSecretThatOthersMayReadIsRefused_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("refused");
        for (const int mode : {0600, 0400}) {
            QTest::newRow(qPrintable(QString::number(mode, 8))) << mode << false;
        }
        for (const int mode : {0640, 0604, 0620, 0602, 0644, 0666}) {
            QTest::newRow(qPrintable(QString::number(mode, 8))) << mode << true;
        }
    }
    void aSecretThatOthersMayReadIsRefused()
    {
        QFETCH(int, mode);
        QFETCH(bool, refused);
        write("pw", "hunter2\n");
        QCOMPARE(::chmod(path("pw").toLocal8Bit().constData(), static_cast<mode_t>(mode)), 0);
        write("devices.toml", "[devices.left]\naddress = \"" + m_simulator->address().toUtf8() +
                                  "\"\nlogin = \"bearer\"\nsecret-file = \"pw\"\n");
        const QStringList file{"--devices", path("devices.toml")};
        const Run ran = run(file + QStringList{"-d", "left", "call", "getAllChipType"});
        const Run checked = run(file + QStringList{"devices", "check"});
        QCOMPARE(ran.code, refused ? 2 : 0);
        QCOMPARE(checked.code, refused ? 1 : 0);
        QCOMPARE(m_simulator->requestCount(), quint64(refused ? 0 : 1));
        QCOMPARE(ran.err.contains("chmod 600"), refused);
        QCOMPARE(checked.out.contains("chmod 600"), refused);
        for (const QByteArray& text : {ran.out, ran.err, checked.out, checked.err}) {
            QVERIFY2(!text.contains("hunter2"), text);
        }
    }

    void aDeviceIsAddedAndRemovedAndTheRestStays()
    {
        const QByteArray before =
            "# the walls of the arena\n\n[devices.left]  # new\naddress = \"10.0.0.1\"\n\n"
            "# only on Sundays\n[devices.right]\naddress = \"10.0.0.2\"\n";
        write("devices.toml", before);
        const QStringList file{"--devices", path("devices.toml")};
        const QString address = "http://" + m_simulator->address();
        const Run added = run(file + QStringList{"devices", "add", "new \"wall", address});
        QCOMPARE(added.code, 1);
        QVERIFY2(added.err.contains("cannot name a device"), added.err);
        QCOMPARE(read("devices.toml"), before);

        QVERIFY(run(file + QStringList{"devices", "add", "new.\"1\"", address, "--site", "hall \\ 1",
                                       "--group", "stage", "--group", "led", "--comment", "say \"hi\""})
                    .code == 0);
        QVERIFY2(read("devices.toml").startsWith(before), read("devices.toml"));
        const Run called = run(file + QStringList{"-d", "@led", "call", "getAllChipType"});
        QVERIFY2(called.code == 0, called.err);
        const Run again = run(file + QStringList{"devices", "add", "left", "10.0.0.3"});
        QCOMPARE(again.code, 1);
        QVERIFY2(again.err.contains("left is already in"), again.err);

        const Run misspelt = run(file + QStringList{"devices", "remove", "new.\"1\"", "rihgt"});
        QCOMPARE(misspelt.code, 1);
        QVERIFY2(misspelt.err.contains("did you mean right"), misspelt.err);
        QVERIFY(run(file + QStringList{"devices", "remove", "new.\"1\""}).code == 0);
        QCOMPARE(read("devices.toml"), before);
        QVERIFY(run(file + QStringList{"devices", "remove", "right"}).code == 0);
        QCOMPARE(read("devices.toml"),
                 QByteArray("# the walls of the arena\n\n[devices.left]  # new\naddress = \"10.0.0.1\"\n"));
    }

    void aNewFileIsMadeInItsFolder()
    {
        const QStringList environment{"XDG_CONFIG_HOME=" + path("config")};
        QVERIFY(run({"devices", "add", "left", m_simulator->address()}, {}, environment).code == 0);
        QVERIFY(QFile::exists(path("config/tesselctl/devices.toml")));
        QVERIFY(run({"-d", "left", "call", "getAllChipType"}, {}, environment).code == 0);
    }

    void aFileOnAFullDiskIsUnchanged()
    {
        const QByteArray before =
            '#' + QByteArray(8 * 1024, 'x') + "\n\n[devices.left]\naddress = \"10.0.0.1\"\n";
        write("devices.toml", before);
        const Run ran = runOnFullDisk({"--devices", path("devices.toml"), "devices", "remove", "left"}, 4);
        const Run added =
            runOnFullDisk({"--devices", path("devices.toml"), "devices", "add", "right", "10.0.0.2"}, 4);
        for (const Run& one : {ran, added}) {
            QVERIFY2(one.code == 1 && one.err.contains("the file is unchanged"), one.err);
        }
        QCOMPARE(read("devices.toml"), before);
        QCOMPARE(files(), QStringList{"devices.toml"});
    }

    void anEntryThatSharesItsLineIsLeftToTheUser()
    {
        const QByteArray before =
            "devices = {left = {address = \"10.0.0.1\"}, right = {address = \"10.0.0.2\"}}\n";
        write("devices.toml", before);
        const Run ran = run({"--devices", path("devices.toml"), "devices", "remove", "left"});
        QCOMPARE(ran.code, 1);
        QVERIFY2(ran.err.contains("edit it by hand"), ran.err);
        QCOMPARE(read("devices.toml"), before);
    }

    void namesAndGroupsArePrintedForCompletions()
    {
        write("devices.toml", "[devices.b]\naddress = \"x.y\"\ngroups = [\"stage\", \"led\"]\n"
                              "[devices.a]\naddress = \"x.y\"\ngroups = [\"stage\"]\n");
        QCOMPARE(run({"--devices", path("devices.toml"), "devices", "names"}).out,
                 QByteArray("b\na\n@stage\n@led\n"));
        const Run none = run({"devices", "names"});
        QCOMPARE(none.code, 0);
        QCOMPARE(none.out, QByteArray());
    }

    void theLoginOfADeviceIsAddedWithoutItsSecret()
    {
        write("pw", "hunter2\n");
        QVERIFY(QFile::setPermissions(path("pw"), QFile::ReadOwner));
        const QStringList add{"--devices", path("devices.toml"),
                              "devices",   "add",
                              "left",      m_simulator->address(),
                              "--login",   "digest",
                              "--user",    "admin"};
        QCOMPARE(run(add + QStringList{"--secret-env", "HOME"}).code, 2);
        const Run ran = run(add + QStringList{"--secret-file", path("pw")});
        QVERIFY2(ran.code == 0, ran.err);
        QVERIFY(!read("devices.toml").contains("hunter2"));
        const Run checked = run({"--devices", path("devices.toml"), "--json", "devices", "check"});
        QCOMPARE(checked.code, 0);
        const QJsonObject first = checked.json().array().at(0).toObject();
        QCOMPARE(first.value("device").toString(), QString("left"));
        QVERIFY(first.value("mistake").isNull());
    }

    void allDevicesOfTheFileAreShown()
    {
        write("devices.toml", "[devices.b]\naddress = \"" + m_simulator->address().toUtf8() +
                                  "\"\n[devices.a]\naddress = \"" + closedAddress().toUtf8() + "\"\n");
        const Run ran = run({"--devices", path("devices.toml"), "devices"});
        QCOMPARE(ran.code, 3);
        const QStringList lines = QString::fromUtf8(ran.out).trimmed().split('\n');
        QCOMPARE(lines.size(), 3);
        QVERIFY2(lines[1].startsWith("b ") && lines[2].startsWith("a "), ran.out);
    }
};

QTEST_GUILESS_MAIN(TestDevicesFile)
#include "tst_devicesfile.moc"
