// SPDX-License-Identifier: MIT
#include "communicator/http/cancelledids.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

class TestCancelledIds : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void whatWasCancelledIsKnownAndNothingElse()
    {
        CancelledIds ids;
        QVERIFY(!ids.contains(0));
        QVERIFY(!ids.contains(7));
        ids.add(7);
        QVERIFY(ids.contains(7));
        QVERIFY(!ids.contains(6));
        ids.add(6);
        QVERIFY(ids.contains(7));
        QVERIFY(ids.contains(6));
    }

    void theLatest4096AreKept()
    {
        CancelledIds ids;
        for (ExchangeId id = 1; id <= 4096; ++id) {
            ids.add(id);
        }
        QVERIFY(ids.contains(1));
        ids.add(4097);
        QVERIFY(!ids.contains(1));
        QVERIFY(ids.contains(2));
        QVERIFY(ids.contains(4097));
    }
};

QTEST_GUILESS_MAIN(TestCancelledIds)
#include "tst_cancelledids.moc"
