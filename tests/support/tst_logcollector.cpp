// SPDX-License-Identifier: MIT
#include "logcollector.h"

#include <QLoggingCategory>
#include <QtTest>

#include <thread>

namespace {

Q_LOGGING_CATEGORY(quietCategory, "tessel.test", QtCriticalMsg)
Q_LOGGING_CATEGORY(qtCategory, "qt.test")

} // namespace

class TestLogCollector : public QObject
{
    Q_OBJECT

public:
    // Its rules would overrule the ones set below.
    static void initMain() { qunsetenv("QT_LOGGING_RULES"); }

private Q_SLOTS:
    void everyLineIsKeptBehindItsTypeInOrder()
    {
        const LogCollector log;
        qDebug() << "a" << 1;
        qInfo("b");
        qWarning("c");
        qCritical("d");
        qWarning("c");
        QCOMPARE(log.lines(),
                 (QStringList{"debug: a 1", "info: b", "warning: c", "critical: d", "warning: c"}));
    }

    void noFilterRuleHidesALineAndALineNamesItsCategory()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
        {
            const LogCollector log;
            qCDebug(quietCategory, "a");
            qCWarning(quietCategory, "b");
            qDebug("c");
            QCOMPARE(log.lines(),
                     (QStringList{"tessel.test.debug: a", "tessel.test.warning: b", "debug: c"}));
        }
        QVERIFY2(!quietCategory().isWarningEnabled(), "the rules hold again afterwards");
        QLoggingCategory::setFilterRules(QString());
    }

    void linesOfQtsOwnCategoriesGoOn()
    {
        const LogCollector log;
        QTest::ignoreMessage(QtWarningMsg, "from inside");
        qCWarning(qtCategory, "from inside");
        QCOMPARE(log.lines(), QStringList());
    }

    void linesOfEveryThreadAreKept()
    {
        const LogCollector log;
        std::thread([] { qWarning("elsewhere"); }).join();
        QCOMPARE(log.lines(), QStringList{"warning: elsewhere"});
    }

    void aLineIsTheInnermostOnes()
    {
        const LogCollector outer;
        qDebug("before");
        {
            const LogCollector inner;
            qDebug("within");
            QCOMPARE(inner.lines(), QStringList{"debug: within"});
        }
        qDebug("after");
        QCOMPARE(outer.lines(), (QStringList{"debug: before", "debug: after"}));
    }

    void linesAreForgottenOnDemand()
    {
        LogCollector log;
        qDebug("early");
        log.forget();
        qDebug("late");
        QCOMPARE(log.lines(), QStringList{"debug: late"});
    }

    void afterwardsTheLogGoesWhereItWentBefore()
    {
        {
            const LogCollector log;
        }
        QTest::ignoreMessage(QtWarningMsg, "as ever");
        qWarning("as ever");
    }
};

QTEST_GUILESS_MAIN(TestLogCollector)
#include "tst_logcollector.moc"
