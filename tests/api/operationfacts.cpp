// SPDX-License-Identifier: MIT
#include "tests/api/operationfacts.h"

#include "tesselctl/operations/requestprobe.h"
#include <operations/operationlist.h>
#include <operations/operators.h>
#include <operations/reference.h>
#include <operations/signalcatcher.h>

#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>
#include <tessel/hwinfo.h>
#include <tessel/protocols.h>

#include <QCoreApplication>
#include <QJsonObject>
#include <QStringList>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

using namespace Krelm::Communicator::HttpDevice;
using namespace Tessel::Operations;
using Tessel::Protocol;

namespace {

/// How an operation treats the reply to a request.
enum class Wait {
    Blocked, ///< the caller's thread did nothing else until it came
    Looped,  ///< the caller waited in an event loop
    None     ///< it came after the operation had returned
};

const char* waitName(Wait wait)
{
    switch (wait) {
    case Wait::Blocked:
        return "blocked";
    case Wait::Looped:
        return "event loop";
    case Wait::None:
        break;
    }
    return "none";
}

struct Recorded
{
    HttpRequest request;
    Wait wait;
};

/// Records what comes and answers it well: blocking requests at once, others from the event loop.
class Recorder : public HttpEngine
{
public:
    HttpReply exchange(const HttpRequest& request) override
    {
        record(request, Wait::Blocked);
        return okReply();
    }
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        const std::size_t index = record(request, Wait::None);
        const auto answer = [this, index, call = m_call, done = std::move(done)] {
            answered(index, call);
            done(okReply());
        };
        QMetaObject::invokeMethod(&m_home, answer, Qt::QueuedConnection);
        return true;
    }
    /// Begins a call: forgets the requests of the last one.
    void begin()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.clear();
        m_returned = false;
        ++m_call;
    }
    /// What is answered from now on was not waited for.
    void returned()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_returned = true;
    }
    std::vector<Recorded> requests() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_requests;
    }

private:
    // Every list has one element, as operations that look into a list first need it.
    static HttpReply okReply()
    {
        HttpReply reply;
        reply.status = 200;
        reply.body = QByteArrayLiteral(R"({"code":0,"message":"","data":[{"id":"1"}]})");
        return reply;
    }
    std::size_t record(const HttpRequest& request, Wait wait)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back({request, wait});
        return m_requests.size() - 1;
    }
    void answered(std::size_t index, int call)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (call == m_call && !m_returned) {
            m_requests[index].wait = Wait::Looped;
        }
    }

    QObject m_home;             // its thread's event loop answers
    mutable std::mutex m_mutex; // guards all below
    std::vector<Recorded> m_requests;
    bool m_returned = false;
    int m_call = 0;
};

QString bodyOf(const HttpRequest& request)
{
    if (request.multipart) {
        return QStringLiteral("form");
    }
    if (request.body.isEmpty()) {
        return QStringLiteral("none");
    }
    return request.body.startsWith('{')   ? QStringLiteral("object")
           : request.body.startsWith('[') ? QStringLiteral("array")
                                          : QStringLiteral("bytes");
}

bool has(const Operation& operation, ValueType type)
{
    for (const Parameter& parameter : operation.parameters) {
        if (parameter.type == type && parameter.direction != Parameter::Out) {
            return true;
        }
    }
    return false;
}

// Query parameters that the caller names have the sample's name.
QJsonObject requestObject(const Operation& operation, const Recorded& recorded)
{
    const HttpRequest& request = recorded.request;
    QStringList names = request.parameters.keys();
    const bool callersNames = has(operation, ValueType::TextMap) && names.removeOne(QStringLiteral("id"));
    return {{"verb", TesselCtl::verbOf(request.method)},
            {"path", request.path},
            {"body", bodyOf(request)},
            {"query", QJsonArray::fromStringList(names)},
            {"callersQuery", callersNames},
            {"timeLimit", request.expectedTime},
            {"daemon", request.daemon},
            {"wait", QLatin1String(waitName(recorded.wait))}};
}

/// Calls operations and tells what they did.
class Caller
{
public:
    explicit Caller(Recorder& recorder)
        : m_recorder(recorder)
    {
        for (const QObject* object : allOperators()) {
            m_catcher.watch(object);
        }
    }

    /// A device that no cache knows yet.
    static QString newDevice(Protocol protocol = Protocol::SingleScreen)
    {
        static int devices = 0;
        const QString device = QStringLiteral("device%1").arg(++devices);
        if (protocol == Protocol::MultiScreen) {
            HWInfo::getInstance()->getHwProtoc(device, true);
        }
        return device;
    }

    /// The requests of @p operation, each once.
    QJsonArray call(const Operation& operation, const QString& device, bool force)
    {
        m_recorder.begin();
        m_signals.clear();
        QVariantList arguments = TesselCtl::sampleArguments(operation, device);
        // A write of the gamma looks for the channels in its body; 3 stands for all.
        const QVariantMap body{{QStringLiteral("id"), QStringLiteral("1")}, {QStringLiteral("type"), 3}};
        for (std::size_t i = 0; i < operation.parameters.size(); ++i) {
            const QString& name = operation.parameters[i].name;
            if (name == QLatin1String("waitTime")) {
                arguments[static_cast<int>(i)] = 0; // added to the limit that the operation has
            } else if (name == QLatin1String("force")) {
                arguments[static_cast<int>(i)] = force;
            } else if (name == QLatin1String("body") && operation.parameters[i].type == ValueType::Map) {
                arguments[static_cast<int>(i)] = body;
            }
        }
        operation.invoke(arguments);
        m_recorder.returned();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
        QJsonArray list;
        for (const Recorded& recorded : m_recorder.requests()) {
            const QJsonObject object = requestObject(operation, recorded);
            if (!list.contains(object)) {
                list.append(object);
            }
        }
        return list;
    }
    /// The signals that the last call raised, each once.
    QStringList raised() const { return m_signals; }

private:
    Recorder& m_recorder;
    QStringList m_signals;
    SignalCatcher m_catcher{[this](const CaughtSignal& caught) {
        if (!m_signals.contains(caught.name)) {
            m_signals.append(caught.name);
        }
    }};
};

struct Entry
{
    const Operation& operation;
    QString name; ///< with its number where it is one of several overloads
};

std::vector<Entry> entries()
{
    const QStringList names = referenceNames(allOperations());
    std::vector<Entry> all;
    for (int i = 0; i < names.size(); ++i) {
        all.push_back({allOperations()[static_cast<std::size_t>(i)], names[i]});
    }
    return all;
}

/// An operation that sends less the second time.
struct CachedRead
{
    const Entry& entry;
    QJsonArray unforced; ///< what it sends first, without force
    QJsonArray spared;   ///< what it does not send again
};

/// The requests of @p all that are not among @p some.
QJsonArray without(const QJsonArray& all, const QJsonArray& some)
{
    QJsonArray rest;
    for (const QJsonValue& one : all) {
        if (!some.contains(one)) {
            rest.append(one);
        }
    }
    return rest;
}

/// "GET /api/v1/device/hw"
QJsonArray linesOf(const QJsonArray& requests)
{
    QJsonArray lines;
    for (const QJsonValue& request : requests) {
        lines.append(request[QStringLiteral("verb")].toString() + QLatin1Char(' ') +
                     request[QStringLiteral("path")].toString());
    }
    return lines;
}

std::vector<CachedRead> cachedReads(Caller& caller, const std::vector<Entry>& all)
{
    std::vector<CachedRead> reads;
    for (const Entry& entry : all) {
        if (!entry.operation.takesDevice()) {
            continue;
        }
        const QString device = Caller::newDevice();
        const QJsonArray forced = caller.call(entry.operation, device, true);
        const QJsonArray spared = without(forced, caller.call(entry.operation, device, false));
        if (!spared.isEmpty()) {
            reads.push_back({entry, caller.call(entry.operation, Caller::newDevice(), false), spared});
        }
    }
    return reads;
}

/// Whether @p read sends less after @p operation.
bool fillsFor(Caller& caller, const Operation& operation, const CachedRead& read)
{
    const QString device = Caller::newDevice();
    caller.call(operation, device, true);
    const QJsonArray later = caller.call(read.entry.operation, device, false);
    return without(later, read.unforced).isEmpty() && later.size() < read.unforced.size();
}

QJsonArray parametersOf(const Operation& operation)
{
    const char* const directions[] = {"in", "out", "inout"};
    QJsonArray list;
    for (const Parameter& parameter : operation.parameters) {
        list.append(QJsonObject{{"name", parameter.name},
                                {"type", placeholderOf(parameter.type)},
                                {"direction", QLatin1String(directions[parameter.direction])}});
    }
    return list;
}

} // namespace

QJsonArray operationFacts()
{
    auto engine = std::make_unique<Recorder>();
    Recorder& recorder = *engine;
    HttpProxy::getInstance()->setEngine(std::move(engine));
    Caller caller(recorder);
    const std::vector<Entry> all = entries();
    const std::vector<CachedRead> reads = cachedReads(caller, all);

    QJsonArray list;
    for (const auto& [operation, name] : all) {
        bool waitTime = false;
        for (const Parameter& parameter : operation.parameters) {
            waitTime = waitTime || parameter.name == QLatin1String("waitTime");
        }
        QJsonObject requests;
        QStringList raised;
        for (const auto& row : Tessel::protocols) {
            if (row.protocol == Protocol::SingleScreen || operation.choosesByProtocol()) {
                requests.insert(QLatin1String(row.name),
                                caller.call(operation, Caller::newDevice(row.protocol), true));
                raised += caller.raised();
            }
        }
        raised.removeDuplicates();
        QJsonArray spared;
        QStringList fills;
        for (const CachedRead& read : reads) {
            if (read.entry.name == name) {
                spared = linesOf(read.spared);
            }
            if (operation.takesDevice() && fillsFor(caller, operation, read)) {
                fills.append(read.entry.name);
            }
        }
        list.append(QJsonObject{{"name", name},
                                {"waitTime", waitTime},
                                {"requests", requests},
                                {"usage", operation.usage()},
                                {"parameters", parametersOf(operation)},
                                {"spared", spared},
                                {"fills", QJsonArray::fromStringList(fills)},
                                {"signals", QJsonArray::fromStringList(raised)}});
    }
    HttpProxy::getInstance()->setEngine(nullptr);
    return list;
}
