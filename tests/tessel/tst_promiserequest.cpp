// SPDX-License-Identifier: MIT
#include "objectsleft.h"

#include <promiseoutcome.h>
#include <recordingengine.h>

#include <tessel/frames/promiserequest.h>
#include <tessel/records/deviceinfo.h>

#include <QPointer>
#include <QThread>
#include <QtTest>

#include <atomic>
#include <optional>
#include <thread>

using Krelm::Communicator::HttpDevice::HttpMethod;
using Tessel::DeviceInfo;
using Tessel::HttpJsonPackage;
using Tessel::HttpProxy;
using Tessel::PromiseRequest;

namespace {

const QString device = QStringLiteral("wall");

enum class Outcome { Pending, Fulfilled, ArgumentsError, Undefined, Other };

template <class T>
Outcome outcomeOf(const QtPromise::QPromise<T>& promise)
{
    Outcome outcome = Outcome::Pending;
    promise.then([&](const T&) { outcome = Outcome::Fulfilled; })
        .fail([&](const char* text) {
            outcome = QByteArray(text) == "arguments error" ? Outcome::ArgumentsError : Outcome::Other;
        })
        .fail([&](const QtPromise::QPromiseUndefinedException&) { outcome = Outcome::Undefined; })
        .fail([&] { outcome = Outcome::Other; })
        .wait();
    return outcome;
}

} // namespace

class TestPromiseRequest : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void aRecordIsFilledFromTheReplysData()
    {
        m_engine->answer(RecordingEngine::data(
            R"({"name":"MX","customName":"Lobby","mac":"00:11:22:33:44:55","ip":"10.0.0.9","more":{"a":1}})"));
        DeviceInfo info;
        PromiseRequest("Device_Hwinfo")
            .getRecord<DeviceInfo>(device)
            .then([&](const DeviceInfo& got) { info = got; })
            .wait();
        QCOMPARE(info.name, QString("MX"));
        QCOMPARE(info.customName, QString("Lobby"));
        QCOMPARE(info.mac, QString("00:11:22:33:44:55"));
        QCOMPARE(info.ip, QString("10.0.0.9"));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
    }

    void emptyArgumentsRejectAndSendNothing_data()
    {
        QTest::addColumn<QByteArray>("routeKey");
        QTest::addColumn<QString>("deviceKey");
        QTest::newRow("no device") << QByteArray("Device_Hwinfo") << QString();
        QTest::newRow("no route") << QByteArray("Algorithm_RGBLight") << device;
    }
    void emptyArgumentsRejectAndSendNothing()
    {
        QFETCH(QByteArray, routeKey);
        QFETCH(QString, deviceKey);
        const QtPromise::QPromise<DeviceInfo> promise =
            PromiseRequest(routeKey).getRecord<DeviceInfo>(deviceKey);
        QVERIFY(promise.isRejected());
        QVERIFY(outcomeOf(promise) == Outcome::ArgumentsError);
        QCOMPARE(m_engine->count(), 0);
    }

    void everyOtherFailureRejectsAsUndefined_data()
    {
        QTest::addColumn<bool>("exchanged");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("unreachable") << false << QByteArray();
        QTest::newRow("non-zero code") << true << QByteArray(R"({"code":1,"message":"x","data":{}})");
        QTest::newRow("no JSON") << true << QByteArray("<html>");
        QTest::newRow("empty") << true << QByteArray();
        QTest::newRow("cut in half") << true << QByteArray(R"({"code":0,"data":{"name":)");
    }
    void everyOtherFailureRejectsAsUndefined()
    {
        QFETCH(bool, exchanged);
        QFETCH(QByteArray, body);
        m_engine->answer(exchanged ? RecordingEngine::reply(body) : RecordingEngine::failure());
        const auto promise = PromiseRequest("Device_Hwinfo").getRecord<DeviceInfo>(device);
        QVERIFY(promise.isPending());
        QVERIFY(outcomeOf(promise) == Outcome::Undefined);
    }

    void thePackageIsReleasedOnBothOutcomes_data()
    {
        QTest::addColumn<bool>("success");
        QTest::newRow("fulfilled") << true;
        QTest::newRow("rejected") << false;
    }
    void thePackageIsReleasedOnBothOutcomes()
    {
        QFETCH(bool, success);
        QPointer<const QObject> package;
        const auto promise =
            PromiseRequest("Device_Hwinfo")
                .promise<int>(&HttpProxy::get, device,
                              [&](const HttpJsonPackage& reply, const auto& resolve, const auto& reject) {
                                  package = &reply;
                                  if (success) {
                                      resolve(1);
                                  } else {
                                      reject(2);
                                  }
                              });
        promise.wait();
        QVERIFY(success ? promise.isFulfilled() : promise.isRejected());
        QTRY_VERIFY(package.isNull());
    }

    void droppingThePromiseDoesNotStopTheRequest()
    {
        bool handled = false;
        PromiseRequest("Device_Hwinfo")
            .promise<int>(&HttpProxy::put, device,
                          [&](const HttpJsonPackage&, const auto& resolve, const auto&) {
                              handled = true;
                              resolve(1);
                          });
        QTRY_VERIFY(handled);
    }

    void theUnguardedFormSendsEvenWithEmptyArguments()
    {
        const auto promise = PromiseRequest("Algorithm_RGBLight")
                                 .promise<bool>(&HttpProxy::get, QString(),
                                                [](const HttpJsonPackage&, const auto& resolve, const auto&) {
                                                    resolve(true);
                                                });
        promise.wait();
        QVERIFY(promise.isFulfilled());
        QCOMPARE(m_engine->count(), 1);
    }

    void anAnswerIsFulfilledWhateverTheState_data()
    {
        QTest::addColumn<bool>("success");
        QTest::newRow("success") << true;
        QTest::newRow("failure") << false;
    }
    void anAnswerIsFulfilledWhateverTheState()
    {
        QFETCH(bool, success);
        if (!success) {
            m_engine->answer(RecordingEngine::failure());
        }
        QPointer<const QObject> package;
        bool started = false;
        bool outcome = !success;
        const auto promise = PromiseRequest::answer<bool>(
            "Device_Hwinfo", [](PromiseRequest&) {}, &HttpProxy::put, device,
            [&](const HttpJsonPackage& reply) {
                package = &reply;
                return Tessel::succeeded(reply);
            },
            [&] { started = m_engine->count() == 1; });
        QVERIFY(started);
        QVERIFY(promise.isPending());
        promise.then([&](bool value) { outcome = value; }).wait();
        QCOMPARE(outcome, success);
        QTRY_VERIFY(package.isNull());
    }

    void anAnswerIsRejectedWhenAStepThrows_data()
    {
        QTest::addColumn<int>("step");
        QTest::newRow("filling") << 1;
        QTest::newRow("sending") << 2;
        QTest::newRow("converting the reply") << 3;
    }
    void anAnswerIsRejectedWhenAStepThrows()
    {
        QFETCH(int, step);
        if (step == 2) {
            HttpProxy::getInstance()->setEngine(std::make_unique<ThrowingEngine>());
        }
        QPointer<const QObject> package;
        const auto promise = PromiseRequest::answer<bool>(
            "Device_Hwinfo",
            [&](PromiseRequest&) {
                if (step == 1) {
                    throw std::runtime_error("filling");
                }
            },
            &HttpProxy::put, device,
            [&](const HttpJsonPackage& reply) -> bool {
                package = &reply;
                throw std::runtime_error("converting");
            });
        QCOMPARE(promise.isRejected(), step != 3);
        QVERIFY(outcomeOf(promise) == Outcome::Other);
        QTRY_VERIFY(package.isNull());
    }

    void aPromiseIsRejectedWhenItsHandlerThrows()
    {
        const auto promise =
            PromiseRequest("Device_Hwinfo")
                .promise<int>(&HttpProxy::get, device, [](const HttpJsonPackage&, const auto&, const auto&) {
                    throw std::runtime_error("handling");
                });
        QVERIFY(outcomeOf(promise) == Outcome::Other);
    }

    void onAThreadThatTakesNoEventsThePromiseComesBackSettled_data()
    {
        QTest::addColumn<int>("method");
        QTest::newRow("GET") << int(HttpMethod::Get);
        QTest::newRow("PUT") << int(HttpMethod::Put);
        QTest::newRow("POST") << int(HttpMethod::Post);
    }
    void onAThreadThatTakesNoEventsThePromiseComesBackSettled()
    {
        QFETCH(int, method);
        const PromiseRequest::Verb verb = method == int(HttpMethod::Get)   ? &HttpProxy::get
                                          : method == int(HttpMethod::Put) ? &HttpProxy::put
                                                                           : &HttpProxy::post;
        bool promised = false;
        bool answered = false;
        bool failed = false;
        int started = 0;
        std::vector<RecordingEngine::Request> sent;
        std::thread([&] {
            promised = PromiseRequest("Device_Hwinfo")
                           .promise<int>(
                               verb, device,
                               [](const HttpJsonPackage&, const auto& resolve, const auto&) { resolve(1); })
                           .isFulfilled();
            answered = PromiseRequest::answer<bool>(
                           "Device_Hwinfo", [](PromiseRequest&) {}, verb, device, Tessel::succeeded,
                           [&started] { ++started; })
                           .isFulfilled();
            sent = m_engine->requests();
            HttpProxy::getInstance()->setEngine(std::make_unique<ThrowingEngine>());
            failed = PromiseRequest("Device_Hwinfo").getRecord<DeviceInfo>(device).isRejected();
        }).join();
        QVERIFY(promised);
        QVERIFY(answered);
        QVERIFY(failed);
        QCOMPARE(started, 1);
        QCOMPARE(sent.size(), std::size_t(2));
        for (const RecordingEngine::Request& request : sent) {
            QCOMPARE(int(request.method), method);
        }
    }

    void anExceptionFromSendingRejectsARecordWithIt()
    {
        HttpProxy::getInstance()->setEngine(std::make_unique<ThrowingEngine>());
        const auto send = [] {
            const auto promise = PromiseRequest("Device_Hwinfo").getRecord<DeviceInfo>(device);
            QCOMPARE(PromiseOutcome::of(promise.then([](const DeviceInfo&) { return true; })),
                     QString("rejected: no start"));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        };
        send(); // makes what lasts
        QCOMPARE(objectsLeftBy(send), 0);
    }

    void repliesAreHandledOnTheThreadThatEmitsThem_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::newRow("promise") << false;
        QTest::newRow("answer") << true;
    }
    void repliesAreHandledOnTheThreadThatEmitsThem()
    {
        QFETCH(bool, answered);
        m_engine->hold();
        std::atomic<bool> handled{false};
        std::thread::id handledOn;
        const auto handle = [&] {
            handledOn = std::this_thread::get_id();
            handled = true;
        };
        std::optional<QtPromise::QPromise<bool>> promise;
        const std::vector<ObjectFate> made = objectFatesDuring([&] {
            promise = answered
                          ? PromiseRequest::answer<bool>(
                                "Device_Hwinfo", [](PromiseRequest&) {}, &HttpProxy::put, device,
                                [&](const HttpJsonPackage&) {
                                    handle();
                                    return true;
                                })
                          : PromiseRequest("Device_Hwinfo")
                                .promise<bool>(&HttpProxy::put, device,
                                               [&](const HttpJsonPackage&, const auto& resolve, const auto&) {
                                                   handle();
                                                   resolve(true);
                                               });
        });
        QVERIFY(!made.empty());
        auto* const package = static_cast<HttpJsonPackage*>(made[0].object);
        std::thread::id emittedOn;
        std::thread transport([&] {
            emittedOn = std::this_thread::get_id();
            Q_EMIT package->readyRead(package);
        });
        transport.join();
        QVERIFY(handled);
        QVERIFY(handledOn == emittedOn);
        promise->wait();
        QVERIFY(promise->isFulfilled());
        while (m_engine->release()) {
            QCoreApplication::processEvents();
        }
    }

    void aReplyWithoutACodeReadsAsCodeZero()
    {
        m_engine->answer(RecordingEngine::reply(R"({"data":{"name":"MX"}})"));
        QVERIFY(outcomeOf(PromiseRequest("Device_Hwinfo").getRecord<DeviceInfo>(device)) ==
                Outcome::Fulfilled);
    }

    void continuationsRunOnTheThreadThatAttachedThem()
    {
        QThread* ranOn = nullptr;
        PromiseRequest("Device_Hwinfo")
            .getRecord<DeviceInfo>(device)
            .then([&](const DeviceInfo&) { ranOn = QThread::currentThread(); })
            .wait();
        QCOMPARE(ranOn, QThread::currentThread());
    }
};

QTEST_GUILESS_MAIN(TestPromiseRequest)
#include "tst_promiserequest.moc"
