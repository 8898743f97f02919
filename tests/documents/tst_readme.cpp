// SPDX-License-Identifier: MIT
//
// What the README and the page of licences say of the build, against the build. The README's program and its
// commands are tried in tests/package.
#include "document.h"

#include <QMap>
#include <QtTest>

namespace {

const QString page = textOf("README.md");

/// The build's files: what they look for is needed to build, to run or to test.
QStringList buildFiles()
{
    QStringList files{"CMakeLists.txt"};
    QDirIterator it(QStringLiteral(TESSEL_SOURCE_DIR), {"CMakeLists.txt", "*.cmake"}, QDir::Files,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString file = QDir(QStringLiteral(TESSEL_SOURCE_DIR)).relativeFilePath(it.next());
        // These look for Tessel itself, or belong to no build of it.
        if (!file.startsWith("build") && !file.startsWith("tests/package/") &&
            !file.startsWith("tests/mutation/")) {
            files << file;
        }
    }
    files.removeDuplicates();
    return files;
}

/// What the build looks for, with the version that it wants; empty if any will do.
QMap<QString, QString> wanted()
{
    static const QRegularExpression call(
        R"(^ *(?:find_package\((\w+)|find_path\(\w+ ([\w.+]+))(?:/\S+)? ?([\d.]+)?)",
        QRegularExpression::MultilineOption);
    QMap<QString, QString> found;
    for (const QString& file : buildFiles()) {
        for (auto it = call.globalMatch(textOf(file)); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            const QString name = match.captured(1) + match.captured(2);
            if (name != "Tessel" && (!found.contains(name) || found[name].isEmpty())) {
                found[name] = match.captured(3);
            }
        }
    }
    return found;
}

} // namespace

class TestReadme : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theTableOfOptionsIsThatOfTheBuild()
    {
        static const QRegularExpression declaration(
            "^(?:option\\((TESSEL_\\w+) \"[^\"]*\" (\\S+)\\)|set\\((TESSEL_\\w+) \"(\\w*)\" CACHE )",
            QRegularExpression::MultilineOption);
        QStringList declared;
        for (auto it = declaration.globalMatch(textOf("CMakeLists.txt")); it.hasNext();) {
            const QRegularExpressionMatch match = it.next();
            const QString value = match.captured(2) + match.captured(4);
            declared << match.captured(1) + match.captured(3) + ": " +
                            (value == "${PROJECT_IS_TOP_LEVEL}" ? "`ON`, in another project `OFF`"
                             : value.isEmpty()                  ? "empty"
                                                                : '`' + value + '`');
        }
        QStringList documented;
        for (const QStringList& row : tableRows(page, "option")) {
            documented << row.value(0).remove('`') + ": " + row.value(1);
            QVERIFY2(!row.value(2).isEmpty(), qPrintable(row.value(0)));
        }
        declared.sort();
        documented.sort();
        QVERIFY(declared.size() > 10);
        QCOMPARE(documented, declared);
    }

    void everyPackageThatABuildNeedsIsNamed()
    {
        QStringList documented;
        for (const QStringList& row : tableRows(page, "to build")) {
            documented << namesIn(row.value(1));
        }
        const QStringList lists = matchesIn(textOf("packaging/setup.sh"), "build_packages=\\(([^)]*)\\)");
        QCOMPARE(lists.size(), 1);
        QStringList installed = lists.first().simplified().split(' ');
        documented.sort();
        installed.sort();
        QCOMPARE(documented, installed);
    }

    void theRequiredVersionsAreThoseOfTheBuild_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("found");
        QTest::newRow("libcurl") << "libcurl"
                                 << "CURL";
        QTest::newRow("Boost") << "Boost"
                               << "Boost";
        QTest::newRow("simdjson") << "simdjson"
                                  << "simdjson";
        QTest::newRow("OpenSSL") << "OpenSSL"
                                 << "OpenSSL";
        QTest::newRow("nlohmann-json") << "nlohmann-json"
                                       << "nlohmann_json";
        QTest::newRow("CLI11") << "CLI11"
                               << "CLI11";
    }
    void theRequiredVersionsAreThoseOfTheBuild()
    {
        QFETCH(QString, name);
        QFETCH(QString, found);
        const QString version = wanted().value(found);
        QVERIFY2(!version.isEmpty(), qPrintable(found));
        QStringList cells;
        for (const QStringList& row : tableRows(page, "to build")) {
            cells << row.value(0).section(',', 0, 0);
        }
        QVERIFY2(cells.contains(name + ' ' + version), qPrintable(name + ' ' + version));
    }

    void theRequiredVersionsOfCMakeAndQtAreThoseOfTheBuild()
    {
        const QString build = textOf("CMakeLists.txt");
        const QStringList cmake = matchesIn(build, "cmake_minimum_required\\(VERSION ([\\d.]+)\\)");
        QCOMPARE(cmake.size(), 1);
        QVERIFY2(page.contains("CMake " + cmake.first()), qPrintable(cmake.first()));
        const QStringList qt = matchesIn(build, "set\\(tessel_qt_version ([\\d.]+)\\)");
        QCOMPARE(qt.size(), 2);
        QVERIFY2(page.contains("Qt " + qt[0] + ", or Qt " + qt[1]), qPrintable(qt.join(", ")));
    }

    void everyLibraryThatABuildUsesHasItsLicence()
    {
        const QString licences = textOf("docs/licences.md");
        const QList<QStringList> contained = tableRows(licences, "library");
        QStringList documented;
        for (const QStringList& row : contained + tableRows(licences.section("## What only", 1), "library")) {
            documented << namesIn(row.value(1));
            QVERIFY2(!row.last().isEmpty(), qPrintable(row.value(0)));
        }
        documented.removeDuplicates();
        documented.sort();
        QCOMPARE(documented, wanted().keys());
    }
};

QTEST_GUILESS_MAIN(TestReadme)
#include "tst_readme.moc"
