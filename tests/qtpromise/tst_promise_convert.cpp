// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <QVariant>

using namespace QtPromise;

namespace {

enum class Colour { Red, Green };
enum Plain { None, Some };

struct Wrapper
{
    Wrapper() = default;
    Wrapper(int v)
        : value(v)
    {} // NOLINT(google-explicit-constructor)
    int value = 0;
};

struct Registered
{
    int value = 0;
};

/// Whether `E` behaves as a Qt exception does.
template <typename E>
bool isQtException()
{
    const E error;
    const std::unique_ptr<E> clone(error.clone());
    bool raised = false;
    try {
        clone->raise();
    } catch (const E&) {
        raised = true;
    }
    return raised && rejectsWith<QException>(QtPromise::QPromise<int>::reject(error)) &&
           rejectsWith<std::exception>(QtPromise::QPromise<int>::reject(E()));
}

} // namespace

Q_DECLARE_METATYPE(Registered)

class TestPromiseConvert : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void convertIsAsynchronous()
    {
        const QtPromise::QPromise<double> promise = QtPromise::QPromise<int>::resolve(1).convert<double>();
        QVERIFY(promise.isPending());
        QCOMPARE(passesToSettle(promise), 1);
    }

    void convertUsesTheConversionOfTheLanguage()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(3).convert<double>(), 0.0), 3.0);
        QCOMPARE(valueOf(QtPromise::QPromise<double>::resolve(3.7).convert<int>(), 0), 3);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(3).convert<Wrapper>(), Wrapper()).value, 3);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(3).convert<int>(), 0), 3);
    }

    void convertCastsBetweenEnumerationsAndNumbers()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<Colour>::resolve(Colour::Green).convert<int>(), 0), 1);
        QVERIFY(valueOf(QtPromise::QPromise<int>::resolve(1).convert<Colour>(), Colour::Red) ==
                Colour::Green);
        QVERIFY(valueOf(QtPromise::QPromise<Colour>::resolve(Colour::Green).convert<Plain>(), None) == Some);
    }

    void convertToVoidDropsTheValue()
    {
        const QtPromise::QPromise<void> promise = QtPromise::QPromise<int>::resolve(1).convert<void>();
        QVERIFY(settles(promise));
        QVERIFY(promise.isFulfilled());
    }

    void convertToQVariantWrapsTheValue()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(3).convert<QVariant>(), QVariant()), QVariant(3));
        const QVariant wrapped =
            valueOf(QtPromise::QPromise<Registered>::resolve(Registered{4}).convert<QVariant>(), QVariant());
        QCOMPARE(wrapped.value<Registered>().value, 4);
        QCOMPARE(valueOf(QtPromise::QPromise<QVariant>::resolve(5).convert<QVariant>(), QVariant()),
                 QVariant(5));
    }

    void convertGoesThroughQVariantOtherwise()
    {
        QCOMPARE(valueOf(QtPromise::QPromise<QString>::resolve("42").convert<int>(), 0), 42);
        QCOMPARE(valueOf(QtPromise::QPromise<int>::resolve(42).convert<QString>(), QString()), QString("42"));
        QCOMPARE(valueOf(QtPromise::QPromise<QVariant>::resolve(QString("7")).convert<int>(), 0), 7);
    }

    void aConversionThatFailsRejects()
    {
        QVERIFY((rejectsWith<QPromiseConversionException>(
            QtPromise::QPromise<QString>::resolve("text").convert<int>())));
        QVERIFY((rejectsWith<QPromiseConversionException>(
            QtPromise::QPromise<QString>::resolve("x").convert<Registered>())));
    }

    void convertPassesARejection()
    {
        QCOMPARE(reasonOf(QtPromise::QPromise<int>::reject(QString("no")).convert<QString>(), QString()),
                 QString("no"));
    }

    void theExceptionsAreQtExceptions()
    {
        QVERIFY(isQtException<QPromiseCanceledException>());
        QVERIFY(isQtException<QPromiseContextException>());
        QVERIFY(isQtException<QPromiseConversionException>());
        QVERIFY(isQtException<QPromiseTimeoutException>());
        QVERIFY(isQtException<QPromiseUndefinedException>());
    }
};

QTEST_GUILESS_MAIN(TestPromiseConvert)
#include "tst_promise_convert.moc"
