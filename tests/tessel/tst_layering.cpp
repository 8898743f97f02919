// SPDX-License-Identifier: MIT
//
// Who may include whom, read off the sources.
#include <sourcetree.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <algorithm>

namespace {

const QString root = QStringLiteral(TESSEL_SOURCE_DIR);

struct Include
{
    QString file; ///< relative to the root
    QString header;
};

QList<Include> includesBelow(const QString& directory)
{
    static const QRegularExpression directive("^\\s*#\\s*include\\s*[<\"]([^>\"]+)[>\"]",
                                              QRegularExpression::MultilineOption);
    QList<Include> includes;
    for (const QString& file : sourcesBelow(directory)) {
        auto match = directive.globalMatch(textOf(file));
        while (match.hasNext()) {
            includes << Include{file, match.next().captured(1)};
        }
    }
    return includes;
}

bool declaredInInterfaces(const QString& header)
{
    return QFile::exists(root + "/interfaces/" + header);
}

const QStringList& libraries()
{
    static const QStringList all{"tessel", "interfaces", "communicator", "zephserializer", "json",
                                 "files",  "simulator",  "operations",   "tesselctl",      "testing"};
    return all;
}

/// Where a header or source lies, "interfaces" for all that is declared there.
QString folderOf(const QString& path)
{
    return path.startsWith("interfaces/") || declaredInInterfaces(path) ? "interfaces"
                                                                        : path.section('/', 0, -2);
}

/// Which folders the files of a folder may include, besides their own.
const QMap<QString, QStringList>& layers()
{
    static const QMap<QString, QStringList> table{
        {"communicator",
         {"communicator/events", "communicator/http", "communicator/packages", "communicator/proxy",
          "communicator/runtime", "interfaces", "json"}},
        {"communicator/devices", {"communicator", "communicator/http"}},
        {"communicator/events",
         {"communicator", "communicator/devices", "communicator/http", "communicator/runtime"}},
        {"communicator/http",
         {"communicator", "communicator/devices", "communicator/runtime", "files", "interfaces", "json"}},
        {"communicator/packages",
         {"communicator", "communicator/http", "communicator/runtime", "interfaces", "json"}},
        {"communicator/proxy",
         {"communicator", "communicator/devices", "communicator/events", "communicator/http",
          "communicator/runtime"}},
        {"communicator/runtime", {}},
        {"files", {}},
        {"interfaces", {}},
        {"json", {}},
        {"operations", {"tessel", "tessel/records"}},
        {"operations/rows", {"interfaces", "operations", "tessel"}},
        {"simulator", {"simulator/http", "simulator/text", "tessel"}},
        {"simulator/device",
         {"simulator", "simulator/resources", "simulator/routes", "simulator/text", "tessel"}},
        {"simulator/http", {"simulator", "simulator/device"}},
        {"simulator/program", {"simulator"}},
        {"simulator/resources", {"simulator", "simulator/routes", "simulator/text", "tessel"}},
        {"simulator/routes", {"simulator", "simulator/text", "tessel"}},
        {"simulator/text", {}},
        {"tessel", {"interfaces", "tessel/envelopes", "tessel/frames", "tessel/records"}},
        {"tessel/envelopes", {"interfaces", "tessel/records", "tessel/serializing"}},
        {"tessel/frames", {"interfaces", "tessel", "tessel/envelopes"}},
        {"tessel/records", {"interfaces", "tessel", "tessel/serializing"}},
        {"tessel/serializing", {"interfaces"}},
        {"tesselctl", {"operations", "tesselctl/commands", "tesselctl/requests", "tesselctl/terminal"}},
        {"tesselctl/commands",
         {"files", "interfaces", "operations", "simulator", "tessel", "tesselctl", "tesselctl/operations",
          "tesselctl/requests", "tesselctl/terminal"}},
        {"tesselctl/operations",
         {"communicator", "interfaces", "operations", "tessel", "tesselctl/terminal"}},
        {"tesselctl/requests",
         {"communicator", "files", "interfaces", "operations", "tesselctl", "tesselctl/terminal"}},
        {"tesselctl/terminal", {}},
        {"testing", {"communicator", "interfaces"}},
        {"zephserializer", {"interfaces", "json"}},
    };
    return table;
}

} // namespace

class TestLayering : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aFolderIncludesOnlyWhatItMayKnow_data()
    {
        QTest::addColumn<QString>("folder");
        for (auto row = layers().cbegin(); row != layers().cend(); ++row) {
            QTest::newRow(qPrintable(row.key())) << row.key();
        }
    }
    void aFolderIncludesOnlyWhatItMayKnow()
    {
        QFETCH(QString, folder);
        const QStringList mayKnow = layers().value(folder);
        bool anyFile = false;
        for (const Include& include : includesBelow(folder)) {
            if (folderOf(include.file) != folder) {
                continue;
            }
            anyFile = true;
            const QString known = folderOf(include.header);
            const bool ours =
                libraries().contains(include.header.section('/', 0, 0)) || known == "interfaces";
            QVERIFY2(!ours || known == folder || mayKnow.contains(known),
                     qPrintable(include.file + " includes " + include.header));
        }
        QVERIFY2(anyFile, "the folder has gone; take its row out");
    }

    void everyFolderHasItsRow()
    {
        for (const QString& library : libraries()) {
            for (const QString& file : sourcesBelow(library)) {
                QVERIFY2(layers().contains(folderOf(file)), qPrintable(file + ": no row for its folder"));
            }
        }
    }

    void theDocumentHasTheSameTable()
    {
        static const QRegularExpression row("^\\| `([\\w/]+)` \\| [^|]+ \\| ([^|]+) \\|$",
                                            QRegularExpression::MultilineOption);
        static const QRegularExpression name("`([\\w/]+)`");
        const QString table = textOf("docs/architecture.md").section("\n## Layers", 1).section("\n## ", 0, 0);
        QStringList documented;
        for (auto rows = row.globalMatch(table); rows.hasNext();) {
            const QRegularExpressionMatch match = rows.next();
            QStringList known;
            for (auto names = name.globalMatch(match.captured(2)); names.hasNext();) {
                known << names.next().captured(1);
            }
            known.sort();
            documented << match.captured(1) + ": " + known.join(' ');
        }
        documented.sort();
        QStringList rules;
        for (auto layer = layers().cbegin(); layer != layers().cend(); ++layer) {
            QStringList known = layer.value();
            known.sort();
            rules << layer.key() + ": " + known.join(' ');
        }
        rules.sort();
        for (const QString& rule : rules) {
            QVERIFY2(documented.contains(rule), qPrintable("not in docs/architecture.md: " + rule));
        }
        QCOMPARE(documented, rules);
    }

    void privateHeadersStayInTheirLibrary()
    {
        for (const QString& user : libraries() + QStringList{"bench", "examples"}) {
            for (const Include& include : includesBelow(user)) {
                const QString library = include.header.section('/', 0, 0);
                const QString folder = folderOf(include.header);
                if (!libraries().contains(library) || library == user) {
                    continue;
                }
                const bool isPublic =
                    folder == "interfaces" || folder == library || folder == "tessel/records";
                QVERIFY2(isPublic, qPrintable(include.file + " includes " + include.header));
            }
        }
    }

    void theLibraryOpensNothingAndStartsNoThread()
    {
        static const QRegularExpression forbidden(
            "\\b(QFile|QSaveFile|QTcpSocket|QUdpSocket|QProcess|QThreadPool|QtConcurrent|std::thread|std::"
            "async|"
            "fopen|ifstream|ofstream|getenv|qgetenv|qEnvironmentVariable)\\b");
        for (const QString& file : sourcesBelow("tessel")) {
            const auto match = forbidden.match(textOf(file));
            QVERIFY2(!match.hasMatch(), qPrintable(file + " uses " + match.captured()));
        }
    }

    void onlyTheRequestFormsSendAnything()
    {
        static const QStringList forms{"tessel/frames/request.h", "tessel/frames/grouprequest.cpp",
                                       "tessel/frames/promiserequest.h"};
        static const QRegularExpression send("\\b(getSync|putSync|postSync|delSync|putMutilPartSync|"
                                             "getFileDownloadSync|putMultSync)\\b");
        for (const QString& file : sourcesBelow("tessel")) {
            if (forms.contains(file)) {
                continue;
            }
            QVERIFY2(!textOf(file).contains(send), qPrintable(file));
        }
    }

    void onlyFourOperationsSetAHeader()
    {
        static const QRegularExpression header("\\.headers\\(|\\bsetRequestHeader\\b");
        QStringList setters;
        for (const QString& file : sourcesBelow("tessel")) {
            if (file == "tessel/frames/packagefiller.h") {
                continue;
            }
            auto match = header.globalMatch(textOf(file));
            for (; match.hasNext(); match.next()) {
                setters << file;
            }
        }
        QCOMPARE(setters, (QStringList{"tessel/cabinetinfooperator_errorrate.cpp",
                                       "tessel/cabinetinfooperator_errorrate.cpp",
                                       "tessel/cabinetinfooperator_errorrate.cpp",
                                       "tessel/cabinetinfooperator_errorrate.cpp"}));
    }

    void everyTestProgramIsBuilt()
    {
        // A list of subjects makes programs of one prefix; or the program is named in full.
        static const QRegularExpression comment("#[^\n]*");
        static const QRegularExpression prefix("\\btst_(\\w*)\\$\\{");
        int programs = 0;
        for (const QString& file : sourcesBelow("tests")) {
            const QString program = QFileInfo(file).completeBaseName();
            if (!program.startsWith("tst_")) {
                continue;
            }
            const QString build = textOf(file.section('/', 0, -2) + "/CMakeLists.txt").remove(comment);
            QStringList names{program};
            for (auto prefixes = prefix.globalMatch(build); prefixes.hasNext();) {
                const QString start = "tst_" + prefixes.next().captured(1);
                if (program.startsWith(start)) {
                    names << program.mid(start.size());
                }
            }
            const bool isBuilt = std::any_of(names.cbegin(), names.cend(), [&](const QString& name) {
                return build.contains(QRegularExpression("\\b" + name + "\\b"));
            });
            QVERIFY2(isBuilt, qPrintable(file + " is in no CMakeLists.txt"));
            ++programs;
        }
        QVERIFY(programs > 90);
    }

    void everySourceNamesItsLicence()
    {
        for (const char* directory :
             {"interfaces", "tessel", "communicator", "zephserializer", "json", "files", "qtpromise",
              "simulator", "operations", "tesselctl", "tests", "bench", "examples"}) {
            for (const QString& file : sourcesBelow(directory)) {
                QVERIFY2(textOf(file).startsWith("// SPDX-License-Identifier: MIT\n"), qPrintable(file));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestLayering)
#include "tst_layering.moc"
