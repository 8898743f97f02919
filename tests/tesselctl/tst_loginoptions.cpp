// SPDX-License-Identifier: MIT
//
// The login schemes of the transport against the options of the command line and its documents.
#include "program.h"

#include <communicator/loginscheme.h>
#include <tesselctl/commands/resumecommand.h>

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

using namespace TesselCtl;
using Krelm::Communicator::HttpDevice::LoginScheme;
using Krelm::Communicator::HttpDevice::loginSchemes;

namespace {

QStringList schemeNames()
{
    QStringList names;
    for (const LoginScheme& scheme : loginSchemes) {
        names << scheme.name;
    }
    return names;
}

} // namespace

class TestLoginOptions : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everySchemeIsTakenWithWhatItNeeds_data()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const LoginScheme& scheme : loginSchemes) {
            QTest::newRow(scheme.name) << index++;
        }
    }
    void everySchemeIsTakenWithWhatItNeeds()
    {
        QFETCH(int, index);
        const LoginScheme& scheme = loginSchemes[static_cast<std::size_t>(index)];
        Settings settings = withSecret();
        settings.devices.login = scheme.name;
        settings.devices.user = scheme.takesUser ? "me" : "";
        const Expected<std::vector<Device>> devices = readDevices(settings.devices);
        QCOMPARE(devices.error(), QString());
        QCOMPARE(devices->size(), std::size_t(1));
        QCOMPARE(devices->front().endpoint.login, scheme.login);
        QCOMPARE(devices->front().endpoint.secret, QString("hunter2"));

        const QString resumed = resumeCommand(settings, "wall", {"ops"});
        QVERIFY2(resumed.contains(QString(" --login %1 ").arg(scheme.name)), qPrintable(resumed));
        QCOMPARE(resumed.contains(" --user me "), scheme.takesUser);

        settings.devices.user = scheme.takesUser ? "" : "me";
        QVERIFY(!readDevices(settings.devices));
        settings.devices.user = "a:b";
        QCOMPARE(bool(readDevices(settings.devices)), scheme.takesUser && scheme.takesColonInUser);
    }

    void anUnknownLoginIsAnErrorAndNeverNone()
    {
        for (const char* name : {"none", "Basic", "guess"}) {
            Settings settings = withSecret();
            settings.devices.login = name;
            QVERIFY2(!readDevices(settings.devices), name);
        }
        const Run run = ::run({"--device", "wall=127.0.0.1:1", "--login", "guess", "routes"});
        QCOMPARE(run.code, 2);
        QVERIFY2(run.err.contains("--login"), run.err);
        for (const QString& name : schemeNames()) {
            QVERIFY2(run.err.contains(name.toUtf8()), run.err);
        }
    }

    void helpAndDocumentNameTheSchemesAndNoOther()
    {
        const QString help = QString::fromUtf8(run({"--help"}).out).simplified();
        const QStringList names = schemeNames();
        const QString all = names.mid(0, names.size() - 1).join(", ") + " or " + names.last();
        QVERIFY2(help.contains("how to log in: " + all), qPrintable(help));

        QFile file(TESSEL_SOURCE_DIR "/docs/transport.md");
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QString page = QString::fromUtf8(file.readAll()).simplified();
        const QString logins = QRegularExpression("\\| logins \\| ([^|]*)\\|").match(page).captured(1);
        QStringList documented;
        for (auto it = QRegularExpression("([a-z]+) \\(RFC").globalMatch(logins); it.hasNext();) {
            documented << it.next().captured(1);
        }
        QCOMPARE(documented, names);
    }

private:
    Settings withSecret()
    {
        QFile file(m_folder.filePath("secret"));
        if (file.open(QIODevice::WriteOnly)) {
            file.write("hunter2\n");
        }
        Settings settings;
        settings.devices.devices = QStringList{"wall=127.0.0.1:1"};
        settings.devices.secretFile = file.fileName();
        return settings;
    }

    const QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestLoginOptions)
#include "tst_loginoptions.moc"
