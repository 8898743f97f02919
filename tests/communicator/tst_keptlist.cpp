// SPDX-License-Identifier: MIT
#include "communicator/http/keptlist.h"

#include <QtTest>

#include <memory>

using namespace Krelm::Communicator::HttpDevice;

namespace {

using Kept = KeptList<int, std::unique_ptr<int>>;

void add(Kept& kept, int key, int value)
{
    kept.add(key, std::make_unique<int>(value));
}

} // namespace

class TestKeptList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theNewestOfAKeyIsTakenFirst()
    {
        Kept kept;
        add(kept, 1, 10);
        add(kept, 2, 20);
        add(kept, 1, 11);
        QCOMPARE(*kept.takeNewest(1), 11);
        QCOMPARE(*kept.takeNewest(1), 10);
        QVERIFY(!kept.takeNewest(1));
        QVERIFY(!kept.takeNewest(3));
        QCOMPARE(kept.size(), size_t(1));
    }

    void theOldestGoesWhicheverItsKey()
    {
        Kept kept;
        add(kept, 1, 10);
        add(kept, 2, 20);
        add(kept, 1, 11);
        QCOMPARE(*kept.takeOldest(), 10);
        QCOMPARE(*kept.takeOldest(), 20);
        QCOMPARE(kept.count(2), size_t(0));
        QCOMPARE(*kept.takeOldest(), 11);
        QCOMPARE(kept.size(), size_t(0));
    }

    void theOldestOfAKeyGoesWithTheOthersLeftAlone()
    {
        Kept kept;
        add(kept, 2, 20);
        add(kept, 1, 10);
        add(kept, 1, 11);
        QCOMPARE(*kept.takeOldest(1), 10);
        QCOMPARE(kept.count(1), size_t(1));
        QCOMPARE(kept.count(2), size_t(1));
        QCOMPARE(*kept.takeOldest(), 20);
    }

    void whatIsMeantGoesOldestFirst()
    {
        Kept kept;
        for (int value = 10; value < 16; ++value) {
            add(kept, value % 2, value);
        }
        QList<int> taken;
        for (const auto& value : kept.takeIf([](const auto& each) { return *each < 13; })) {
            taken << *value;
        }
        QCOMPARE(taken, (QList<int>{10, 11, 12}));
        QCOMPARE(kept.count(0), size_t(1));
        QCOMPARE(kept.count(1), size_t(2));
        QCOMPARE(*kept.takeNewest(0), 14);
        add(kept, 0, 16);
        QCOMPARE(*kept.takeOldest(), 13);
    }
};

QTEST_GUILESS_MAIN(TestKeptList)
#include "tst_keptlist.moc"
