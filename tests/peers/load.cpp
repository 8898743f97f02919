// SPDX-License-Identifier: MIT
#include "load.h"

#include "proxies.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <QTimer>
#include <QUrlQuery>

#include <dirent.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <random>
#include <sys/socket.h>

using namespace Krelm::Communicator::HttpDevice;

namespace {

constexpr std::chrono::seconds timeout{240};
constexpr int writesEach = 10;
constexpr int readsEach = 3;

const char* nameOf(Connection connection)
{
    switch (connection) {
    case Connection::None:
        return "no connection before";
    case Connection::Open:
        return "an open connection before";
    case Connection::Ended:
        break;
    }
    return "an ended connection before";
}

Connection connectionTo(quint16 port)
{
    Connection found = Connection::None;
    DIR* const descriptors = ::opendir("/proc/self/fd");
    while (const dirent* const entry = ::readdir(descriptors)) {
        const int descriptor =
            QByteArray(entry->d_name).toInt(); // those of the directory itself are no sockets
        sockaddr_in peer{};
        socklen_t size = sizeof peer;
        if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) != 0 ||
            peer.sin_family != AF_INET || ntohs(peer.sin_port) != port) {
            continue;
        }
        tcp_info info{};
        size = sizeof info;
        if (::getsockopt(descriptor, IPPROTO_TCP, TCP_INFO, &info, &size) == 0) {
            found = info.tcpi_state == TCP_ESTABLISHED ? Connection::Open : Connection::Ended;
        }
    }
    ::closedir(descriptors);
    return found;
}

QByteArray callOf(const QByteArray& query)
{
    return QUrlQuery(QString::fromLatin1(query)).queryItemValue(QStringLiteral("call")).toLatin1();
}

QString freshKey()
{
    static std::atomic<int> number{0};
    return QStringLiteral("wall %1").arg(++number);
}

} // namespace

KnownDevice::KnownDevice(const DeviceEndpoint& endpoint)
    : key(freshKey())
{
    if (!HttpProxy::getInstance()->addDevice(key, endpoint)) {
        qFatal("the device at %s is refused", qPrintable(endpoint.address));
    }
}

KnownDevice::~KnownDevice()
{
    HttpProxy::getInstance()->removeDevice(key);
}

Load::Caller::Caller(const DeviceEndpoint& endpoint)
    : device(endpoint)
    , port(endpoint.address.section(QLatin1Char(':'), -1).toUShort())
{}

Load::Load(const QList<DeviceEndpoint>& endpoints)
    : m_observer(addExchangeObserver([this](const ExchangeRecord& record) {
        if (record.state != State::Success) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_reasons[callOf(record.path.mid(record.path.indexOf('?') + 1))] = record.reason;
        }
    }))
{
    for (const DeviceEndpoint& endpoint : endpoints) {
        m_callers.push_back(std::make_unique<Caller>(endpoint));
    }
}

Load::~Load()
{
    for (const std::unique_ptr<QThread>& thread : m_threads) {
        thread->wait();
    }
}

Call Load::begin(int caller, Verb verb) const
{
    const Caller& self = *m_callers[std::size_t(caller)];
    Call call;
    call.id = "c" + QByteArray::number(caller) + '-' + QByteArray::number(int(self.calls.size()));
    call.verb = verb;
    call.connection = connectionTo(self.port);
    return call;
}

void Load::end(int caller, Call call, const HttpJsonPackage& package)
{
    call.state = package.getSimpleState();
    call.status = package.replyStatus;
    call.hasData = !package.getRoutesJsonMap().isEmpty() || !package.getRoutesJsonDataListMap().isEmpty();
    const std::lock_guard<std::mutex> lock(m_mutex);
    call.reason = m_reasons.value(call.id);
    m_callers[std::size_t(caller)]->calls.push_back(std::move(call));
    ++m_endedCalls;
    m_ended.notify_all();
}

namespace {

void fill(HttpJsonPackage& package, const Call& call)
{
    package.setUrl(QStringLiteral("/api/v1/device/hw/customname"));
    package.addParameters(QStringLiteral("call"), QString::fromLatin1(call.id));
    package.setExpectedTime(int(std::chrono::milliseconds(timeout).count()) / 2);
    if (call.verb != Verb::Get) {
        package.setRequestWithJsonObj(
            QVariantMap{{QStringLiteral("customName"), QString::fromLatin1(call.id)}});
    }
}

} // namespace

void Load::callBlocking(int caller)
{
    const Caller& self = *m_callers[std::size_t(caller)];
    while (const std::optional<Step> step = m_plan(caller, self.calls)) {
        QThread::usleep(static_cast<unsigned long>(step->pause.count()));
        const Call call = begin(caller, step->verb);
        HttpJsonPackage package(nullptr);
        fill(package, call);
        HttpProxy* const proxy = HttpProxy::getInstance();
        switch (step->verb) {
        case Verb::Get:
            proxy->getSync(self.device.key, &package);
            break;
        case Verb::Put:
            proxy->putSync(self.device.key, &package);
            break;
        case Verb::Post:
            proxy->postSync(self.device.key, &package);
            break;
        }
        end(caller, call, package);
    }
}

void Load::callNonBlocking()
{
    QEventLoop loop;
    int busy = 0;
    std::function<void(int)> goOn;
    const auto send = [&](int caller, Verb verb) {
        const Caller& self = *m_callers[std::size_t(caller)];
        const Call call = begin(caller, verb);
        auto* const package = new HttpJsonPackage(&loop);
        fill(*package, call);
        QObject::connect(package, &HttpJsonPackage::readyRead, &loop, [&, caller, call, package] {
            end(caller, call, *package);
            package->deleteLater();
            goOn(caller);
        });
        HttpProxy* const proxy = HttpProxy::getInstance();
        switch (verb) {
        case Verb::Get:
            proxy->get(self.device.key, package);
            break;
        case Verb::Put:
            proxy->put(self.device.key, package);
            break;
        case Verb::Post:
            proxy->post(self.device.key, package);
            break;
        }
    };
    goOn = [&](int caller) {
        const std::optional<Step> step = m_plan(caller, m_callers[std::size_t(caller)]->calls);
        if (!step) {
            if (--busy == 0) {
                loop.quit();
            }
            return;
        }
        const auto pause = std::chrono::duration_cast<std::chrono::milliseconds>(step->pause);
        QTimer::singleShot(pause, Qt::PreciseTimer, &loop,
                           [&, caller, verb = step->verb] { send(caller, verb); });
    };
    for (int caller = 1; caller < int(m_callers.size()); caller += 2) {
        ++busy;
    }
    for (int caller = 1; caller < int(m_callers.size()); caller += 2) {
        goOn(caller);
    }
    if (busy > 0) {
        loop.exec();
    }
}

void Load::start(Plan plan)
{
    m_plan = std::move(plan);
    for (int caller = 0; caller < int(m_callers.size()); caller += 2) {
        m_threads.emplace_back(QThread::create([this, caller] { callBlocking(caller); }));
    }
    m_threads.emplace_back(QThread::create([this] { callNonBlocking(); }));
    for (const std::unique_ptr<QThread>& thread : m_threads) {
        thread->start();
    }
}

bool Load::waitForCalls(int count)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_ended.wait_for(lock, timeout, [&] { return m_endedCalls >= count; });
}

int Load::endedCalls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_endedCalls;
}

std::vector<std::vector<Call>> Load::finish()
{
    std::vector<std::vector<Call>> calls;
    for (const std::unique_ptr<QThread>& thread : m_threads) {
        thread->wait();
    }
    m_threads.clear();
    for (const std::unique_ptr<Caller>& caller : m_callers) {
        calls.push_back(caller->calls);
    }
    return calls;
}

QByteArray Verdict::text() const
{
    return QStringLiteral(
               "%1 writes, %2 reads; %3 calls on a kept connection, %4 after the peer had ended it; %5 "
               "lost, %6 doubled, %7 undecidable (%8 of them carried out), %9 refused")
        .arg(writes)
        .arg(reads)
        .arg(onOpen)
        .arg(onEnded)
        .arg(lost)
        .arg(doubled)
        .arg(undecidable)
        .arg(undecidableExecuted)
        .arg(refused)
        .toLatin1();
}

Verdict judge(const std::vector<std::vector<Call>>& calls, const Counts& executed, Peer peer)
{
    Verdict verdict;
    Counts unknown = executed;
    const auto judgeCall = [&](const Call& call) {
        const int times = executed.value(call.id);
        unknown.remove(call.id);
        verdict.onOpen += call.connection == Connection::Open ? 1 : 0;
        verdict.onEnded += call.connection == Connection::Ended ? 1 : 0;
        const auto isFault = [&](const char* what) {
            verdict.faults << QStringLiteral("%1 %2: state %3, status %4, carried out %5 times, %6, \"%7\"")
                                  .arg(QString::fromLatin1(call.id), QLatin1String(what))
                                  .arg(call.state)
                                  .arg(call.status)
                                  .arg(times)
                                  .arg(QLatin1String(nameOf(call.connection)), call.reason);
        };
        const bool succeeded = call.state == State::Success;
        const bool wasAway =
            peer == Peer::Restarts && (call.state == State::Unreachable || call.state == State::TlsFailure);
        // A new connection ends before its first reply only with the peer, and a proxy that has to go tells
        // that it gave up a call.
        const bool endedMeanwhile = (call.state == State::Broken && !call.reason.isEmpty() &&
                                     (call.connection == Connection::Open || peer == Peer::Restarts)) ||
                                    (peer == Peer::Restarts && call.status == 502);
        if (call.verb == Verb::Get) {
            ++verdict.reads;
            if (wasAway) {
                ++verdict.refused;
            } else if (!succeeded && !(endedMeanwhile && peer == Peer::Restarts)) {
                isFault("is a read that failed");
            }
            return;
        }
        ++verdict.writes;
        if (times > 1) {
            ++verdict.doubled;
            isFault("was doubled");
        } else if (succeeded && times == 0) {
            ++verdict.lost;
            isFault("was lost");
        } else if (succeeded) {
            return;
        } else if (wasAway && times == 0) {
            ++verdict.refused;
        } else if (endedMeanwhile) {
            ++verdict.undecidable;
            verdict.undecidableExecuted += times;
        } else {
            ++verdict.lost;
            isFault("failed");
        }
    };
    for (const std::vector<Call>& ofCaller : calls) {
        for (const Call& call : ofCaller) {
            judgeCall(call);
        }
    }
    for (auto stranger = unknown.cbegin(); stranger != unknown.cend(); ++stranger) {
        verdict.faults << QStringLiteral("nobody sent \"%1\"").arg(QString::fromLatin1(stranger.key()));
    }
    return verdict;
}

Verdict writeAroundTheIdleLimit(const QList<DeviceEndpoint>& endpoints, int idleLimit,
                                const std::vector<Verb>& verbs, const std::function<Counts()>& executed)
{
    Load load(endpoints);
    load.start([&](int caller, const std::vector<Call>& calls) -> std::optional<Step> {
        const int done = int(calls.size());
        if (done == writesEach + readsEach) {
            return std::nullopt;
        }
        std::minstd_rand random(unsigned(1 + caller * 1000 + done));
        random.discard(10);
        const auto within = [&](int spread) {
            return std::chrono::microseconds(
                std::uniform_int_distribution<int>(-1000 * spread, 1000 * spread)(random));
        };
        const std::chrono::microseconds limit = std::chrono::milliseconds(idleLimit);
        Step step;
        step.verb = done % 4 == 3 ? Verb::Get : verbs[std::size_t(done) % verbs.size()];
        switch (done % 5) {
        case 0:
            step.pause = done == 0 ? limit / 2 + within(idleLimit / 2) : limit * 2 / 5;
            break;
        case 1:
            step.pause = limit * 5 / 4;
            break;
        case 2:
            step.pause = limit + within(idleLimit / 20);
            break;
        default:
            step.pause = limit + within(3);
            break;
        }
        return step;
    });
    const std::vector<std::vector<Call>> calls = load.finish();
    return judge(calls, executed(), Peer::Stays);
}

Verdict writeDuringRestarts(const QList<DeviceEndpoint>& endpoints, FrontProxy& proxy,
                            Tessel::Simulator::Simulator& simulator)
{
    constexpr int callsBetween = 250;
    constexpr int slowWritesTimeout = 30000;
    // Beyond the half second that a proxy leaves to requests when it is reloaded or restarted.
    Tessel::Simulator::Fault slow;
    slow.method = "PUT";
    slow.times = 4;
    slow.delay = 1000;
    std::atomic<bool> isOver{false};
    std::vector<char> hasLast(std::size_t(endpoints.size()), 0); // each caller's own
    Load load(endpoints);
    load.start([&](int caller, const std::vector<Call>& calls) -> std::optional<Step> {
        if (hasLast[std::size_t(caller)] != 0) {
            return std::nullopt;
        }
        if (isOver) {
            hasLast[std::size_t(caller)] = 1;
            return Step{};
        }
        Step step;
        step.verb = calls.size() % 5 == 4 ? Verb::Get : Verb::Put;
        const bool failed = !calls.empty() && calls.back().state != State::Success;
        step.pause = std::chrono::milliseconds(failed ? 20 : 10);
        return step;
    });
    QStringList faults;
    const std::pair<const char*, std::function<bool()>> disturbances[] = {
        {"a reload", [&] { return proxy.reload(); }},
        {"a crash", [&] { return proxy.crashAndStart(); }},
        {"a restart", [&] { return proxy.restart(); }},
    };
    for (const auto& [name, disturb] : disturbances) {
        const auto expect = [&faults, name = QLatin1String(name)](bool holds, const QString& otherwise) {
            if (!holds) {
                faults << otherwise + QLatin1Char(' ') + name;
            }
        };
        expect(load.waitForCalls(load.endedCalls() + callsBetween),
               QStringLiteral("the callers stand before"));
        simulator.addFault(slow);
        expect(QTest::qWaitFor([&] { return simulator.requestsInFlight() >= slow.times; }, slowWritesTimeout),
               QStringLiteral("no write is under way before"));
        const bool succeeded = disturb();
        expect(succeeded, QString::fromUtf8(proxy.output()) + QStringLiteral("this does not succeed:"));
        // Whoever sent a slow write again would have it carried out twice by now.
        expect(QTest::qWaitFor([&] { return simulator.requestsInFlight() < slow.times; }, slowWritesTimeout),
               QStringLiteral("the simulator does not come to an end after"));
    }
    if (!load.waitForCalls(load.endedCalls() + callsBetween)) {
        faults << QStringLiteral("the callers stand after all");
    }
    isOver = true;
    const std::vector<std::vector<Call>> calls = load.finish();
    Verdict verdict = judge(calls, executedBy(simulator), Peer::Restarts);
    verdict.faults += faults;
    for (const std::vector<Call>& ofCaller : calls) {
        if (ofCaller.back().state != State::Success) {
            verdict.faults << QStringLiteral("%1 failed with the proxy back: \"%2\"")
                                  .arg(QString::fromLatin1(ofCaller.back().id), ofCaller.back().reason);
        }
    }
    return verdict;
}

Tessel::Simulator::Options longMemory()
{
    Tessel::Simulator::Options options;
    options.cabinets = 4;
    options.requestLog = 1000000;
    options.eventHistory = 1000000;
    return options;
}

Counts executedBy(const Tessel::Simulator::Simulator& simulator)
{
    if (!QTest::qWaitFor([&] { return simulator.requestsInFlight() == 0; }, 10000)) {
        qFatal("the simulator does not come to rest");
    }
    Counts counts;
    for (const Tessel::Simulator::RequestRecord& request : simulator.requests()) {
        if (request.method == "GET" || request.status != 200) {
            continue;
        }
        const QByteArray call = callOf(request.query);
        const QByteArray named = QJsonDocument::fromJson(request.body)
                                     .object()
                                     .value(QStringLiteral("customName"))
                                     .toString()
                                     .toLatin1();
        ++counts[call == named ? call : "mangled"];
    }
    return counts;
}
