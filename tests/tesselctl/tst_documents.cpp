// SPDX-License-Identifier: MIT
#include "program.h"

#include <communicator/loginscheme.h>
#include <tessel/protocols.h>
#include <tessel/warningtypes.h>

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

namespace {

QString textOf(const QString& name)
{
    QFile file(QStringLiteral(TESSEL_SOURCE_DIR "/") + name);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

QStringList matchesIn(const QString& text, const QString& pattern)
{
    QStringList found;
    for (auto it = QRegularExpression(pattern).globalMatch(text); it.hasNext();) {
        found << it.next().captured(1);
    }
    found.removeDuplicates();
    return found;
}

QString helpOf(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments + QStringList{"--help"});
    process.waitForFinished(60000);
    return QString::fromUtf8(process.readAllStandardOutput());
}

/// The names in a help text under @p title.
QStringList listedIn(const QString& help, const QString& title)
{
    const int begin = help.indexOf('\n' + title + ":\n");
    const QString list = begin < 0 ? QString() : help.mid(begin, help.indexOf("\n\n", begin + 1) - begin);
    return matchesIn(list, QStringLiteral("\\n  ([a-z-]+) "));
}

QStringList optionsIn(const QString& help)
{
    QStringList options = matchesIn(help, QStringLiteral("\\n  (?:-[a-z], ?)?(--[a-z-]+)"));
    options.removeAll("--help");
    options.removeAll("--version");
    return options;
}

/// The rows of the document's table of subcommands, such as "ops", "coefficients" and "coefficients save".
QStringList documentedCommands()
{
    const QString table = textOf("docs/commandline.md").section("\n| subcommand |", 1).section("\n\n", 0, 0);
    QStringList commands;
    for (const QString& cell : matchesIn(table, "\n\\| `([^`]+)`")) {
        const QStringList words = cell.split(' ');
        commands << words[0];
        for (const QString& name : words.value(1).split("\\|")) {
            if (name == name.toLower() && !name.isEmpty()) {
                commands << words[0] + ' ' + name;
            }
        }
    }
    return commands;
}

/// A folder with the files that examples name, as the current one for as long as it lives.
class FilesOfTheExamples
{
public:
    FilesOfTheExamples()
    {
        for (const char* name : {"tables/1.json", "wall.json", "card.bin", "controller.bin",
                                 "parameters.json", "devices.toml", "export.json"}) {
            QFile file(m_folder.filePath(name));
            const QMap<QByteArray, QByteArray> texts{
                {"devices.toml", devicesFile()},
                {"parameters.json", "{}"},
                {"export.json", R"({"format":"tesselctl wall","formatVersion":1,"values":{}})"}};
            const QByteArray text = texts.value(name, "[1]");
            m_made = m_made && QDir(m_folder.path()).mkpath(QFileInfo(name).path()) &&
                     file.open(QIODevice::WriteOnly) && file.write(text) == text.size();
        }
        m_made = m_made && QDir::setCurrent(m_folder.path());
    }
    ~FilesOfTheExamples() { QDir::setCurrent(m_before); }
    bool wereMade() const { return m_made; }
    /// Has the examples use the devices file among them.
    static QStringList environment() { return {"TESSELCTL_DEVICES=devices.toml"}; }

private:
    static QByteArray devicesFile()
    {
        QByteArray text;
        for (const char* name : {"left", "right"}) {
            text += "[devices." + QByteArray(name) + "]\naddress = \"" + closedAddress().toUtf8() +
                    "\"\ngroups = [\"stage\"]\n";
        }
        return text;
    }

    const QString m_before = QDir::currentPath();
    const QTemporaryDir m_folder;
    bool m_made = true;
    Q_DISABLE_COPY_MOVE(FilesOfTheExamples)
};

} // namespace

/// Checks that the programs do what the documents say.
class TestDocuments : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everySubcommandAndItsOptionsAreDocumented()
    {
        const QString page = textOf("docs/commandline.md");
        const QStringList documented = documentedCommands();
        QList<QStringList> commands{{}};
        int options = 0;
        for (int i = 0; i < commands.size(); ++i) {
            const QStringList command = commands[i];
            const QString help = helpOf(TESSELCTL_PROGRAM, command);
            QVERIFY2(help.contains("Usage: tesselctl"), qPrintable(command.join(' ')));
            for (const QString& option : optionsIn(help)) {
                QVERIFY2(page.contains('`' + option + '`'), qPrintable(command.join(' ') + ' ' + option));
                ++options;
            }
            for (const QString& subcommand : listedIn(help, "Subcommands")) {
                commands << command + QStringList{subcommand};
                QVERIFY2(documented.contains(commands.last().join(' ')),
                         qPrintable(commands.last().join(' ')));
            }
        }
        QVERIFY(commands.size() > 14 && options > 20);
    }

    void whatIsDocumentedExists()
    {
        QString helps = helpOf(TESSELCTL_PROGRAM, {});
        const QString page = textOf("docs/commandline.md");
        const QStringList documentedNames = documentedCommands();
        QVERIFY(documentedNames.size() > 7);
        for (const QString& command : documentedNames) {
            const QString help = helpOf(TESSELCTL_PROGRAM, command.split(' ').mid(0, command.count(' ')));
            QVERIFY2(listedIn(help, "Subcommands").contains(command.section(' ', -1)), qPrintable(command));
        }
        for (const QString& command : listedIn(helps, "Subcommands")) {
            const QString help = helpOf(TESSELCTL_PROGRAM, {command});
            helps += help;
            for (const QString& subcommand : listedIn(help, "Subcommands")) {
                helps += helpOf(TESSELCTL_PROGRAM, {command, subcommand});
            }
        }
        for (const QString& option : matchesIn(page, "`(--[a-z-]+)`")) {
            QVERIFY2(optionsIn(helps).contains(option) || option == "--help", qPrintable(option));
        }

        QStringList offered = optionsIn(helpOf(TESSEL_SIM, {}));
        QStringList documented = matchesIn(textOf("docs/simulator.md"), "`(--[a-z-]+)");
        QVERIFY(offered.size() > 10);
        offered.sort();
        documented.sort();
        QCOMPARE(documented, offered);
    }

    void everyPathOfTheControlInterfaceIsDocumented()
    {
        const QString source = textOf("simulator/device/control.cpp");
        const QString page = textOf("docs/simulator.md");
        const QStringList paths = matchesIn(source, "Method::\\w+, \"(/sim[a-z/]*)\"");
        QVERIFY(paths.size() > 9);
        for (const QString& path : paths) {
            QVERIFY2(page.contains(QRegularExpression("(GET|POST|DELETE) " + path + "`")), qPrintable(path));
        }
        for (const QString& path : matchesIn(page, "(?:GET|POST|DELETE) (/sim[a-z/]*)`")) {
            QVERIFY2(paths.contains(path), qPrintable(path));
        }
    }

    void theTableOfEventsIsThatOfTheLibrary()
    {
        const auto code = [](const QStringList& words) {
            return words.isEmpty() ? "-" : '`' + words.join("`, `") + '`';
        };
        const auto member = [&](const Tessel::EventText::Member& one) {
            return one.key ? code({QString(R"("%1": "%2")").arg(one.key, one.text)}) : "-";
        };
        QStringList lines;
        for (const Tessel::EventRow& row : Tessel::eventRows) {
            QStringList routeKeys;
            QStringList raised;
            for (const auto& effect : row.effects) {
                if (effect.routeKey) {
                    routeKeys << effect.routeKey;
                }
                if (effect.signal) {
                    raised << effect.signal;
                }
            }
            const QString more = row.text.payload ? code({row.text.payload}) : "-";
            lines << "| " +
                         QStringList{member(row.text.source),   member(row.text.kind), more,
                                     code({row.operatorClass}), code(routeKeys),       code(raised)}
                             .join(" | ") +
                         " |";
        }
        QCOMPARE(matchesIn(textOf("docs/events.md"), "\\n(\\| `\"[^\n]*)"), lines);
    }

    void theLoginSchemesAreDocumented()
    {
        const QStringList row = matchesIn(textOf("docs/transport.md"), "\\n\\| logins \\| ([^\\n]*)");
        QCOMPARE(row.size(), 1);
        QStringList names;
        for (const auto& scheme : Krelm::Communicator::HttpDevice::loginSchemes) {
            names << scheme.name;
        }
        QCOMPARE(matchesIn(row.first(), "([a-z]+) \\(RFC"), names);
    }

    void theWarningsOfTheControlInterfaceAreDocumented()
    {
        QStringList names;
        for (const auto& row : Tessel::warningRows) {
            names << row.name();
        }
        const QStringList line = matchesIn(textOf("docs/simulator.md"), "`POST /sim/warnings` ([^\\n]*)");
        QCOMPARE(line.size(), 1);
        QStringList documented = matchesIn(line.first(), "[`\"]([a-zA-Z]+)[`\"]");
        documented.removeAll("eventType");
        documented.removeAll("eventData");
        names.sort();
        documented.sort();
        QCOMPARE(documented, names);
    }

    void theProtocolsHaveOneNameEach()
    {
        const QString help = helpOf(TESSEL_SIM, {});
        const QStringList row = matchesIn(textOf("docs/simulator.md"), "\\n\\| `--protocol` \\| ([^\\n]*)");
        QCOMPARE(row.size(), 1);
        QStringList names;
        for (const auto& protocol : Tessel::protocols) {
            names << protocol.name;
        }
        QCOMPARE(matchesIn(row.first(), "`([a-z-]+)`"), names);
        QVERIFY2(help.contains('{' + names.join(',') + '}'), qPrintable(help));
        QVERIFY(textOf("docs/glossary.md").contains("\n| " + names.join(", ") + " |"));

        const QRegularExpression otherName("\\b(?:[Oo]ld|[Nn]ew)(?:er)? (?:protocol|controller)s?\\b");
        QStringList files{"README.md", "CONTRIBUTING.md"};
        for (const char* folder :
             {"docs", "tessel", "simulator", "operations", "tesselctl", "examples", "tests"}) {
            QDirIterator it(QStringLiteral(TESSEL_SOURCE_DIR "/") + folder, {"*.h", "*.cpp", "*.md"},
                            QDir::Files, QDirIterator::Subdirectories);
            while (it.hasNext()) {
                files << QDir(TESSEL_SOURCE_DIR).relativeFilePath(it.next());
            }
        }
        QVERIFY(files.size() > 200);
        for (const QString& file : files) {
            const auto match = otherName.match(textOf(file));
            QVERIFY2(!match.hasMatch(), qPrintable(file + ": " + match.captured()));
        }
    }

    void filesThatTheDocumentsNameExist_data()
    {
        QTest::addColumn<QString>("document");
        for (const char* name :
             {"README.md", "CONTRIBUTING.md", "docs/commandline.md", "docs/simulator.md", "docs/transport.md",
              "docs/events.md", "bench/README.md", "examples/README.md"}) {
            QTest::newRow(name) << name;
        }
        for (const char* name :
             {"CHANGELOG.md", "SECURITY.md", "docs/architecture.md", "docs/glossary.md", "docs/installing.md",
              "docs/licences.md", "docs/performance.md", "docs/qt6.md", "docs/releasing.md"}) {
            QTest::newRow(name) << name;
        }
    }
    void filesThatTheDocumentsNameExist()
    {
        QFETCH(QString, document);
        const QString page = textOf(document);
        QVERIFY(!page.isEmpty());
        const QString folder = QFileInfo(document).path() + '/';
        for (const QString& link : matchesIn(page, "\\]\\(([^):#]+)\\)")) {
            QVERIFY2(QFile::exists(TESSEL_SOURCE_DIR "/" + folder + link), qPrintable(link));
        }
        for (const QString& path :
             matchesIn(page, "`((?!build/|share/|sys/|netinet/)(?:[a-z]+/)+(?:[a-z_]+\\.(?:h|cpp|md))?)`")) {
            QVERIFY2(QFile::exists(TESSEL_SOURCE_DIR "/" + path), qPrintable(path));
        }
    }

    void everySubcommandHasAnExampleThatDoesSomething()
    {
        // With an address on which nothing listens, everything fails except parsing the command line.
        const QString address = closedAddress();
        const FilesOfTheExamples files;
        QVERIFY(files.wereMade());
        QList<QStringList> commands{{}};
        int run = 0;
        for (int i = 0; i < commands.size(); ++i) {
            const QStringList command = commands[i];
            const QString help = helpOf(TESSELCTL_PROGRAM, command);
            const QStringList subcommands = listedIn(help, "Subcommands");
            for (const QString& subcommand : subcommands) {
                commands << command + QStringList{subcommand};
            }
            if (!subcommands.isEmpty() || command == QStringList{"demo"}) { // which takes nothing
                continue;
            }
            const QString name = command.join(' ');
            const QStringList examples = matchesIn(help, "\\n  (tesselctl [^\\n|']*)(?=\\n|$)").filter(name);
            QVERIFY2(!examples.isEmpty(), qPrintable(name));
            QString line = examples.first();
            line.replace("192.168.0.10", address);
            if (name == "watch") {
                line += " --seconds 1";
            }
            if (name == "monitor") {
                line += " --count 1";
            }
            const Run ran = ::run(line.split(' ').mid(1), {}, FilesOfTheExamples::environment());
            QVERIFY2(ran.code == 0 || ran.code == 3, qPrintable(line + ": " + ran.err));
            QVERIFY2(!ran.out.isEmpty() || !ran.err.isEmpty(), qPrintable(line));
            ++run;
        }
        QVERIFY(run > 10);
    }

    void theCommandsOfTheDocumentsAreUnderstood()
    {
        // With an address on which nothing listens, everything fails except parsing the command line.
        const QString address = closedAddress();
        const FilesOfTheExamples files;
        QVERIFY(files.wereMade());
        int commands = 0;
        for (const char* name : {"README.md", "docs/commandline.md", "docs/simulator.md"}) {
            for (QString line : matchesIn(textOf(name), "\\n(tesselctl [^\\n]*)")) {
                line.replace(QRegularExpression("=(192\\.168\\.0\\.10|127\\.0\\.0\\.1:8080)"), '=' + address);
                // These two run until they are interrupted.
                if (line.contains(" watch") || line.contains(" monitor")) {
                    continue;
                }
                const Run ran = run(line.split(' ').mid(1), {}, FilesOfTheExamples::environment());
                QVERIFY2(ran.code == 0 || ran.code == 3, qPrintable(line + ": " + ran.err));
                ++commands;
            }
        }
        QVERIFY(commands >= 6);
    }
};

QTEST_GUILESS_MAIN(TestDocuments)
#include "tst_documents.moc"
