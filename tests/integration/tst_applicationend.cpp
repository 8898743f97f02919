// SPDX-License-Identifier: MIT
//
// Waits that meet the end of the application, or that never saw one. Each in a process of its own.
#include <childprogram.h>
#include <misbehavingserver.h>

#include <QtTest>

using Mode = MisbehavingServer::Mode;

namespace {

struct Wait
{
    const char* name;
    int requests;
    int atOnce;          ///< of them, while the device does not answer
    QByteArray answered; ///< its outcome when the device answers
    QByteArray cutOff;   ///< its outcome when the application ends
};

const Wait waits[] = {
    {"promise", 1, 1, "fulfilled", "rejected"},
    {"upload promise", 1, 1, "fulfilled", "rejected"},
    {"cabinets promise", 1, 1, "fulfilled", "rejected"},
    {"group read", 2, 2, "true 2", "false 0"},
    {"group write", 2, 2, "true", "false"},
    // Two writes to one path of one device: the second waits for the first.
    {"several devices", 2, 1, "true", "false"},
    {"upload", 1, 1, "true 1", "false 0"},
    {"call", 1, 1, "true", "false"},
};

} // namespace

class TestApplicationEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void whatWaitsEndsWithTheApplication_data();
    void whatWaitsEndsWithTheApplication();
    void whatIsAskedAfterTheApplicationEndsAtOnce_data();
    void whatIsAskedAfterTheApplicationEndsAtOnce();
    void whatIsAskedIsAnsweredOnAnyThread_data();
    void whatIsAskedIsAnsweredOnAnyThread();
    void aThreadOfThePoolThatWaitsDoesNotHoldAnExitUp_data();
    void aThreadOfThePoolThatWaitsDoesNotHoldAnExitUp();
    void theWaitForAPromiseOfNothingEndsWithTheApplication_data();
    void theWaitForAPromiseOfNothingEndsWithTheApplication();

private:
    static void addRows(const QStringList& threads)
    {
        QTest::addColumn<QString>("thread");
        QTest::addColumn<QString>("wait");
        QTest::addColumn<int>("requests");
        QTest::addColumn<int>("atOnce");
        QTest::addColumn<QByteArray>("answered");
        QTest::addColumn<QByteArray>("cutOff");
        for (const QString& thread : threads) {
            for (const Wait& wait : waits) {
                QTest::newRow(qPrintable(thread + ", " + wait.name))
                    << thread << wait.name << wait.requests << wait.atOnce << wait.answered << wait.cutOff;
            }
        }
    }

    static void startWaiting(QProcess& process, const QString& thread, const QString& wait,
                             const QString& application, const QString& address)
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        // What the end of an application cuts off is left to the end of the process.
        environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));
        process.setProcessEnvironment(environment);
        startProgram(process, QStringLiteral(WAITATEND), {thread, wait, application, address});
    }
};

void TestApplicationEnd::whatWaitsEndsWithTheApplication_data()
{
    addRows({"QThread", "pool", "std::thread"});
}

void TestApplicationEnd::whatWaitsEndsWithTheApplication()
{
    QFETCH(QString, thread);
    QFETCH(QString, wait);
    QFETCH(int, atOnce);
    QFETCH(QByteArray, cutOff);
    MisbehavingServer stalled(Mode::Stall);
    QProcess process;
    startWaiting(process, thread, wait, "ends", stalled.address());
    QVERIFY(stalled.waitForDeliveries(atOnce));
    process.write("\n");
    expectEnd(process, cutOff + '\n');
}

void TestApplicationEnd::whatIsAskedAfterTheApplicationEndsAtOnce_data()
{
    addRows({"main", "QThread", "std::thread"});
}

void TestApplicationEnd::whatIsAskedAfterTheApplicationEndsAtOnce()
{
    QFETCH(QString, thread);
    QFETCH(QString, wait);
    QFETCH(QByteArray, cutOff);
    MisbehavingServer well;
    QProcess process;
    startWaiting(process, thread, wait, "gone", well.address());
    expectEnd(process, cutOff + '\n');
    QCOMPARE(well.deliveries(), 0);
}

void TestApplicationEnd::whatIsAskedIsAnsweredOnAnyThread_data()
{
    addRows({"main", "QThread", "pool", "std::thread"});
}

void TestApplicationEnd::whatIsAskedIsAnsweredOnAnyThread()
{
    QFETCH(QString, thread);
    QFETCH(QString, wait);
    QFETCH(int, requests);
    QFETCH(QByteArray, answered);
    for (const char* application : {"never", "alive"}) {
        MisbehavingServer well;
        QProcess process;
        startWaiting(process, thread, wait, application, well.address());
        expectEnd(process, answered + '\n');
        QCOMPARE(well.deliveries(), requests);
    }
}

void TestApplicationEnd::aThreadOfThePoolThatWaitsDoesNotHoldAnExitUp_data()
{
    addRows({"pool"});
}

void TestApplicationEnd::aThreadOfThePoolThatWaitsDoesNotHoldAnExitUp()
{
    QFETCH(QString, thread);
    QFETCH(QString, wait);
    QFETCH(int, atOnce);
    MisbehavingServer stalled(Mode::Stall);
    QProcess process;
    startWaiting(process, thread, wait, "exits", stalled.address());
    QVERIFY(stalled.waitForDeliveries(atOnce));
    process.write("\n");
    expectEnd(process, QByteArray());
}

void TestApplicationEnd::theWaitForAPromiseOfNothingEndsWithTheApplication_data()
{
    QTest::addColumn<QString>("thread");
    QTest::addColumn<QString>("application");
    for (const char* thread : {"QThread", "pool", "std::thread"}) {
        QTest::newRow(qPrintable(QString(thread) + ", ends")) << QString(thread) << QString("ends");
    }
    for (const char* thread : {"main", "QThread", "std::thread"}) {
        QTest::newRow(qPrintable(QString(thread) + ", gone")) << QString(thread) << QString("gone");
    }
}

void TestApplicationEnd::theWaitForAPromiseOfNothingEndsWithTheApplication()
{
    QFETCH(QString, thread);
    QFETCH(QString, application);
    QProcess process;
    startWaiting(process, thread, "promise of nothing", application, "127.0.0.1");
    process.write("\n");
    expectEnd(process, "rejected pending\n");
}

QTEST_GUILESS_MAIN(TestApplicationEnd)
#include "tst_applicationend.moc"
