// SPDX-License-Identifier: MIT
//
// The session of the guide, run as it is written, on a simulated controller in a network of the loopback
// interface.
#include "walltest.h"

using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

namespace {

/// A command of the page and what it prints.
struct Step
{
    QString command;
    QString printed;
};

QList<Step> stepsOf(const QString& page)
{
    QList<Step> steps;
    bool isSession = false;
    for (const QString& line : page.split('\n')) {
        if (line.startsWith("```")) {
            isSession = line == "```console";
        } else if (isSession && line.startsWith("$ ")) {
            steps << Step{line.mid(2), QString()};
        } else if (isSession && !steps.isEmpty()) {
            steps.last().printed += line + '\n';
        }
    }
    return steps;
}

/// Without what the widths of the columns depend on.
QString withoutWidths(QString text)
{
    return text.replace(QRegularExpression(" {2,}"), "  ");
}

} // namespace

class TestCommissioning : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void theSessionOfTheGuideRunsAsWritten()
    {
        startWall();
        Options options;
        options.bindAddress = "127.168.0.1";
        options.cabinets = 12;
        options.strict = true;
        Simulator wall(options);
        QVERIFY2(wall.start(), qPrintable(wall.errorString()));
        QFile file(TESSEL_SOURCE_DIR "/docs/guide/commissioning.md");
        QVERIFY(file.open(QIODevice::ReadOnly));
        // The network of the page is somebody else's.
        const QString page = QString::fromUtf8(file.readAll())
                                 .replace("192.168.0.", "127.168.0.")
                                 .replace("8080", QString::number(wall.port()));
        const QList<Step> steps = stepsOf(page);
        QVERIFY(steps.size() > 15);
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("PATH", QFileInfo(TESSELCTL_PROGRAM).path() + ':' + environment.value("PATH"));
        environment.insert("XDG_CONFIG_HOME", path("config"));
        environment.remove("TESSELCTL_DEVICES");
        for (const Step& step : steps) {
            QProcess shell;
            shell.setProcessEnvironment(environment);
            shell.setWorkingDirectory(m_directory->path());
            shell.setProcessChannelMode(QProcess::MergedChannels);
            shell.start("bash", {"-c", step.command});
            shell.closeWriteChannel();
            QVERIFY2(shell.waitForFinished(60000), qPrintable(step.command));
            const QString printed = QString::fromUtf8(shell.readAll());
            QVERIFY2(withoutWidths(printed) == withoutWidths(step.printed),
                     qPrintable("$ " + step.command + "\nprinted\n" + printed + "and not\n" + step.printed));
        }
        QCOMPARE(wall.value("/api/v1/device/hw/customname"), QByteArray(R"({"customName":"North wall"})"));
    }
};

QTEST_GUILESS_MAIN(TestCommissioning)
#include "tst_commissioning.moc"
