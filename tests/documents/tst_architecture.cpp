// SPDX-License-Identifier: MIT
//
// Checks what docs/architecture.md says about files, tests and systems against the sources, and the tests
// that docs/reliability.md names.
#include "document.h"

#include <QMap>
#include <QtTest>

namespace {

struct Feature
{
    const char* name; ///< as the document has it
    const char* pattern;
};

/// What no system but Linux has.
const Feature onlyLinux[] = {
    {"epoll", "\\bepoll_\\w+|\\bEPOLL\\w+"},
    {"eventfd", "\\beventfd\\b|\\bEFD_\\w+"},
    {"signalfd", "\\bsignalfd\\w*|\\bSFD_\\w+"},
    {"timerfd", "\\btimerfd_\\w+"},
    {"inotify", "\\binotify_\\w+"},
    {"pidfd", "\\bpidfd_\\w+"},
    {"memfd_create", "\\bmemfd_create\\b"},
    {"accept4", "\\baccept4\\b"},
    {"pipe2", "\\bpipe2\\b"},
    {"dup3", "\\bdup3\\b"},
    {"prctl", "\\bprctl\\b"},
    {"gettid", "\\bgettid\\b"},
    {"syscall", "\\bsyscall\\s*\\("},
    {"sendfile", "\\bsendfile\\b"},
    {"renameat2", "\\brenameat2\\b"},
    {"O_TMPFILE", "\\bO_TMPFILE\\b"},
    {"pthread_setname_np", "\\bpthread_setname_np\\b"},
    {"affinity", "\\bsched_(?:set|get)affinity\\b|\\bpthread_setaffinity_np\\b"},
    {"MSG_MORE", "\\bMSG_MORE\\b"},
    {"MSG_NOSIGNAL", "\\bMSG_NOSIGNAL\\b"},
    {"SOCK_CLOEXEC", "\\bSOCK_CLOEXEC\\b"},
    {"SOCK_NONBLOCK", "\\bSOCK_NONBLOCK\\b"},
    {"SO_BINDTODEVICE", "\\bSO_BINDTODEVICE\\b"},
    {"TCP_USER_TIMEOUT", "\\bTCP_USER_TIMEOUT\\b"},
    {"TCP_QUICKACK", "\\bTCP_QUICKACK\\b"},
    {"TCP_CORK", "\\bTCP_CORK\\b"},
    {"/proc", "\"/proc\\b"},
    {"/sys", "\"/sys\\b"},
    {"linux headers", "#\\s*include\\s*<(?:linux|asm)/"},
};

/// What Windows lacks, beside headers.
const Feature onlyPosix[] = {
    {"MSG_DONTWAIT", "\\bMSG_DONTWAIT\\b"}, {"pthread_sigmask", "\\bpthread_sigmask\\b"},
    {"sigwait", "\\bsigwait\\b"},           {"sigset_t", "\\bsigset_t\\b"},
    {"sigaction", "\\bsigaction\\b"},       {"SIGPIPE", "\\bSIGPIPE\\b"},
    {"fork", "\\bv?fork\\s*\\("},
};

QStringList productSources()
{
    QStringList files;
    for (const char* library : {"interfaces", "tessel", "communicator", "zephserializer", "json", "files",
                                "qtpromise", "operations", "simulator", "tesselctl"}) {
        files << sourcesBelow(library);
    }
    files.sort();
    return files;
}

template <std::size_t Count>
QStringList featuresOf(const QString& code, const Feature (&features)[Count])
{
    QStringList found;
    for (const Feature& feature : features) {
        if (code.contains(QRegularExpression(feature.pattern))) {
            found << feature.name;
        }
    }
    return found;
}

/// Headers that Windows lacks.
QStringList posixHeadersOf(const QString& code)
{
    return matchesIn(code, "^\\s*#\\s*include\\s*<((?:sys|netinet|arpa|net)/\\w+\\.h|"
                           "(?:unistd|poll|fcntl|termios|pthread|dlfcn|netdb|pwd|sched|spawn|dirent|ifaddrs|"
                           "signal|syslog|libgen|fnmatch|glob|wordexp|regex)\\.h)>");
}

QString sorted(QStringList names)
{
    names.sort();
    return names.join(", ");
}

QString shown(const QStringList& linuxOnly, const QStringList& posixOnly)
{
    return "Linux: " + sorted(linuxOnly) + "; POSIX: " + sorted(posixOnly);
}

} // namespace

class TestArchitecture : public QObject
{
    Q_OBJECT

    const QString m_page = textOf("docs/architecture.md");

private Q_SLOTS:
    void everyFileThatIsNamedExists()
    {
        const QStringList paths =
            matchesIn(m_page, "`((?!(?:sys|netinet|arpa|net)/)(?:[\\w.]+/)+(?:[\\w.]+)?)`");
        QVERIFY(paths.size() > 80);
        for (const QString& path : paths) {
            QVERIFY2(QFile::exists(TESSEL_SOURCE_DIR "/" + path), qPrintable(path));
        }
    }

    void everyTestThatIsNamedExists_data()
    {
        QTest::addColumn<QString>("document");
        for (const char* document : {"CONTRIBUTING.md", "docs/architecture.md", "docs/reliability.md"}) {
            QTest::newRow(document) << document;
        }
    }
    void everyTestThatIsNamedExists()
    {
        QFETCH(QString, document);
        const QString page =
            textOf(document).replace(QRegularExpression("`(tst_\\w+)` \\(`(\\w+)`\\)"), "`\\1::\\2`");
        const QStringList tests = matchesIn(page, "`(tst_\\w+(?:::\\w+)?)`");
        QVERIFY(tests.size() > 15);
        for (const QString& test : tests) {
            // The programs of a folder may share the beginning of their name.
            const QString program = test.section("::", 0, 0).replace("tst_integration_", "integration/tst_");
            const QString function = test.section("::", 1);
            bool found = false;
            for (const QString& file : sourcesBelow("tests")) {
                if (!file.endsWith('/' + program + ".cpp")) {
                    continue;
                }
                const QString text = textOf(file);
                found = found ||
                        (!text.isEmpty() && (function.isEmpty() || text.contains("void " + function + "()")));
            }
            QVERIFY2(found, qPrintable(test));
        }
    }

    void theStepsOfAWalkAreNumberedAndEachNamesAnotherFile_data()
    {
        QTest::addColumn<QString>("walk");
        for (const char* walk : {"call", "event"}) {
            QTest::newRow(walk) << walk;
        }
    }
    void theStepsOfAWalkAreNumberedAndEachNamesAnotherFile()
    {
        QFETCH(QString, walk);
        const QString text = m_page.section("<!-- walk: " + walk + " -->", 1).section("<!-- end -->", 0, 0);
        const QStringList steps = matchesIn(text, "^(\\d+\\. `[\\w/.]+`)");
        QVERIFY(steps.size() > 15);
        QStringList files;
        for (int i = 0; i < steps.size(); ++i) {
            QCOMPARE(steps[i].section(". ", 0, 0).toInt(), i + 1);
            const QString file = steps[i].section('`', 1, 1);
            QVERIFY2(!files.contains(file), qPrintable(file));
            files << file;
        }
    }

    void whatIsNotPortableStandsInTheFilesThatAreNamed()
    {
        QMap<QString, QString> named;
        for (const QStringList& row : tableRows(m_page, "file")) {
            named[namesIn(row.value(0)).value(0)] = shown(namesIn(row.value(1)), namesIn(row.value(2)));
        }
        QVERIFY(named.size() > 5);

        const QStringList files = productSources();
        QVERIFY(files.size() > 200);
        for (const QString& file : files) {
            const QString code = codeOf(file);
            const QStringList linuxOnly = featuresOf(code, onlyLinux);
            QStringList posixOnly = featuresOf(code, onlyPosix) + posixHeadersOf(code);
            // The headers of Linux say no more than the feature that they are for.
            for (const char* header : {"sys/epoll.h", "sys/eventfd.h", "sys/signalfd.h"}) {
                posixOnly.removeAll(header);
            }
            if (linuxOnly.isEmpty() && posixOnly.isEmpty()) {
                QVERIFY2(!named.contains(file), qPrintable(file + " is portable; take its row out"));
                continue;
            }
            QVERIFY2(named.contains(file),
                     qPrintable(file + " is not portable and has no row: " + shown(linuxOnly, posixOnly)));
            QVERIFY2(named.value(file) == shown(linuxOnly, posixOnly),
                     qPrintable(file + "\n  has     " + shown(linuxOnly, posixOnly) + "\n  its row " +
                                named.value(file)));
            named.remove(file);
        }
        QCOMPARE(QStringList(named.keys()), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestArchitecture)
#include "tst_architecture.moc"
