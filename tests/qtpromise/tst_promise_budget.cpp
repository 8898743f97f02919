// SPDX-License-Identifier: MIT
#include "promisetesting.h"

using namespace QtPromise;

namespace {

struct Counts
{
    int constructed = 0;
    int copied = 0;
    int moved = 0;
    int alive = 0;
};

Counts counts;

/// A value that counts what happens to its kind.
class Counted
{
public:
    explicit Counted(int value)
        : m_value(value)
    {
        ++counts.constructed;
        ++counts.alive;
    }
    Counted(const Counted& other)
        : m_value(other.m_value)
    {
        ++counts.copied;
        ++counts.alive;
    }
    Counted(Counted&& other) noexcept
        : m_value(other.m_value)
    {
        ++counts.moved;
        ++counts.alive;
    }
    ~Counted() { --counts.alive; }
    Counted& operator=(const Counted&) = delete;
    Counted& operator=(Counted&&) = delete;

    int value() const { return m_value; }

private:
    int m_value;
};

/// Fails the test function unless the counts are these.
#define COMPARE_COUNTS(expectedConstructed, expectedCopied, expectedMoved)                                   \
    do {                                                                                                     \
        QCOMPARE(counts.constructed, expectedConstructed);                                                   \
        QCOMPARE(counts.copied, expectedCopied);                                                             \
        QCOMPARE(counts.moved, expectedMoved);                                                               \
    } while (false)

} // namespace

class TestPromiseBudget : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { counts = Counts(); }

    void cleanup()
    {
        QCoreApplication::sendPostedEvents();
        QCOMPARE(counts.alive, 0); // no instance survives the last handle
    }

    void anRvalueIsMovedOnce_data()
    {
        QTest::addColumn<int>("way");
        QTest::newRow("executor") << 0;
        QTest::newRow("QPromise::resolve") << 1;
        QTest::newRow("QtPromise::resolve") << 2;
    }

    void anRvalueIsMovedOnce()
    {
        QFETCH(int, way);
        const auto make = [way]() -> QtPromise::QPromise<Counted> {
            if (way == 0) {
                return QtPromise::QPromise<Counted>(
                    [](const QPromiseResolve<Counted>& resolve) { resolve(Counted(1)); });
            }
            return way == 1 ? QtPromise::QPromise<Counted>::resolve(Counted(1))
                            : QtPromise::resolve(Counted(1));
        };
        const QtPromise::QPromise<Counted> promise = make();
        COMPARE_COUNTS(1, 0, 1);
    }

    void anLvalueIsCopiedOnce_data() { anRvalueIsMovedOnce_data(); }

    void anLvalueIsCopiedOnce()
    {
        QFETCH(int, way);
        const Counted value(1);
        const auto make = [way, &value]() -> QtPromise::QPromise<Counted> {
            if (way == 0) {
                return QtPromise::QPromise<Counted>(
                    [&](const QPromiseResolve<Counted>& resolve) { resolve(value); });
            }
            return way == 1 ? QtPromise::QPromise<Counted>::resolve(value) : QtPromise::resolve(value);
        };
        const QtPromise::QPromise<Counted> promise = make();
        COMPARE_COUNTS(1, 1, 0);
    }

    void handlersByReferenceAndFinallyAndTapsAddNothing()
    {
        int sum = 0;
        const QtPromise::QPromise<void> promise =
            QtPromise::QPromise<Counted>::resolve(Counted(1))
                .finally([] {})
                .tap([&](const Counted& value) { sum += value.value(); })
                .tapFail([] {})
                .timeout(60000)
                .then([&](const Counted& value) { sum += value.value(); });
        QVERIFY(settles(promise));
        QCOMPARE(sum, 2);
        COMPARE_COUNTS(1, 0, 1);
    }

    void passingThroughAFailHandlerAddsNothing()
    {
        const QtPromise::QPromise<Counted> promise =
            QtPromise::QPromise<Counted>::resolve(Counted(1)).fail([] { return Counted(2); });
        QVERIFY(settles(promise));
        COMPARE_COUNTS(1, 0, 1);
    }

    void aReturnedValueIsMovedOnce()
    {
        const QtPromise::QPromise<Counted> promise =
            QtPromise::QPromise<void>::resolve().then([] { return Counted(1); });
        QVERIFY(settles(promise));
        COMPARE_COUNTS(1, 0, 1);
    }

    void anAdoptedValueIsShared()
    {
        const QtPromise::QPromise<Counted> promise = QtPromise::QPromise<void>::resolve().then(
            [] { return QtPromise::QPromise<Counted>::resolve(Counted(1)); });
        QVERIFY(settles(promise));
        COMPARE_COUNTS(1, 0, 1);
    }

    void aReasonIsCopiedOnce()
    {
        {
            const QtPromise::QPromise<void> promise = QtPromise::QPromise<void>::reject(Counted(1));
            COMPARE_COUNTS(1, 1, 0);
        }
        counts = Counts();
        const Counted reason(1);
        const QtPromise::QPromise<void> promise(
            [&](const QPromiseResolve<void>&, const QPromiseReject<void>& reject) { reject(reason); });
        COMPARE_COUNTS(1, 1, 0);
    }

    void aReasonThatIsRethrownIsNotCopiedAgain()
    {
        int sum = 0;
        const QtPromise::QPromise<void> promise =
            QtPromise::QPromise<void>::reject(Counted(1))
                .fail([&](const Counted& reason) {
                    sum += reason.value();
                    throw;
                })
                .fail([&](const Counted& reason) { sum += reason.value(); });
        QVERIFY(settles(promise));
        QCOMPARE(sum, 2);
        COMPARE_COUNTS(1, 1, 0);
    }

    void aRejectedPromiseMakesNoValue()
    {
        const QtPromise::QPromise<Counted> rejected =
            QtPromise::QPromise<Counted>::reject(1).then(nullptr, nullptr).finally([] {});
        const QtPromise::QPromise<Counted> throwing =
            QtPromise::QPromise<void>::resolve().then([]() -> Counted { throw 1; });
        QVERIFY(settles(rejected));
        QVERIFY(settles(throwing));
        COMPARE_COUNTS(0, 0, 0);
    }

    void aSharedPointerIsHeldOnce()
    {
        const auto value = std::make_shared<int>(1);
        {
            auto promise = QtPromise::QPromise<std::shared_ptr<int>>::resolve(value);
            QCOMPARE(value.use_count(), 2L);
            const auto adopted =
                QtPromise::QPromise<void>::resolve().then([&] { return promise; }).finally([] {});
            QVERIFY(settles(adopted));
            QCOMPARE(value.use_count(), 2L);
        }
        QCOMPARE(value.use_count(), 1L);
    }

    void aMoveOnlyValuePassesThroughEverythingThatShares()
    {
        using Unique = std::unique_ptr<int>;
        int sum = 0;
        const QtPromise::QPromise<Unique> executed(
            [](const QPromiseResolve<Unique>& resolve) { resolve(std::make_unique<int>(1)); });
        const QtPromise::QPromise<void> promise =
            executed.finally([] {}).timeout(60000).delay(0).then([&](const Unique& value) { sum += *value; });
        QVERIFY(settles(promise));
        QVERIFY(
            settles(QtPromise::resolve(std::make_unique<int>(2)).then([&](const Unique& v) { sum += *v; })));
        QVERIFY(settles(QtPromise::QPromise<Unique>::resolve(std::make_unique<int>(3))
                            .fail([] { return Unique(); })
                            .then([&](const Unique& v) { sum += *v; })));
        QCOMPARE(sum, 6);
    }
};

QTEST_GUILESS_MAIN(TestPromiseBudget)
#include "tst_promise_budget.moc"
