// SPDX-License-Identifier: MIT
#include "communicator/deviceendpoint.h"
#include "communicator/exchangeobserver.h"
#include "communicator/runtime/postedcall.h"
#include "misbehavingserver.h"

#include <logcollector.h>
#include <recordingengine.h>

#include <communicator/httpproxy.h>

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <future>
#include <optional>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Done = RecordingEngine::Done;

using Call = std::function<void(HttpProxy*, HttpMutilPartPackage*)>;
Q_DECLARE_METATYPE(DeviceEndpoint)
Q_DECLARE_METATYPE(Call)

class TestProxy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void cleanup()
    {
        m_proxy->setEngine(nullptr);
        m_pending.clear();
        for (const QString& key : m_proxy->devices()) {
            m_proxy->removeDevice(key);
        }
        QCoreApplication::processEvents();
    }

    void theProxyLivesOnTheApplicationsThreadWhoeverAsksFirst();
    void eachOperationSendsItsVerb_data();
    void eachOperationSendsItsVerb();
    void everyOperationIsCountedOnce_data() { eachOperationSendsItsVerb_data(); }
    void everyOperationIsCountedOnce();
    void everythingReachesTheEngineAsItWasSet();
    void anEmptyPathReachesTheEngine();
    void aJsonBodyIsTypedUnlessTheCallerDid();
    void aJsonBodyThatCannotBeWrittenIsNotSent();
    void putSyncOfAMultipartPackageSendsItsParts();
    void aDownloadNamesItsDestination();
    void aDownloadWithoutADestinationSendsNothing();
    void theReplyStandsInThePackageOnReturn();
    void blockingRequestsRaiseNoReadyRead();
    void aNullPackageIsIgnored();

    void readyReadComesOnceAndNeverFromInside_data();
    void readyReadComesOnceAndNeverFromInside();
    void readyReadCanBeConnectedAfterTheCall();
    void readyReadComesOnThePackagesThread();
    void readyReadMayDeleteThePackage();
    void aPackageThatIsGoneIsNotAnswered_data();
    void aPackageThatIsGoneIsNotAnswered();
    void aStackPackageMayGoRightAfterThePut();
    void aPackageThatIsSentAgainIsAnsweredOnceByTheLaterReply_data();
    void aPackageThatIsSentAgainIsAnsweredOnceByTheLaterReply();
    void anEngineThatCannotCancelLetsRequestsEndByThemselves();
    void replacingTheEngineAbortsWhatIsInFlight();
    void nullRestoresTheBuiltInEngine();

    void addingADeviceIsAnnouncedLater();
    void invalidDevicesAreRefused_data();
    void invalidDevicesAreRefused();
    void removingADeviceIsAnnouncedLater();
    void devicesWorkWithAForeignEngine();
    void aLoginThatTravelsInClearIsWarnedOf();
    void removingADeviceEndsItsRequests();
    void eventsEndWhenNobodyWantsThem();
    void aBodyThatCannotBeWrittenSaysWhy();

private:
    /// An engine that answers what it starts when the test calls m_pending.
    RecordingEngine* install()
    {
        RecordingEngine* const engine = RecordingEngine::install();
        engine->startWith([this](const HttpRequest&, const Done& done) {
            m_pending.push_back(done);
            return true;
        });
        return engine;
    }
    /// An engine that answers from inside the starting call.
    static void installAnsweringEarly()
    {
        RecordingEngine::install()->startWith([](const HttpRequest&, const Done& done) {
            done({});
            return true;
        });
    }

    HttpProxy* m_proxy = nullptr;
    std::vector<Done> m_pending; ///< what the engine of install() has not answered yet
};

void TestProxy::initTestCase()
{
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
    // Another thread asks first, whichever function comes first.
    std::thread([this] { m_proxy = HttpProxy::getInstance(); }).join();
    QVERIFY(m_proxy != nullptr);
}

void TestProxy::theProxyLivesOnTheApplicationsThreadWhoeverAsksFirst()
{
    QCOMPARE(m_proxy->thread(), QCoreApplication::instance()->thread());
    QCOMPARE(HttpProxy::getInstance(), m_proxy);
}

void TestProxy::eachOperationSendsItsVerb_data()
{
    QTest::addColumn<Call>("call");
    QTest::addColumn<int>("method");
    const QString key = QStringLiteral("wall");
    const auto row = [](const char* name, const Call& call, HttpMethod method) {
        QTest::newRow(name) << call << int(method);
    };
    row(
        "getSync", [key](auto* proxy, auto* package) { proxy->getSync(key, package); }, HttpMethod::Get);
    row(
        "putSync", [key](auto* proxy, auto* package) { proxy->putSync(key, package); }, HttpMethod::Put);
    row(
        "postSync", [key](auto* proxy, auto* package) { proxy->postSync(key, package); }, HttpMethod::Post);
    row(
        "delSync", [key](auto* proxy, auto* package) { proxy->delSync(key, package); }, HttpMethod::Delete);
    row(
        "putMutilPartSync", [key](auto* proxy, auto* package) { proxy->putMutilPartSync(key, package); },
        HttpMethod::Put);
    row(
        "get", [key](auto* proxy, auto* package) { QVERIFY(proxy->get(key, package)); }, HttpMethod::Get);
    row(
        "put", [key](auto* proxy, auto* package) { QVERIFY(proxy->put(key, package)); }, HttpMethod::Put);
    row(
        "post", [key](auto* proxy, auto* package) { QVERIFY(proxy->post(key, package)); }, HttpMethod::Post);
    row(
        "putMultSync", [key](auto* proxy, auto* package) { proxy->putMultSync(key, package); },
        HttpMethod::Put);
}

void TestProxy::eachOperationSendsItsVerb()
{
    QFETCH(Call, call);
    QFETCH(int, method);
    const auto* const engine = install();
    HttpMutilPartPackage package(nullptr);
    call(m_proxy, &package);
    QCOMPARE(engine->requests().size(), size_t(1));
    QCOMPARE(int(engine->requests()[0].method), method);
    QCOMPARE(engine->requests()[0].deviceKey, QStringLiteral("wall"));
    QCOMPARE(package.getDevkey(), QStringLiteral("wall"));
}

void TestProxy::everyOperationIsCountedOnce()
{
    QFETCH(Call, call);
    install();
    const quint64 before = exchangesBegun();
    HttpMutilPartPackage package(nullptr);
    call(m_proxy, &package);
    QCOMPARE(exchangesBegun() - before, quint64(1));
}

void TestProxy::everythingReachesTheEngineAsItWasSet()
{
    const auto* const engine = install();
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/x/{id} "));
    package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("a/b"));
    package.addParameters(QStringLiteral("q"), QStringLiteral("1 2"));
    package.setRequestHeader({{QStringLiteral("X-A"), QStringLiteral("b")}});
    package.setRequestData("raw");
    package.setExpectedTime(-5);
    package.setDaemonFlag(true);
    m_proxy->putSync(QStringLiteral("any key"), &package);
    const HttpRequest request = engine->requests().at(0);
    QCOMPARE(request.deviceKey, QStringLiteral("any key"));
    QCOMPARE(request.path, QStringLiteral("/x/{id} "));
    QCOMPARE(request.placeHolders, package.placeHolders());
    QCOMPARE(request.parameters, package.parameters());
    QCOMPARE(request.headers, package.requestHeader());
    QCOMPARE(request.body, QByteArray("raw"));
    QCOMPARE(request.expectedTime, -5);
    QVERIFY(request.daemon);
    QVERIFY(!request.multipart);
    QVERIFY(request.downloadPath.isEmpty());
}

void TestProxy::anEmptyPathReachesTheEngine()
{
    const auto* const engine = install();
    HttpJsonPackage package(nullptr);
    m_proxy->getSync(QStringLiteral("wall"), &package);
    QCOMPARE(engine->requests().size(), size_t(1));
    QVERIFY(engine->requests()[0].path.isEmpty());
    QCOMPARE(engine->requests()[0].expectedTime, 10000);
}

void TestProxy::aJsonBodyIsTypedUnlessTheCallerDid()
{
    const auto* const engine = install();
    const QString json = QStringLiteral("application/json");
    HttpJsonPackage untyped(nullptr);
    untyped.setRequestWithJsonObj(QVariantMap());
    m_proxy->putSync(QStringLiteral("wall"), &untyped);
    QCOMPARE(engine->requests().at(0).headers,
             (QMap<QString, QString>{{QStringLiteral("Content-Type"), json}}));
    QVERIFY(untyped.requestHeader().isEmpty());
    HttpJsonPackage typed(nullptr);
    typed.setRequestWithJsonObj(QVariantMap());
    typed.setRequestHeader({{QStringLiteral("content-Type"), json}});
    m_proxy->putSync(QStringLiteral("wall"), &typed);
    QCOMPARE(engine->requests().at(1).headers, typed.requestHeader());
    HttpJsonPackage raw(nullptr);
    raw.setRequestWithJsonObj(QVariantMap());
    raw.setRequestData("raw");
    m_proxy->putSync(QStringLiteral("wall"), &raw);
    QVERIFY(engine->requests().at(2).headers.isEmpty());
}

void TestProxy::aJsonBodyThatCannotBeWrittenIsNotSent()
{
    const auto* const engine = install();
    QVariant deep = 1;
    for (int i = 0; i < 2000; ++i) {
        deep = QVariantList{deep};
    }
    HttpJsonPackage package(nullptr);
    package.setRequestWithJsonObj(deep);
    m_proxy->putSync(QStringLiteral("wall"), &package);
    QCOMPARE(package.getSimpleState(), State::InvalidRequest);
    QSignalSpy spy(&package, &HttpJsonPackage::readyRead);
    QVERIFY(!m_proxy->put(QStringLiteral("wall"), &package));
    QVERIFY(spy.wait());
    QCOMPARE(package.getSimpleState(), State::InvalidRequest);
    QVERIFY(engine->requests().empty());
}

void TestProxy::putSyncOfAMultipartPackageSendsItsParts()
{
    const auto* const engine = install();
    HttpMutilPartPackage package(nullptr);
    package.setHttpMultiPartData({{QStringLiteral("a"), QByteArray("b")}});
    m_proxy->putSync(QStringLiteral("wall"), &package);
    m_proxy->putMutilPartSync(QStringLiteral("wall"), &package);
    for (const HttpRequest& request : engine->requests()) {
        QVERIFY(request.multipart);
        QCOMPARE(request.parts, package.httpMultiPartData());
    }
    QCOMPARE(engine->requests().size(), size_t(2));
}

void TestProxy::aDownloadNamesItsDestination()
{
    const auto* const engine = install();
    HttpJsonPackage package(nullptr);
    package.fileDownloadPath = QStringLiteral("/tmp/firmware");
    m_proxy->getFileDownloadSync(QStringLiteral("wall"), &package);
    QCOMPARE(engine->requests().at(0).downloadPath, QStringLiteral("/tmp/firmware"));
    m_proxy->getSync(QStringLiteral("wall"), &package);
    QVERIFY(engine->requests().at(1).downloadPath.isEmpty());
}

void TestProxy::aDownloadWithoutADestinationSendsNothing()
{
    const auto* const engine = install();
    HttpJsonPackage package(nullptr);
    m_proxy->getFileDownloadSync(QStringLiteral("wall"), &package);
    QCOMPARE(package.getSimpleState(), State::FileFailure);
    QVERIFY(engine->requests().empty());
}

void TestProxy::theReplyStandsInThePackageOnReturn()
{
    RecordingEngine* const engine = RecordingEngine::install();
    HttpReply reply;
    reply.state = State::HttpFailure;
    reply.status = 404;
    reply.body = "{\"data\":{\"a\":1}}";
    reply.headers.insert(QStringLiteral("x-a"), QStringLiteral("b"));
    engine->answer(reply);
    HttpJsonPackage package(nullptr);
    m_proxy->getSync(QStringLiteral("wall"), &package);
    QCOMPARE(package.getSimpleState(), State::HttpFailure);
    QCOMPARE(package.replyStatus, 404);
    QCOMPARE(package.getReceiveData(), reply.body);
    QCOMPARE(package.responseHeader(QStringLiteral("X-A")), QStringLiteral("b"));
    QVERIFY(package.getRoutesJsonMap().isEmpty());
}

void TestProxy::blockingRequestsRaiseNoReadyRead()
{
    install();
    HttpJsonPackage package(nullptr);
    QSignalSpy spy(&package, &HttpJsonPackage::readyRead);
    m_proxy->getSync(QStringLiteral("wall"), &package);
    QCoreApplication::processEvents();
    QCOMPARE(spy.count(), 0);
}

void TestProxy::aNullPackageIsIgnored()
{
    const auto* const engine = install();
    m_proxy->getSync(QStringLiteral("wall"), nullptr);
    QVERIFY(!m_proxy->get(QStringLiteral("wall"), nullptr));
    QVERIFY(engine->requests().empty());
}

void TestProxy::readyReadComesOnceAndNeverFromInside_data()
{
    QTest::addColumn<int>("answersAtOnce");
    QTest::addColumn<bool>("isKept");
    QTest::addColumn<bool>("started");
    QTest::addColumn<int>("state");
    QTest::newRow("answered early") << 1 << false << true << int(State::TimedOut);
    QTest::newRow("answered later") << 0 << true << true << int(State::TimedOut);
    QTest::newRow("answered twice") << 2 << false << true << int(State::TimedOut);
    QTest::newRow("refused") << 1 << false << false << int(State::TimedOut);
    QTest::newRow("dropped") << 0 << false << false << int(State::Aborted);
}

void TestProxy::readyReadComesOnceAndNeverFromInside()
{
    QFETCH(int, answersAtOnce);
    QFETCH(bool, isKept);
    QFETCH(bool, started);
    QFETCH(int, state);
    const HttpReply reply = RecordingEngine::failure(State::TimedOut);
    RecordingEngine::install()->startWith([&](const HttpRequest&, const Done& done) {
        for (int i = 0; i < answersAtOnce; ++i) {
            done(reply);
        }
        if (isKept) {
            m_pending.push_back(done);
        }
        return started;
    });
    HttpJsonPackage package(nullptr);
    int calls = 0;
    int stateAtCall = -1;
    connect(
        &package, &HttpJsonPackage::readyRead, &package,
        [&](HttpJsonPackage* ready) {
            ++calls;
            QCOMPARE(ready, &package);
            stateAtCall = ready->getSimpleState();
        },
        Qt::DirectConnection);
    QCOMPARE(m_proxy->get(QStringLiteral("wall"), &package), started);
    QCOMPARE(calls, 0);
    if (isKept) {
        m_pending.at(0)(reply);
        QCOMPARE(calls, 0);
    }
    QTRY_COMPARE(calls, 1);
    QCoreApplication::processEvents();
    QCOMPARE(calls, 1);
    QCOMPARE(stateAtCall, state);
}

void TestProxy::readyReadCanBeConnectedAfterTheCall()
{
    installAnsweringEarly();
    HttpJsonPackage package(nullptr);
    m_proxy->get(QStringLiteral("wall"), &package);
    QSignalSpy spy(&package, &HttpJsonPackage::readyRead);
    QVERIFY(spy.wait());
}

void TestProxy::readyReadComesOnThePackagesThread()
{
    install();
    QThread thread;
    thread.start();
    auto* const package = new HttpJsonPackage(nullptr);
    package->moveToThread(&thread);
    std::promise<QThread*> emitted;
    connect(
        package, &HttpJsonPackage::readyRead, package,
        [&emitted](HttpJsonPackage* ready) {
            emitted.set_value(QThread::currentThread());
            ready->deleteLater();
        },
        Qt::DirectConnection);
    std::promise<void> started;
    postCall(package, [&, package] {
        m_proxy->get(QStringLiteral("wall"), package);
        started.set_value();
    });
    started.get_future().wait();
    m_pending.at(0)({});
    auto future = emitted.get_future();
    QCOMPARE(future.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    QCOMPARE(future.get(), &thread);
    thread.quit();
    thread.wait();
}

void TestProxy::readyReadMayDeleteThePackage()
{
    installAnsweringEarly();
    QPointer<HttpJsonPackage> package = new HttpJsonPackage(nullptr);
    connect(package, &HttpJsonPackage::readyRead, [](HttpJsonPackage* ready) { delete ready; });
    m_proxy->get(QStringLiteral("wall"), package);
    QTRY_VERIFY(package.isNull());
}

void TestProxy::aPackageThatIsGoneIsNotAnswered_data()
{
    QTest::addColumn<bool>("answeredInTime");
    QTest::newRow("before the answer") << false;
    QTest::newRow("between the answer and its delivery") << true;
}

void TestProxy::aPackageThatIsGoneIsNotAnswered()
{
    QFETCH(bool, answeredInTime);
    install();
    HttpReply late;
    late.status = 200;
    late.body = "{\"data\":{\"late\":1}}";
    // The next package takes the place of the one that went: who still writes there writes into it.
    std::optional<HttpJsonPackage> package;
    package.emplace(nullptr);
    const auto* const place = &*package;
    QVERIFY(m_proxy->get(QStringLiteral("wall"), &*package));
    if (answeredInTime) {
        m_pending.at(0)(late);
    }
    package.reset();
    package.emplace(nullptr);
    QCOMPARE(&*package, place);
    QSignalSpy spy(&*package, &HttpJsonPackage::readyRead);
    if (!answeredInTime) {
        m_pending.at(0)(late);
    }
    QCoreApplication::processEvents();
    QCOMPARE(spy.count(), 0);
    QCOMPARE(package->replyStatus, 0);
    QVERIFY(package->getReceiveData().isEmpty());

    QVERIFY(m_proxy->get(QStringLiteral("wall"), &*package));
    m_pending.at(1)(RecordingEngine::failure(State::TimedOut));
    QTRY_COMPARE(spy.count(), 1);
    QCOMPARE(package->getSimpleState(), State::TimedOut);
}

void TestProxy::aStackPackageMayGoRightAfterThePut()
{
    const auto* const engine = install();
    bool started = false;
    int state = -1;
    {
        HttpJsonPackage package(nullptr);
        package.setRequestWithJsonObj(QVariantMap{{QStringLiteral("a"), 1}});
        started = m_proxy->put(QStringLiteral("wall"), &package);
        state = package.getSimpleState();
    }
    QVERIFY(started);
    QCOMPARE(state, 0);
    QCOMPARE(engine->requests().at(0).body, QByteArray("{\"a\":1}"));
    m_pending.at(0)({});
    QCoreApplication::processEvents();
}

void TestProxy::aPackageThatIsSentAgainIsAnsweredOnceByTheLaterReply_data()
{
    QTest::addColumn<bool>("answeredInTime");
    QTest::newRow("before the first answer") << false;
    QTest::newRow("between the first answer and its delivery") << true;
}

void TestProxy::aPackageThatIsSentAgainIsAnsweredOnceByTheLaterReply()
{
    QFETCH(bool, answeredInTime);
    install();
    HttpJsonPackage package(nullptr);
    QSignalSpy ready(&package, &HttpJsonPackage::readyRead);
    QVERIFY(m_proxy->get(QStringLiteral("wall"), &package));
    if (answeredInTime) {
        m_pending.at(0)(RecordingEngine::reply("first"));
    }
    QVERIFY(m_proxy->get(QStringLiteral("wall"), &package));
    if (!answeredInTime) {
        m_pending.at(0)(RecordingEngine::reply("first"));
    }
    QCoreApplication::processEvents();
    QCOMPARE(ready.size(), 0);
    m_pending.at(1)(RecordingEngine::reply("second"));
    QTRY_COMPARE(ready.size(), 1);
    QCOMPARE(package.getReceiveData(), QByteArray("second"));
}

void TestProxy::anEngineThatCannotCancelLetsRequestsEndByThemselves()
{
    struct Simple final : HttpEngine
    {
        HttpReply exchange(const HttpRequest& /*request*/) override { return RecordingEngine::reply("{}"); }
        bool start(const HttpRequest& /*request*/, std::function<void(const HttpReply&)> done) override
        {
            pending = std::move(done);
            return true;
        }
        std::function<void(const HttpReply&)> pending;
    };
    auto owned = std::make_unique<Simple>();
    Simple* const engine = owned.get();
    m_proxy->setEngine(std::move(owned));
    HttpJsonPackage package(nullptr);
    QSignalSpy ready(&package, &HttpJsonPackage::readyRead);
    QVERIFY(m_proxy->get(QStringLiteral("wall"), &package));
    m_proxy->cancelAll(QStringLiteral("wall"));
    m_proxy->cancel(1);
    QCoreApplication::processEvents();
    QCOMPARE(ready.size(), 0);
    engine->pending(RecordingEngine::reply("whole"));
    QTRY_COMPARE(ready.size(), 1);
    QCOMPARE(package.getReceiveData(), QByteArray("whole"));
}

void TestProxy::replacingTheEngineAbortsWhatIsInFlight()
{
    const auto sharedWithEngine = std::make_shared<int>();
    RecordingEngine* const engine = RecordingEngine::install();
    engine->hold();
    engine->answer([sharedWithEngine](const HttpRequest&) { return HttpReply(); });
    HttpJsonPackage package(nullptr);
    QSignalSpy spy(&package, &HttpJsonPackage::readyRead);
    m_proxy->get(QStringLiteral("wall"), &package);
    QCOMPARE(engine->held(), 1);
    const auto* const next = install();
    QCOMPARE(sharedWithEngine.use_count(), 1L);
    QVERIFY(spy.wait());
    QCOMPARE(package.getSimpleState(), State::Aborted);
    m_proxy->getSync(QStringLiteral("wall"), &package);
    QCOMPARE(next->requests().size(), size_t(1));
}

void TestProxy::nullRestoresTheBuiltInEngine()
{
    const auto asked = std::make_shared<int>(0);
    RecordingEngine::install()->answer([asked](const HttpRequest&) {
        ++*asked;
        return HttpReply();
    });
    m_proxy->setEngine(nullptr);
    QCOMPARE(asked.use_count(), 1L);
    HttpJsonPackage package(nullptr);
    m_proxy->getSync(QStringLiteral("wall"), &package);
    QCOMPARE(package.getSimpleState(), State::InvalidRequest);
    QCOMPARE(*asked, 0);
    QSignalSpy spy(&package, &HttpJsonPackage::readyRead);
    QVERIFY(!m_proxy->get(QStringLiteral("wall"), &package));
    QCOMPARE(spy.count(), 0);
    QVERIFY(spy.wait());
    QCOMPARE(spy.count(), 1);
    QCOMPARE(package.getSimpleState(), State::InvalidRequest);
}

void TestProxy::addingADeviceIsAnnouncedLater()
{
    QSignalSpy changed(m_proxy, &HttpProxy::deviceChanged);
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("127.0.0.1:1");
    QVERIFY(m_proxy->addDevice(QStringLiteral("b"), endpoint));
    QVERIFY(m_proxy->addDevice(QStringLiteral("a"), endpoint));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(m_proxy->devices(), QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    QTRY_COMPARE(changed.count(), 2);
    endpoint.address = QStringLiteral("127.0.0.1:2");
    QVERIFY(m_proxy->addDevice(QStringLiteral("a"), endpoint));
    QCoreApplication::processEvents();
    QCOMPARE(changed.count(), 2);
}

void TestProxy::invalidDevicesAreRefused_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<DeviceEndpoint>("endpoint");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, const QString& key, DeviceEndpoint::Login login,
                        const QString& address, const QString& user, const QString& secret,
                        const QString& reason) {
        DeviceEndpoint endpoint;
        endpoint.address = address;
        endpoint.login = login;
        endpoint.user = user;
        endpoint.secret = secret;
        QTest::newRow(name) << key << endpoint << reason;
    };
    using Login = DeviceEndpoint::Login;
    const QString address = QStringLiteral("127.0.0.1:1");
    const QString key = QStringLiteral("wall");
    const QString noKey = QStringLiteral("the key is empty or contains a control character");
    const QString noAddress =
        QStringLiteral("the address must have the form http(s)://host[:port] or host[:port]");
    row("no key", {}, Login::None, address, {}, {}, noKey);
    row("line end in the key", QStringLiteral("a\nb"), Login::None, address, {}, {}, noKey);
    row("no address", key, Login::None, {}, {}, {}, noAddress);
    row("login in the address", key, Login::None, QStringLiteral("http://a:b@127.0.0.1"), {}, {}, noAddress);
    row("path in the address", key, Login::None, QStringLiteral("http://127.0.0.1/x"), {}, {}, noAddress);
    row("colon in the user", key, Login::Basic, address, QStringLiteral("a:b"), {},
        QStringLiteral("the user must not contain ':' with a basic login"));
    row("no token", key, Login::Bearer, address, {}, {}, QStringLiteral("a bearer login needs a secret"));
    row("line end in the token", key, Login::Bearer, address, {}, QStringLiteral("a\r\nX: y"),
        QStringLiteral("the login contains a control character"));
}

void TestProxy::invalidDevicesAreRefused()
{
    QFETCH(QString, key);
    QFETCH(DeviceEndpoint, endpoint);
    QFETCH(QString, reason);
    QSignalSpy changed(m_proxy, &HttpProxy::deviceChanged);
    const LogCollector log;
    QVERIFY(!m_proxy->addDevice(key, endpoint));
    QVERIFY(m_proxy->devices().isEmpty());
    QString printed = key;
    printed.replace(QLatin1Char('\n'), QLatin1Char('?'));
    QCOMPARE(log.lines(),
             QStringList(QStringLiteral("tessel.http.warning: device %1 refused: %2").arg(printed, reason)));
    QCoreApplication::processEvents();
    QVERIFY(changed.isEmpty());
}

void TestProxy::removingADeviceIsAnnouncedLater()
{
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("127.0.0.1:1");
    m_proxy->addDevice(QStringLiteral("wall"), endpoint);
    QCoreApplication::processEvents();
    QSignalSpy changed(m_proxy, &HttpProxy::deviceChanged);
    QSignalSpy logout(m_proxy, &HttpProxy::deviceLogout);
    QVERIFY(m_proxy->removeDevice(QStringLiteral("wall")));
    QVERIFY(!m_proxy->removeDevice(QStringLiteral("wall")));
    QCOMPARE(logout.count(), 0);
    QTRY_COMPARE(logout.count(), 1);
    QCOMPARE(logout.at(0).at(0).toString(), QStringLiteral("wall"));
    QTRY_COMPARE(changed.count(), 1);
    QVERIFY(m_proxy->devices().isEmpty());
}

void TestProxy::devicesWorkWithAForeignEngine()
{
    install();
    QSignalSpy changed(m_proxy, &HttpProxy::deviceChanged);
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("127.0.0.1:1");
    QVERIFY(m_proxy->addDevice(QStringLiteral("wall"), endpoint));
    QCOMPARE(m_proxy->devices(), QStringList{QStringLiteral("wall")});
    QTRY_COMPARE(changed.count(), 1);
    QVERIFY(m_proxy->removeDevice(QStringLiteral("wall")));
}

void TestProxy::aLoginThatTravelsInClearIsWarnedOf()
{
    LogCollector log;
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("wall.test");
    QVERIFY(m_proxy->addDevice(QStringLiteral("wall"), endpoint));
    QCOMPARE(log.lines(), QStringList());
    endpoint.login = DeviceEndpoint::Login::Basic;
    endpoint.user = QStringLiteral("admin");
    QVERIFY(m_proxy->addDevice(QStringLiteral("wall"), endpoint));
    QCOMPARE(log.lines(), QStringList(QStringLiteral(
                              "tessel.http.warning: device wall: the login travels in clear; use an "
                              "https address")));
}

void TestProxy::removingADeviceEndsItsRequests()
{
    MisbehavingServer server(MisbehavingServer::Mode::Stall);
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    QVERIFY(m_proxy->addDevice(QStringLiteral("wall"), endpoint));
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/x"));
    package.setExpectedTime(3600000);
    bool answered = false;
    connect(&package, &HttpJsonPackage::readyRead, this, [&answered] { answered = true; });
    QVERIFY(m_proxy->get(QStringLiteral("wall"), &package));
    QVERIFY(server.waitForDeliveries(1));
    QVERIFY(m_proxy->removeDevice(QStringLiteral("wall")));
    QTRY_VERIFY(answered);
    QCOMPARE(package.getSimpleState(), State::Aborted);
}

void TestProxy::eventsEndWhenNobodyWantsThem()
{
    MisbehavingServer server(MisbehavingServer::Mode::Scripted);
    server.addScript({"HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n"});
    DeviceEndpoint endpoint;
    endpoint.address = server.address();
    m_proxy->initialize(true);
    QVERIFY(m_proxy->addDevice(QStringLiteral("wall"), endpoint));
    const bool opened = server.waitForAnswers(1);
    m_proxy->initialize(false);
    QVERIFY(opened);
    QTRY_COMPARE(server.open(), 0);
}

void TestProxy::aBodyThatCannotBeWrittenSaysWhy()
{
    QVariant deep = 1;
    for (int i = 0; i < 2000; ++i) {
        deep = QVariantList{deep};
    }
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/x"));
    package.setRequestWithJsonObj(deep);
    QString reason;
    setExchangeObserver([&reason](const ExchangeRecord& record) { reason = record.reason; });
    m_proxy->putSync(QStringLiteral("127.0.0.1"), &package);
    setExchangeObserver({});
    QCOMPARE(package.getSimpleState(), State::InvalidRequest);
    QCOMPARE(reason, QStringLiteral("the body is nested too deeply to be written as JSON"));
}

QTEST_GUILESS_MAIN(TestProxy)
#include "tst_proxy.moc"
