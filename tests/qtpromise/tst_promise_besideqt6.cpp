// SPDX-License-Identifier: MIT
//
// Qt 6 has a QPromise of its own, in the global namespace: the writing end of a QFuture.
#include "promisetesting.h"

#include <QFuture>
#include <QPromise>

#include <type_traits>

class TestPromiseBesideQt6 : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aQualifiedNameIsOursAndABareOneIsOfQt()
    {
        QVERIFY(!(std::is_same<QPromise<int>, QtPromise::QPromise<int>>::value));
        QVERIFY((std::is_same<QPromise<int>, ::QPromise<int>>::value));
    }

    void oursTakesOverWhatTheOneOfQtGives()
    {
        QPromise<int> writing;
        const QtPromise::QPromise<int> reading = QtPromise::resolve(writing.future());
        writing.start();
        writing.addResult(7);
        QVERIFY(reading.isPending());
        writing.finish();
        QCOMPARE(valueOf(reading, 0), 7);
    }

    void oursIsRejectedWithTheExceptionOfTheOneOfQt()
    {
        QPromise<int> writing;
        const QtPromise::QPromise<int> reading = QtPromise::resolve(writing.future());
        writing.start();
        writing.setException(std::make_exception_ptr(42));
        writing.finish();
        QCOMPARE(reasonOf(reading, 0), 42);
    }

    void oursIsRejectedWhenTheOneOfQtIsDropped()
    {
        auto writing = std::make_unique<QPromise<int>>();
        const QtPromise::QPromise<int> reading = QtPromise::resolve(writing->future());
        writing->start();
        writing.reset();
        QVERIFY(rejectsWith<QtPromise::QPromiseCanceledException>(reading));
    }

    void theOneOfQtIsFedByOurs()
    {
        auto writing = std::make_shared<QPromise<int>>();
        const QFuture<int> future = writing->future();
        writing->start();
        const auto done = QtPromise::QPromise<int>::resolve(3).then([writing](int value) {
            writing->addResult(value);
            writing->finish();
        });
        QVERIFY(settles(done));
        QCOMPARE(future.result(), 3);
    }
};

QTEST_GUILESS_MAIN(TestPromiseBesideQt6)
#include "tst_promise_besideqt6.moc"
