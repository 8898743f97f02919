// SPDX-License-Identifier: MIT
#include <QDir>
#include <QLoggingCategory>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <clocale>
#include <cstring>

class TestOwnEnvironment : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void onlyWhatIsTheSameForEveryUserIsThere()
    {
        QStringList names = QProcessEnvironment::systemEnvironment().keys();
        for (const char* kept : {"PATH", "TMPDIR", "LD_LIBRARY_PATH", "LD_PRELOAD", "ASAN_OPTIONS",
                                 "LSAN_OPTIONS", "TSAN_OPTIONS", "UBSAN_OPTIONS", "QTEST_DISABLE_STACK_DUMP",
                                 "QTEST_ENVIRONMENT", "QTEST_FUNCTION_TIMEOUT", "TESSEL_REQUIRE_PEERS"}) {
            names.removeAll(QString::fromLatin1(kept));
        }
        // Qt Test's own.
        names.removeAll(QStringLiteral("QT_LOGGING_TO_CONSOLE"));
        names.removeAll(QStringLiteral("QT_QTESTLIB_RUNNING"));
        names.sort();
        QCOMPARE(names.join(QLatin1Char(' ')), QStringLiteral("HOME LC_ALL TZ"));
    }
    void theCLibrarySpeaksEnglish()
    {
        QCOMPARE(QByteArray(std::setlocale(LC_MESSAGES, nullptr)), QByteArray("C.UTF-8"));
        QCOMPARE(QByteArray(std::strerror(EFBIG)), QByteArray("File too large"));
    }
    void categoriesStandAsTheProgramSetThem()
    {
        static const QLoggingCategory category("test.environment", QtInfoMsg);
        QVERIFY(!category.isDebugEnabled());
    }
    void messagesComeAsTheyWereWritten()
    {
        QCOMPARE(qFormatLogMessage(QtInfoMsg, QMessageLogContext(), QStringLiteral("text")),
                 QStringLiteral("text"));
    }

    void anotherUsersEnvironmentChangesNothing_data()
    {
        QTest::addColumn<QString>("function");
        for (const char* function : {"onlyWhatIsTheSameForEveryUserIsThere", "theCLibrarySpeaksEnglish",
                                     "categoriesStandAsTheProgramSetThem", "messagesComeAsTheyWereWritten"}) {
            QTest::newRow(function) << QString::fromLatin1(function);
        }
    }
    void anotherUsersEnvironmentChangesNothing()
    {
        QFETCH(QString, function);
        QTemporaryDir settings;
        QVERIFY(QDir(settings.path()).mkpath(QStringLiteral(".config/QtProject")));
        QFile rules(settings.filePath(QStringLiteral(".config/QtProject/qtlogging.ini")));
        QVERIFY(rules.open(QIODevice::WriteOnly));
        rules.write("[Rules]\n*=true\n");
        rules.close();
        QProcessEnvironment variables = QProcessEnvironment::systemEnvironment();
        variables.insert(QStringLiteral("HOME"), settings.path());
        variables.insert(QStringLiteral("LANGUAGE"), QStringLiteral("de"));
        variables.insert(QStringLiteral("LC_ALL"), QStringLiteral("de_DE.UTF-8"));
        variables.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("*=true"));
        variables.insert(QStringLiteral("QT_MESSAGE_PATTERN"), QStringLiteral("%{type} %{message}"));
        variables.insert(QStringLiteral("http_proxy"), QStringLiteral("http://192.0.2.1:1"));
        QProcess same;
        same.setProcessEnvironment(variables);
        same.setProcessChannelMode(QProcess::MergedChannels);
        same.start(QCoreApplication::applicationFilePath(), {function});
        QVERIFY(same.waitForFinished());
        QVERIFY2(same.exitStatus() == QProcess::NormalExit && same.exitCode() == 0,
                 same.readAll().constData());
    }
};

QTEST_GUILESS_MAIN(TestOwnEnvironment)
#include "tst_ownenvironment.moc"
