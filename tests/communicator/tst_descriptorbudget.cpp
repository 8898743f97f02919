// SPDX-License-Identifier: MIT
#include "communicator/runtime/descriptorbudget.h"

#include <QtTest>

#include <sys/resource.h>

using namespace Krelm::Communicator::HttpDevice;

class TestDescriptorBudget : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aShareIsBounded_data()
    {
        QTest::addColumn<int>("descriptors");
        QTest::addColumn<int>("share");
        QTest::addColumn<int>("budget");
        QTest::newRow("a half") << 1000 << 2 << 500;
        QTest::newRow("a quarter") << 1000 << 4 << 250;
        QTest::newRow("the least") << 17 << 2 << 16;
        QTest::newRow("a little more") << 34 << 2 << 17;
        QTest::newRow("the most") << 100000 << 2 << 4096;
        QTest::newRow("a little less") << 8190 << 2 << 4095;
    }
    void aShareIsBounded()
    {
        QFETCH(int, descriptors);
        QFETCH(int, share);
        QFETCH(int, budget);
        rlimit usual{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &usual), 0);
        if (usual.rlim_max < rlim_t(descriptors)) {
            QSKIP("this process may not open so many files");
        }
        rlimit changed = usual;
        changed.rlim_cur = rlim_t(descriptors);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &changed), 0);
        const std::size_t given = descriptorBudget(std::size_t(share));
        ::setrlimit(RLIMIT_NOFILE, &usual);
        QCOMPARE(given, std::size_t(budget));
    }
};

QTEST_GUILESS_MAIN(TestDescriptorBudget)
#include "tst_descriptorbudget.moc"
