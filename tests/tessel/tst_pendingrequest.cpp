// SPDX-License-Identifier: MIT
#include "objectsleft.h"

#include <recordingengine.h>

#include <tessel/frames/pendingrequest.h>

#include <QPointer>
#include <QThread>
#include <QtTest>

#include <thread>

using Krelm::Communicator::HttpDevice::HttpMethod;
using Tessel::HttpJsonPackage;
using Tessel::PendingRequest;

using Map = QMap<QString, QVariant>;

namespace {

const QString device = QStringLiteral("wall");

// Counts the packages that end by deleteLater().
class ReleasedPackages : public QObject
{
public:
    ReleasedPackages() { QCoreApplication::instance()->installEventFilter(this); }
    bool eventFilter(QObject* receiver, QEvent* event) override
    {
        if (event->type() == QEvent::DeferredDelete && qobject_cast<HttpJsonPackage*>(receiver)) {
            ++count;
        }
        return false;
    }
    int count = 0;
};

} // namespace

Q_DECLARE_METATYPE(RecordingEngine::State)

class TestPendingRequest : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void aRefreshStoresAndThenTells()
    {
        QMap<QString, Map> cache;
        int handled = 0;
        m_engine->answer(RecordingEngine::data(R"({"a":1})"));
        PendingRequest("Device_Hwinfo").refresh(device, cache, [&](bool stored) {
            QVERIFY(stored);
            QCOMPARE(cache.value(device), (Map{{"a", qlonglong(1)}}));
            ++handled;
        });
        QCOMPARE(handled, 0);
        QTRY_COMPARE(handled, 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/hw"));
    }

    void aFailedRefreshLeavesTheCacheAndTellsSo()
    {
        QMap<QString, Map> cache{{device, Map{{"old", 1}}}};
        int failures = 0;
        m_engine->answer(RecordingEngine::failure());
        PendingRequest("Device_Hwinfo").refresh(device, cache, [&](bool stored) {
            failures += stored ? 0 : 1;
        });
        QTRY_COMPARE(failures, 1);
        QCOMPARE(cache.value(device), (Map{{"old", 1}}));
    }

    void aRefreshInFlightDoesNotTouchTheCache()
    {
        QMap<QString, Map> cache{{device, Map{{"old", 1}}}};
        bool handled = false;
        m_engine->hold();
        PendingRequest("Device_Hwinfo").refresh(device, cache, [&](bool) { handled = true; });
        QCoreApplication::processEvents();
        QVERIFY(!handled);
        QCOMPARE(cache.value(device), (Map{{"old", 1}}));
        QVERIFY(m_engine->release());
        QTRY_VERIFY(handled);
    }

    void whatMayBeReadLaterIsWhatMayPass_data()
    {
        using State = RecordingEngine::State;
        QTest::addColumn<State>("state");
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<bool>("later");
        const QByteArray whole = R"({"code":0,"data":{}})";
        QTest::newRow("nothing there") << State::Success << 200 << whole << false;
        QTest::newRow("cut short") << State::Success << 200 << whole.chopped(1) << true;
        QTest::newRow("no body") << State::Success << 200 << QByteArray() << true;
        QTest::newRow("a list") << State::Success << 200 << QByteArray("[]") << true;
        QTest::newRow("no path") << State::InvalidRequest << 0 << QByteArray() << false;
        for (const State state : {State::HostNotFound, State::Unreachable, State::TimedOut, State::Broken,
                                  State::LimitExceeded, State::TlsFailure, State::Aborted}) {
            QTest::newRow(qPrintable(QStringLiteral("state %1").arg(state)))
                << state << 0 << QByteArray() << true;
        }
        QTest::newRow("broken in the body") << State::Broken << 404 << QByteArray() << true;
        for (const int status : {400, 403, 404, 405, 407, 409, 428, 430, 499}) {
            QTest::newRow(qPrintable(QString::number(status)))
                << State::HttpFailure << status << whole << false;
        }
        for (const int status : {401, 408, 429, 500, 503, 599}) {
            QTest::newRow(qPrintable(QString::number(status)))
                << State::HttpFailure << status << whole << true;
        }
    }
    void whatMayBeReadLaterIsWhatMayPass()
    {
        QFETCH(RecordingEngine::State, state);
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(bool, later);
        RecordingEngine::Reply reply = RecordingEngine::reply(body);
        reply.state = state;
        reply.status = status;
        m_engine->answer(reply);
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/device/hw"));
        Tessel::HttpProxy::getInstance()->getSync(device, &package);
        QCOMPARE(Tessel::mayBeReadLater(package), later);
    }

    void aWriteThroughStoresOnlyWhatTheDeviceAccepted_data()
    {
        QTest::addColumn<bool>("accepted");
        QTest::newRow("accepted") << true;
        QTest::newRow("refused") << false;
    }
    void aWriteThroughStoresOnlyWhatTheDeviceAccepted()
    {
        QFETCH(bool, accepted);
        if (!accepted) {
            m_engine->answer(RecordingEngine::failure(RecordingEngine::State::HttpFailure));
        }
        bool stored = false;
        QVERIFY2(PendingRequest("ScreenXbit")
                     .placeHolder("id", "1")
                     .body(Map{{"enable", true}})
                     .writeThrough(device, this, [&] { stored = true; }),
                 "the result says that the request was started");
        QVERIFY(!stored);
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(stored, accepted);
        QCOMPARE(m_engine->last().body, QByteArray(R"({"enable":true})"));
    }

    void thePackageIsReleasedOnceItWasAnswered()
    {
        QPointer<const QObject> package;
        PendingRequest("ScreenXbit").put(device, this, [&](const HttpJsonPackage& reply) {
            package = &reply;
        });
        QTRY_VERIFY(m_engine->held() == 0);
        QTRY_VERIFY(package.isNull());
    }

    void aPackageMayBeGivenToItsCaller_data()
    {
        QTest::addColumn<bool>("success");
        QTest::newRow("success") << true;
        QTest::newRow("failure") << false;
    }
    void aPackageMayBeGivenToItsCaller()
    {
        QFETCH(bool, success);
        if (!success) {
            m_engine->answer(RecordingEngine::failure());
        }
        std::unique_ptr<HttpJsonPackage> package;
        PendingRequest("MonitorData").get(device, [&](HttpJsonPackage* reply) { package.reset(reply); });
        QVERIFY(!package);
        QTRY_VERIFY(package);
        QCOMPARE(Tessel::succeeded(*package), success);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
    }

    void aPutWithoutAContextHandlesEveryReplyOnceOnTheThreadThatCalled_data()
    {
        QTest::addColumn<bool>("success");
        QTest::newRow("success") << true;
        QTest::newRow("failure") << false;
    }
    void aPutWithoutAContextHandlesEveryReplyOnceOnTheThreadThatCalled()
    {
        QFETCH(bool, success);
        m_engine->answer(success ? RecordingEngine::data("{}") : RecordingEngine::failure());
        QPointer<const QObject> package;
        QList<QThread*> handledOn;
        PendingRequest("ScreenXbit").body(Map{{"a", 1}}).put(device, [&](const HttpJsonPackage& reply) {
            package = &reply;
            handledOn << QThread::currentThread();
        });
        QVERIFY(handledOn.isEmpty());
        QTRY_VERIFY(!handledOn.isEmpty());
        QTRY_VERIFY(package.isNull());
        QCOMPARE(handledOn, QList<QThread*>{QThread::currentThread()});
        QCOMPARE(m_engine->last().body, QByteArray(R"({"a":1})"));
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
    }

    void aPutWithoutAContextHandlesItsReplyOnTheThreadThatEmitsIt()
    {
        m_engine->hold();
        bool handled = false;
        std::thread::id handledOn;
        std::unique_ptr<PendingRequest> request;
        const std::vector<ObjectFate> made =
            objectFatesDuring([&] { request = std::make_unique<PendingRequest>("ScreenXbit"); });
        QVERIFY(!made.empty());
        auto* const package = static_cast<HttpJsonPackage*>(made[0].object);
        request->put(device, [&](const HttpJsonPackage&) {
            handled = true;
            handledOn = std::this_thread::get_id();
        });
        std::thread::id emittedOn;
        std::thread transport([&] {
            emittedOn = std::this_thread::get_id();
            Q_EMIT package->readyRead(package);
        });
        transport.join();
        QVERIFY(handled);
        QVERIFY(handledOn == emittedOn);
        while (m_engine->release()) {
            QCoreApplication::processEvents();
        }
    }

    void anAnswerAfterTheContextIsGoneCallsNobody()
    {
        m_engine->hold();
        auto context = std::make_unique<QObject>();
        bool called = false;
        PendingRequest("ScreenXbit").put(device, context.get(), [&](const HttpJsonPackage&) {
            called = true;
        });
        context.reset();
        QVERIFY(m_engine->release());
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QVERIFY(!called);
    }

    void aPackageWhoseContextIsGoneIsReleased_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::newRow("before the reply") << false;
        QTest::newRow("between the reply and its handler") << true;
    }
    void aPackageWhoseContextIsGoneIsReleased()
    {
        QFETCH(bool, answered);
        m_engine->hold();
        ReleasedPackages released;
        QThread contextThread; // never started: what is posted to the context waits
        auto context = std::make_unique<QObject>();
        context->moveToThread(&contextThread);
        PendingRequest("ScreenXbit").put(device, context.get(), [](const HttpJsonPackage&) {});
        if (answered) {
            QVERIFY(m_engine->release());
            QTRY_COMPARE(m_engine->held(), 0);
            QCoreApplication::processEvents();
        }
        QCOMPARE(released.count, 0);
        context.reset();
        QTRY_COMPARE(released.count, 1);
    }
};

QTEST_GUILESS_MAIN(TestPendingRequest)
#include "tst_pendingrequest.moc"
