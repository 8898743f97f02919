// SPDX-License-Identifier: MIT
//
// Who may include whom, read off the sources.
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QtTest>

namespace {

const QString root = QStringLiteral(TESSEL_SOURCE_DIR);

struct Include
{
    QString file; ///< relative to the root
    QString header;
};

QStringList sourcesBelow(const QString& directory)
{
    QStringList files;
    QDirIterator it(root + '/' + directory, {"*.h", "*.cpp", "*.inl"}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        files << QDir(root).relativeFilePath(it.next());
    return files;
}

QString textOf(const QString& file)
{
    QFile source(root + '/' + file);
    return source.open(QIODevice::ReadOnly) ? QString::fromUtf8(source.readAll()) : QString();
}

QList<Include> includesBelow(const QString& directory)
{
    static const QRegularExpression directive("^\\s*#\\s*include\\s*[<\"]([^>\"]+)[>\"]",
                                              QRegularExpression::MultilineOption);
    QList<Include> includes;
    for (const QString& file : sourcesBelow(directory)) {
        auto match = directive.globalMatch(textOf(file));
        while (match.hasNext())
            includes << Include{file, match.next().captured(1)};
    }
    return includes;
}

bool declaredInInterfaces(const QString& header)
{
    return QFile::exists(root + "/interfaces/" + header);
}

} // namespace

class TestHouse : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aModuleIncludesOnlyWhatItMayKnow_data()
    {
        QTest::addColumn<QString>("directory");
        QTest::addColumn<QStringList>("mayKnow");
        QTest::newRow("interfaces") << "interfaces" << QStringList{"interfaces"};
        QTest::newRow("tessel") << "tessel" << QStringList{"tessel", "interfaces"};
        QTest::newRow("communicator") << "communicator" << QStringList{"communicator", "interfaces", "json"};
        QTest::newRow("zephserializer")
            << "zephserializer" << QStringList{"zephserializer", "interfaces", "json"};
        QTest::newRow("json") << "json" << QStringList{"json"};
        QTest::newRow("qtpromise") << "qtpromise" << QStringList{};
        QTest::newRow("simulator") << "simulator" << QStringList{"simulator", "tessel"};
    }
    void aModuleIncludesOnlyWhatItMayKnow()
    {
        QFETCH(QString, directory);
        QFETCH(QStringList, mayKnow);
        QVERIFY(!sourcesBelow(directory).isEmpty());
        static const QStringList modules{"tessel",         "interfaces", "communicator",
                                         "zephserializer", "simulator",  "tesselctl",
                                         "tests",          "bench",      "json"};
        for (const Include& include : includesBelow(directory)) {
            QString module = include.header.section('/', 0, 0);
            if (declaredInInterfaces(include.header))
                module = "interfaces";
            const bool ours = include.header.contains('/') && modules.contains(module);
            QVERIFY2(!ours || mayKnow.contains(module),
                     qPrintable(include.file + " includes " + include.header));
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
            if (forms.contains(file))
                continue;
            QVERIFY2(!textOf(file).contains(send), qPrintable(file));
        }
    }

    void onlyFourOperationsSetAHeader()
    {
        static const QRegularExpression header("\\.headers\\(|\\bsetRequestHeader\\b");
        QStringList setters;
        for (const QString& file : sourcesBelow("tessel")) {
            if (file == "tessel/frames/request.h")
                continue;
            auto match = header.globalMatch(textOf(file));
            for (; match.hasNext(); match.next())
                setters << file;
        }
        QCOMPARE(setters, (QStringList{"tessel/cabinetinfooperator_errorrate.cpp",
                                       "tessel/cabinetinfooperator_errorrate.cpp",
                                       "tessel/cabinetinfooperator_errorrate.cpp",
                                       "tessel/cabinetinfooperator_errorrate.cpp"}));
    }

    void everySourceNamesItsLicence()
    {
        for (const char* directory :
             {"interfaces", "tessel", "communicator", "zephserializer", "json", "qtpromise", "simulator",
              "operations", "tesselctl", "tests", "bench", "examples"}) {
            for (const QString& file : sourcesBelow(directory))
                QVERIFY2(textOf(file).startsWith("// SPDX-License-Identifier: MIT\n"), qPrintable(file));
        }
    }
};

QTEST_GUILESS_MAIN(TestHouse)
#include "tst_house.moc"
