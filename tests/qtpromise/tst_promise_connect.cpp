// SPDX-License-Identifier: MIT
#include "promisetesting.h"

#include <logcollector.h>

#include <QTimer>

#include <thread>

using namespace QtPromise;

class Emitter : public QObject
{
    Q_OBJECT

Q_SIGNALS:
    void nothing();
    void text(const QString& text);
    void pair(int first, const QString& second);
    void failed(int code);

public:
    int receiversOf(const char* signal) const { return receivers(signal); }
};

class TestPromiseConnect : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void theValueIsTheFirstArgument()
    {
        Emitter emitter;
        const auto none = QtPromise::connect(&emitter, &Emitter::nothing);
        const auto text = QtPromise::connect(&emitter, &Emitter::text);
        const auto pair = QtPromise::connect(&emitter, &Emitter::pair);
        QVERIFY((std::is_same<decltype(none), const QtPromise::QPromise<void>>::value));
        QVERIFY((std::is_same<decltype(text), const QtPromise::QPromise<QString>>::value));
        QVERIFY((std::is_same<decltype(pair), const QtPromise::QPromise<int>>::value));
        Q_EMIT emitter.nothing();
        Q_EMIT emitter.text("value");
        Q_EMIT emitter.pair(3, "dropped");
        QVERIFY(none.isFulfilled()); // inside the emission
        QCOMPARE(valueOf(text, QString()), QString("value"));
        QCOMPARE(valueOf(pair, 0), 3);
    }

    void allConnectionsAreCutBeforeSettling()
    {
        Emitter emitter;
        const auto promise = QtPromise::connect(&emitter, &Emitter::text, &Emitter::failed);
        QCOMPARE(emitter.receiversOf(SIGNAL(text(QString))), 1);
        QCOMPARE(emitter.receiversOf(SIGNAL(failed(int))), 1);
        QCOMPARE(emitter.receiversOf(SIGNAL(destroyed(QObject*))), 1);
        Q_EMIT emitter.text("value");
        QCOMPARE(emitter.receiversOf(SIGNAL(text(QString))), 0);
        QCOMPARE(emitter.receiversOf(SIGNAL(failed(int))), 0);
        QCOMPARE(emitter.receiversOf(SIGNAL(destroyed(QObject*))), 0);
        QVERIFY(promise.isFulfilled());
    }

    void theRejectingSignalRejectsWithItsArgument()
    {
        Emitter emitter;
        const auto promise = QtPromise::connect(&emitter, &Emitter::text, &Emitter::failed);
        Q_EMIT emitter.failed(7);
        QVERIFY(promise.isRejected());
        QCOMPARE(reasonOf(promise, 0), 7);
        QCOMPARE(emitter.receiversOf(SIGNAL(text(QString))), 0);
    }

    void aRejectingSignalWithoutArgumentRejectsWithUndefined()
    {
        Emitter emitter;
        const auto promise = QtPromise::connect(&emitter, &Emitter::text, &Emitter::nothing);
        Q_EMIT emitter.nothing();
        QVERIFY((rejectsWith<QPromiseUndefinedException>(promise)));
    }

    void twoSendersMaySettle()
    {
        Emitter resolver;
        Emitter rejecter;
        const auto fulfilled = QtPromise::connect(&resolver, &Emitter::text, &rejecter, &Emitter::failed);
        Q_EMIT resolver.text("value");
        QVERIFY(fulfilled.isFulfilled());
        const auto rejected = QtPromise::connect(&resolver, &Emitter::text, &rejecter, &Emitter::failed);
        Q_EMIT rejecter.failed(1);
        QCOMPARE(reasonOf(rejected, 0), 1);
    }

    void destroyingTheResolvingSenderRejectsWithContext()
    {
        auto emitter = std::make_unique<Emitter>();
        const auto promise = QtPromise::connect(emitter.get(), &Emitter::text);
        emitter.reset();
        QVERIFY(promise.isRejected());
        QVERIFY((rejectsWith<QPromiseContextException>(promise)));
    }

    void destroyingTheSecondSenderDoesNothing()
    {
        Emitter resolver;
        auto rejecter = std::make_unique<Emitter>();
        const auto promise = QtPromise::connect(&resolver, &Emitter::text, rejecter.get(), &Emitter::failed);
        rejecter.reset();
        QVERIFY(promise.isPending());
        Q_EMIT resolver.text("value");
        QVERIFY(promise.isFulfilled());
    }

    void aPrivateSignalGivesAPromiseOfItsTag()
    {
        QTimer timer;
        timer.setSingleShot(true);
        const auto promise = QtPromise::connect(&timer, &QTimer::timeout);
        QVERIFY(!(std::is_same<decltype(promise), const QtPromise::QPromise<void>>::value));
        timer.start(0);
        const auto done = promise.then([] { return true; });
        QVERIFY(valueOf(done, false));
    }

    void aSignalOfAnotherThreadSettlesThere()
    {
        Emitter emitter;
        const auto promise = QtPromise::connect(&emitter, &Emitter::text);
        bool fulfilledInside = false;
        std::thread([&] {
            Q_EMIT emitter.text("value");
            fulfilledInside = promise.isFulfilled();
        }).join();
        QVERIFY(fulfilledInside);
    }

    void anUnsettledPromiseIsFreedWithItsSender()
    {
        const auto captured = std::make_shared<int>(1);
        {
            Emitter emitter;
            QtPromise::connect(&emitter, &Emitter::text).then([captured] {}).fail([captured] {});
        }
        QTRY_COMPARE(captured.use_count(), 1L);
    }

    void connectionsAreCountedAndCutTogether()
    {
        Emitter emitter;
        int received = 0;
        const QPromiseConnections connections;
        const QPromiseConnections copy = connections; // NOLINT(performance-unnecessary-copy-initialization)
        QCOMPARE(connections.count(), 0);
        connections << QObject::connect(&emitter, &Emitter::nothing, [&] { ++received; });
        copy << QObject::connect(&emitter, &Emitter::text, [&] { ++received; });
        QCOMPARE(connections.count(), 2);
        QCOMPARE(copy.count(), 2);
        Q_EMIT emitter.nothing();
        QCOMPARE(received, 1);
        copy.disconnect();
        QCOMPARE(connections.count(), 0);
        Q_EMIT emitter.nothing();
        Q_EMIT emitter.text("value");
        QCOMPARE(received, 1);
    }

    void connectionsLeftAtTheEndAreCutWithAWarning()
    {
        Emitter emitter;
        int received = 0;
        const LogCollector log;
        {
            const QPromiseConnections connections;
            connections << QObject::connect(&emitter, &Emitter::nothing, [&] { ++received; });
        }
        Q_EMIT emitter.nothing();
        QCOMPARE(received, 0);
        QCOMPARE(log.lines(),
                 QStringList{"tessel.promise.warning: QPromiseConnections ends with 1 connections left"});
    }
};

QTEST_GUILESS_MAIN(TestPromiseConnect)
#include "tst_promise_connect.moc"
