// SPDX-License-Identifier: MIT
#include "failingscenarios.h"

#include "communicator/events/eventchannels.h"
#include "tlsfront.h"

#include <communicator/httpmutilpartpackage.h>
#include <communicator/httpproxy.h>

#include <QDir>
#include <QTemporaryDir>

#include <condition_variable>
#include <new>

using namespace std::chrono_literals;

namespace {

const QByteArray oldContent("old");
const QString wall = QStringLiteral("wall");

// Long enough for a busy machine, and so short that a wait for nothing is noticed as TimedOut.
constexpr int limit = 20000;

int descriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

QString wrong(const char* text, const HttpReply& reply = {})
{
    return QStringLiteral("%1 (state %2, %3)")
        .arg(QLatin1String(text))
        .arg(int(reply.state))
        .arg(reply.reason);
}

/// What is the same for all exchanges: a device, a file in a folder of its own, and what must hold for both.
class ExchangeScene
{
public:
    explicit ExchangeScene(const QString& what, bool tls)
        : m_what(what)
        , m_server(what == QLatin1String("mute") ? Mode::Stall : Mode::Answer)
        , m_front(tls ? std::make_unique<TlsFront>(m_server.port()) : nullptr)
    {}

    QString path() const { return m_directory.filePath(QStringLiteral("file")); }
    void add(Bench& bench) const
    {
        DeviceEndpoint endpoint;
        endpoint.address = m_front ? m_front->address() : m_server.address();
        endpoint.verifyTls = false;
        bench.add(wall, endpoint);
    }
    HttpRequest asked() const
    {
        HttpRequest asked = request(wall);
        asked.expectedTime = m_what == QLatin1String("mute") ? 200 : limit;
        asked.path = target();
        if (m_what == QLatin1String("put")) {
            asked.method = HttpMethod::Put;
            asked.body = QByteArray(300000, 'b');
        } else if (m_what == QLatin1String("form")) {
            asked.method = HttpMethod::Post;
            asked.multipart = true;
            asked.parts = {{QStringLiteral("file"), QUrl::fromLocalFile(path())},
                           {QStringLiteral("text"), QStringLiteral("x")}};
        } else if (m_what == QLatin1String("download")) {
            asked.downloadPath = path();
        }
        return asked;
    }
    /// Of the next request only.
    QString target() const { return QStringLiteral("/api/v1/step%1").arg(m_begun); }
    void begin()
    {
        ++m_begun;
        writeFile(path(), oldContent);
    }
    /// What does not hold after @p reply to the request @p number.
    QString judge(const HttpReply& reply, int number, bool& isHurt) const
    {
        const bool isDownload = m_what == QLatin1String("download");
        const bool isMute = m_what == QLatin1String("mute");
        const bool succeeded = reply.state == State::Success;
        isHurt = !succeeded && !isMute;
        if (isMute && reply.state != State::TimedOut && number == 0) {
            return wrong("a device that says nothing did not time out", reply);
        }
        if (!isMute && reply.state == State::TimedOut) {
            return wrong("a failure was waited out", reply);
        }
        if (succeeded && reply.body != (isDownload ? QByteArray() : goodBody)) {
            return wrong("another reply was taken", reply);
        }
        if (!succeeded && reply.reason.isEmpty()) {
            return wrong("a failure has no reason", reply);
        }
        if (contentOf(path()) != (isDownload && succeeded ? goodBody : oldContent)) {
            return wrong("the file is neither the old nor the new one", reply);
        }
        if (QDir(m_directory.path()).entryList(QDir::Files | QDir::Hidden) !=
            QStringList{QStringLiteral("file")}) {
            return wrong("a file was left", reply);
        }
        int arrivals = 0;
        for (const MisbehavingServer::Received& received : m_server.received()) {
            arrivals += received.target == target().toLatin1() && received.method != "GET" ? 1 : 0;
        }
        return arrivals <= 1 ? QString() : wrong("a write arrived twice", reply);
    }
    bool isMute() const { return m_what == QLatin1String("mute"); }

private:
    const QString m_what;
    int m_begun = 0;
    const QTemporaryDir m_directory;
    MisbehavingServer m_server;
    const std::unique_ptr<TlsFront> m_front; ///< with TLS
};

Scenario exchangeScenario(const char* name, const char* what, bool blocking, bool tls)
{
    const auto scene = std::make_shared<ExchangeScene>(QLatin1String(what), tls);
    return {name,
            [scene, blocking](Plan& wanted, int number, bool& isHurt) {
                scene->begin();
                Bench bench;
                scene->add(bench);
                const HttpReply reply = askWith(bench, scene->asked(), blocking, wanted);
                const QString held = scene->judge(reply, number, isHurt);
                if (!held.isEmpty() || scene->isMute()) {
                    return held;
                }
                // The engine is as good as before.
                HttpRequest plain = request(wall);
                plain.expectedTime = limit;
                const HttpReply next = bench.ask(plain, blocking);
                return next.state == State::Success ? QString() : wrong("the next exchange failed", next);
            },
            !scene->isMute()};
}

/// Passes requests on to an engine of a test.
class OtherEngine final : public HttpEngine
{
public:
    explicit OtherEngine(Bench& bench)
        : m_bench(bench)
    {}
    HttpReply exchange(const HttpRequest& request) override { return m_bench.engine.exchange(request); }
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        return m_bench.engine.start(request, std::move(done));
    }

private:
    Bench& m_bench;
};

// As operations send the files of coefficients.
Scenario uploadScenario(const char* name)
{
    const auto scene = std::make_shared<ExchangeScene>(QStringLiteral("upload"), false);
    return {name, [scene](Plan& wanted, int number, bool& isHurt) {
                scene->begin();
                Bench bench;
                scene->add(bench);
                HttpProxy::getInstance()->setEngine(std::make_unique<OtherEngine>(bench));
                HttpReply reply;
                {
                    HttpMutilPartPackage package(nullptr);
                    package.setUrl(scene->target());
                    package.setExpectedTime(limit);
                    package.setHttpMultiPartData(
                        {{QStringLiteral("file"), QUrl::fromLocalFile(scene->path())},
                         {QStringLiteral("bytes"), QByteArray(300000, 'b')}});
                    {
                        const Planned planned(wanted, true, nullptr);
                        try {
                            HttpProxy::getInstance()->putMutilPartSync(wall, &package);
                        } catch (const std::bad_alloc&) {
                            reply.reason = QStringLiteral("out of memory");
                        }
                    }
                    if (reply.reason.isEmpty()) {
                        reply.state = package.getSimpleState();
                        reply.body = package.getRoutesJsonMap().isEmpty() ? QByteArray() : goodBody;
                        reply.reason = reply.state == State::Success ? QString() : QStringLiteral("as told");
                    } else {
                        reply.state = State::Aborted;
                    }
                }
                HttpProxy::getInstance()->setEngine(nullptr);
                return scene->judge(reply, number, isHurt);
            }};
}

/// The streams of a test, and the events that they have delivered.
struct Streams
{
    explicit Streams(std::shared_ptr<IoLoop> loop)
        : channels(std::in_place, std::move(loop), queue, board, timings())
    {}
    static EventTimings timings()
    {
        EventTimings timings;
        timings.connect = 5s;
        timings.firstDelay = 5ms;
        timings.longestDelay = 20ms;
        timings.silence = timings.goneAfter = timings.loginDelay = 1h;
        return timings;
    }
    /// @return whether an event came.
    bool waitForEvent()
    {
        bool came = false;
        std::unique_lock<std::mutex> lock(mutex);
        const auto until = std::chrono::steady_clock::now() + 20s;
        while (!came && woken.wait_until(lock, until, [this] { return std::exchange(isWoken, false); })) {
            lock.unlock();
            queue.deliver([&came](const ProxyEvent& event) {
                came = came || (event.kind == ProxyEvent::Kind::Event && event.data == "{\"a\":1}");
            });
            lock.lock();
        }
        return came;
    }

    std::mutex mutex;
    std::condition_variable woken;
    bool isWoken = false; ///< guarded by the mutex
    ProxyEventQueue queue{[this] {
        const std::lock_guard<std::mutex> lock(mutex);
        isWoken = true;
        woken.notify_all();
    }};
    ConnectionBoard board;
    std::optional<EventChannels> channels;
};

// It opens, delivers and is closed; what fails is made up for by the next attempt.
Scenario streamScenario(const char* name)
{
    return {name,
            [](Plan& wanted, int /*number*/, bool& isHurt) {
                MisbehavingServer server(Mode::Scripted);
                for (int i = 0; i < 3; ++i) {
                    server.addScript({"HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n",
                                      "id: a:1\ndata: {\"a\":1}\n\n"});
                }
                DeviceRegistry registry;
                const auto loop = std::make_shared<IoLoop>();
                Streams streams(loop);
                bool came = false;
                {
                    const Planned planned(wanted, false, loop.get());
                    streams.channels->open(registry.find(server.address()), {});
                    came = streams.waitForEvent();
                    streams.channels.reset();
                }
                isHurt = server.connections() != 1;
                return came ? QString() : wrong("the stream did not come back");
            },
            true, false};
}

// The transport stops while calls of both kinds and a stream run.
Scenario shutdownScenario(const char* name)
{
    return {name, [](Plan& wanted, int /*number*/, bool& isHurt) {
                const MisbehavingServer server(Mode::Stall);
                std::atomic<int> ended{0};
                std::atomic<int> aborted{0};
                constexpr int count = 3;
                const auto take = [&](const HttpReply& reply) {
                    aborted += reply.state == State::Aborted ? 1 : 0;
                    ++ended;
                };
                HttpRequest asked = request(server.address());
                asked.expectedTime = limit;
                std::thread caller;
                bool isStarted = false;
                {
                    Bench bench;
                    Streams streams(bench.loop);
                    const Planned planned(wanted, true, bench.loop.get());
                    caller = std::thread([&] { take(bench.engine.exchange(asked)); });
                    for (int i = 1; i < count; ++i) {
                        try {
                            bench.engine.start(asked, take);
                        } catch (const std::bad_alloc&) {
                            take({});
                        }
                    }
                    try {
                        streams.channels->open(bench.registry->find(server.address()), {});
                    } catch (const std::bad_alloc&) {
                    }
                    isStarted =
                        QTest::qWaitFor([&] { return server.deliveries() + ended >= count; }, limit / 2);
                    streams.channels.reset();
                    bench.engine.stop();
                    caller.join();
                }
                isHurt = aborted != count;
                return !isStarted       ? wrong("a request did not begin")
                       : ended == count ? QString()
                                        : wrong("a request ended another number of times than once");
            }};
}

} // namespace

Planned::Planned(Plan& wanted, bool here, IoLoop* loop)
    : m_loop(loop)
{
    if (m_loop != nullptr) {
        m_loop->run([&wanted] { plan = &wanted; });
    }
    plan = here ? &wanted : nullptr;
}

Planned::~Planned()
{
    plan = nullptr;
    if (m_loop != nullptr) {
        m_loop->run([] { plan = nullptr; });
    }
}

HttpReply askWith(Bench& bench, const HttpRequest& asked, bool blocking, Plan& wanted)
{
    const Planned planned(wanted, blocking, blocking ? nullptr : bench.loop.get());
    try {
        return bench.ask(asked, blocking);
    } catch (const std::bad_alloc&) {
        HttpReply reply;
        reply.state = State::Aborted;
        reply.reason = QStringLiteral("out of memory");
        return reply;
    }
}

std::vector<Scenario> scenarios(bool tls)
{
    if (tls) {
        return {exchangeScenario("get over TLS, blocking", "get", true, true),
                exchangeScenario("get over TLS, non-blocking", "get", false, true)};
    }
    return {exchangeScenario("get, blocking", "get", true, false),
            exchangeScenario("get, non-blocking", "get", false, false),
            exchangeScenario("get from a device that says nothing, blocking", "mute", true, false),
            exchangeScenario("get from a device that says nothing, non-blocking", "mute", false, false),
            exchangeScenario("put, blocking", "put", true, false),
            exchangeScenario("put, non-blocking", "put", false, false),
            exchangeScenario("form, blocking", "form", true, false),
            exchangeScenario("form, non-blocking", "form", false, false),
            exchangeScenario("download, blocking", "download", true, false),
            exchangeScenario("download, non-blocking", "download", false, false),
            uploadScenario("upload"),
            streamScenario("stream"),
            shutdownScenario("shutdown")};
}

std::vector<Scenario> blockingScenarios()
{
    return {exchangeScenario("get", "get", true, false),
            exchangeScenario("get over TLS", "get", true, true),
            exchangeScenario("put", "put", true, false),
            exchangeScenario("form", "form", true, false),
            exchangeScenario("download", "download", true, false),
            uploadScenario("upload")};
}

QString failInTurn(const Scenario& scenario, Plan::Lasts lasts, int mostCalls)
{
    // Whatever is made once for the process is made now.
    bool isHurt = false;
    Plan none;
    if (const QString held = scenario.run(none, 0, isHurt); !held.isEmpty()) {
        return QStringLiteral("without a failure: ") + held;
    }
    const int before = descriptors();
    int hurt = 0;
    int unlucky = 0;
    for (int number = 1; number <= mostCalls; ++number) {
        Plan wanted(number, lasts);
        const QString held = scenario.run(wanted, number, isHurt);
        if (!held.isEmpty()) {
            return QStringLiteral("call %1: %2").arg(number).arg(held);
        }
        hurt += isHurt ? 1 : 0;
        if (wanted.calls < number) { // no call is left that has not failed
            // How often a call is made that only looks for what has come differs each time, and with it the
            // numbers of those that matter: with bad luck, none of them was tried.
            if (hurt == 0 && scenario.canBeHurt && number >= 3 && ++unlucky < 20) {
                number = 0;
                continue;
            }
            if (number < 3 || (hurt == 0 && scenario.canBeHurt)) {
                return QStringLiteral("%1 calls are seen, and %2 failures noticed").arg(number - 1).arg(hurt);
            }
            return QTest::qWaitFor([before] { return descriptors() <= before; }, limit)
                       ? QString()
                       : wrong("descriptors were left open");
        }
    }
    return wrong("the number of calls grows");
}

void rowsOf(const std::vector<Scenario>& all)
{
    QTest::addColumn<int>("number");
    QTest::addColumn<Plan::Lasts>("lasts");
    for (std::size_t i = 0; i < all.size(); ++i) {
        QTest::newRow(all[i].name) << int(i) << Plan::Lasts::No;
        if (all[i].canEndWithout) {
            QTest::addRow("%s, and all after it", all[i].name) << int(i) << Plan::Lasts::Yes;
        }
    }
}
