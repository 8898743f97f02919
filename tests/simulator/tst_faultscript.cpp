// SPDX-License-Identifier: MIT
#include <simulator/faultscript.h>
#include <simulator/options.h>

#include <communicator/loginscheme.h>

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QtTest>

using namespace Tessel::Simulator;

namespace {

QString textOf(const char* name)
{
    QFile file(QStringLiteral(TESSEL_SOURCE_DIR "/") + QLatin1String(name));
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// The rows of the table in the document whose head begins with @p head.
QStringList rowsBelow(const QString& head)
{
    const QString table = textOf("docs/simulator.md")
                              .section(QStringLiteral("\n| %1 |").arg(head), 1, 1)
                              .section(QStringLiteral("\n\n"), 0, 0);
    return table.split(QLatin1Char('\n')).mid(2);
}

} // namespace

/// The tables of faults and logins, and what the documents and the program say.
class TestFaultScript : public QObject
{
    Q_OBJECT

private:
    static QString help()
    {
        QProcess process;
        process.start(QStringLiteral(TESSEL_SIM), {QStringLiteral("--help")});
        process.waitForFinished(30000);
        return QString::fromUtf8(process.readAllStandardOutput()).simplified();
    }

private Q_SLOTS:
    void theCutsAreInTheOrderOfTheirEnumerators()
    {
        for (std::size_t i = 0; i < cutKinds.size(); ++i) {
            QCOMPARE(static_cast<std::size_t>(cutKinds[i].cut), i);
        }
        QCOMPARE(cutKinds.back().cut, Fault::Cut::IdleNotice);
    }

    void theDocumentHasTheCutsAndNoOthers()
    {
        QStringList rows;
        for (const auto& kind : cutKinds) {
            rows << QStringLiteral("| `%1` | %2 |").arg(QLatin1String(kind.name), QLatin1String(kind.effect));
        }
        QCOMPARE(rowsBelow(QStringLiteral("cut")), rows);
    }

    void theDocumentHasTheMembersAndNoOthers()
    {
        QStringList rows;
        for (const auto& member : faultMembers) {
            rows << QStringLiteral("| `%1` | %2 | %3 |")
                        .arg(QLatin1String(member.name), valuesOf(member), QLatin1String(member.meaning));
        }
        QCOMPARE(rowsBelow(QStringLiteral("member")), rows);
    }

    void theHelpHasThemAll()
    {
        const QString text = help();
        const auto contains = [&text](QString line) {
            return text.contains(line.remove(QLatin1Char('`')).simplified());
        };
        for (const auto& kind : cutKinds) {
            QVERIFY2(
                contains(QStringLiteral("%1: %2").arg(QLatin1String(kind.name), QLatin1String(kind.effect))),
                kind.name);
        }
        for (const auto& member : faultMembers) {
            QVERIFY2(contains(QStringLiteral("%1: %2 (%3)")
                                  .arg(QLatin1String(member.name), QLatin1String(member.meaning),
                                       valuesOf(member))),
                     member.name);
        }
    }

    void everyMemberIsReadAndWritten()
    {
        QString error;
        const QByteArray script =
            R"({"path":"/a","method":"PUT","times":7,"after":2,"duration":3,"delay":4,"status":503,"code":5,)"
            R"("body":"b","retryAfter":"6","cut":"drip","pause":8})";
        const QList<Fault> faults = faultsFromJson(script, &error);
        QCOMPARE(faults.size(), 1);
        const Fault& fault = faults.first();
        QCOMPARE(fault.path, QStringLiteral("/a"));
        QCOMPARE(fault.method, QByteArray("PUT"));
        QCOMPARE(fault.times, 7);
        QCOMPARE(fault.after, 2);
        QCOMPARE(fault.duration, 3);
        QCOMPARE(fault.delay, 4);
        QCOMPARE(fault.status, 503);
        QCOMPARE(fault.code, 5);
        QCOMPARE(fault.body, QByteArray("b"));
        QCOMPARE(fault.retryAfter, QByteArray("6"));
        QCOMPARE(fault.cut, Fault::Cut::Drip);
        QCOMPARE(fault.pause, 8);
        const QJsonObject written = QJsonDocument::fromJson(faultToJson(fault)).object();
        QCOMPARE(written, QJsonDocument::fromJson(script).object());
        QCOMPARE(static_cast<std::size_t>(written.size()), faultMembers.size());
    }

    void theLoginsAreThoseOfTheTransport()
    {
        using namespace Krelm::Communicator::HttpDevice;
        QCOMPARE(loginNames.size(), loginSchemes.size() + 1);
        for (std::size_t i = 0; i < loginSchemes.size(); ++i) {
            QCOMPARE(QLatin1String(loginNames[i + 1].name), QLatin1String(loginSchemes[i].name));
        }
        const QStringList row =
            textOf("docs/simulator.md").split(QLatin1Char('\n')).filter(QStringLiteral("| `--login`"));
        QCOMPARE(row.size(), 1);
        for (const auto& login : loginNames) {
            QVERIFY(row.first().contains(QStringLiteral("`%1`").arg(QLatin1String(login.name))));
            QVERIFY(help().contains(QLatin1String(login.name)));
        }
    }
};

QTEST_GUILESS_MAIN(TestFaultScript)
#include "tst_faultscript.moc"
