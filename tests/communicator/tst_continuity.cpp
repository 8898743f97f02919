// SPDX-License-Identifier: MIT
#include "communicator/events/continuity.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

class TestContinuity : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theFirstStreamHasMissedNothing_data()
    {
        QTest::addColumn<QByteArray>("id");
        QTest::newRow("a position") << QByteArray("e:5");
        QTest::newRow("another id") << QByteArray("5");
        QTest::newRow("no id") << QByteArray();
    }
    void theFirstStreamHasMissedNothing()
    {
        QFETCH(QByteArray, id);
        Continuity continuity;
        QVERIFY(!continuity.opened({}));
        QVERIFY(!continuity.isUnproven());
        QVERIFY(!(id.isEmpty() ? continuity.nothingProven() : continuity.idCame(id)));
    }

    void aFirstStreamThatCouldNotBeOpenedAtOnceMayHaveMissedEvents()
    {
        Continuity continuity;
        continuity.interrupted();
        QVERIFY(continuity.opened({}));
        QVERIFY(!continuity.isUnproven());
    }

    void aStreamThatComesBackHasToProveItsContinuity_data()
    {
        QTest::addColumn<QByteArray>("resumed");
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<bool>("missed");
        const auto row = [](const char* name, const char* resumed, const char* first, bool missed) {
            QTest::newRow(name) << QByteArray(resumed) << QByteArray(first) << missed;
        };
        row("begins with the id", "e:5", "e:5", false);
        row("begins with the next event", "e:5", "e:6", false);
        row("begins one later", "e:5", "e:7", true);
        row("begins earlier", "e:5", "e:4", true);
        row("another epoch", "e:5", "f:6", true);
        row("an epoch that begins alike", "e:5", "ee:6", true);
        row("an epoch with a colon", "a:b:5", "a:b:6", false);
        row("no epoch, same id", "5", "5", false);
        row("no epoch, next number", "5", "6", true);
        row("an empty epoch", ":5", ":6", true);
        row("no sequence", "e:", "e:1", true);
        row("a sequence that is no number", "e:5", "e:6x", true);
        row("a sequence beyond numbers", "e:5", "e:99999999999999999999", true);
        row("the last number", "e:18446744073709551614", "e:18446744073709551615", false);
    }
    void aStreamThatComesBackHasToProveItsContinuity()
    {
        QFETCH(QByteArray, resumed);
        QFETCH(QByteArray, first);
        QFETCH(bool, missed);
        Continuity continuity;
        continuity.opened({});
        QVERIFY(!continuity.opened(resumed));
        QVERIFY(continuity.isUnproven());
        QCOMPARE(continuity.idCame(first), missed);
        QVERIFY(!continuity.isUnproven());
    }

    void aStreamTakenOverFromAnotherOneHasToProveItToo()
    {
        Continuity continuity;
        QVERIFY(!continuity.opened("e:5"));
        QVERIFY(continuity.idCame("f:5"));
    }

    void aStreamThatComesBackWithoutAKnownIdMayHaveMissedEvents()
    {
        Continuity continuity;
        continuity.opened({});
        QVERIFY(continuity.opened({}));
        QVERIFY(!continuity.nothingProven());
    }

    void anEventThatWasDroppedWasMissed()
    {
        Continuity continuity;
        continuity.opened({});
        continuity.idCame("e:5");
        continuity.interrupted();
        QVERIFY(continuity.opened("e:6"));
        QVERIFY(!continuity.idCame("e:6"));
        QVERIFY(!continuity.opened("e:6"));
    }

    void anEventWithoutAnIdProvesNothing()
    {
        Continuity continuity;
        continuity.opened({});
        continuity.opened("e:5");
        QVERIFY(continuity.nothingProven());
        QVERIFY(!continuity.nothingProven());
        QVERIFY(!continuity.idCame("e:6"));
    }

    void aNumberThatIsLeftOutWithinAStreamWasMissed()
    {
        Continuity continuity;
        continuity.opened({});
        QVERIFY(!continuity.idCame("e:5"));
        QVERIFY(!continuity.idCame("e:6"));
        QVERIFY(!continuity.idCame("e:6"));
        QVERIFY(continuity.idCame("e:8"));
        QVERIFY(!continuity.idCame("e:9"));
        QVERIFY(continuity.idCame("f:1"));
        QVERIFY(!continuity.idCame("other"));
        QVERIFY(!continuity.idCame("f:2"));
    }

    void aGapWasMissed()
    {
        Continuity continuity;
        continuity.opened({});
        continuity.opened("e:5");
        QVERIFY(continuity.gapCame());
        QVERIFY(!continuity.isUnproven());
    }
};

QTEST_GUILESS_MAIN(TestContinuity)
#include "tst_continuity.moc"
