// SPDX-License-Identifier: MIT
//
// Prints as JSON what the code knows of the device API: its routes with their verbs, what each operation
// sends, the pushed events, and what a small simulated controller replies. `api/assemble` puts it into
// `api/openapi.json`.
#include "tesselctl/operations/requestprobe.h"
#include <operations/operationlist.h>

#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>
#include <simulator/routes/routetable.h>
#include <simulator/simulator.h>
#include <tessel/hwinfo.h>
#include <tessel/protocols.h>
#include <tessel/pushevents.h>

#include <QCoreApplication>
#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>
#include <QStringList>

#include <cstdio>
#include <mutex>
#include <utility>
#include <vector>

using namespace Krelm::Communicator::HttpDevice;
using namespace Tessel::Operations;
using Tessel::Protocol;
using Tessel::Simulator::RouteTable;

namespace {

/// Records what comes and answers it well: blocking requests at once, others from the event loop.
class Recorder : public HttpEngine
{
public:
    HttpReply exchange(const HttpRequest& request) override
    {
        record(request);
        return okReply();
    }
    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        record(request);
        QMetaObject::invokeMethod(
            &m_home, [done = std::move(done)] { done(okReply()); }, Qt::QueuedConnection);
        return true;
    }
    std::vector<HttpRequest> take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_requests, {});
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
    void record(const HttpRequest& request)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request);
    }

    QObject m_home;     // its thread's event loop answers
    std::mutex m_mutex; // guards the requests
    std::vector<HttpRequest> m_requests;
};

QString verbOf(HttpMethod method)
{
    switch (method) {
    case HttpMethod::Put:
        return QStringLiteral("PUT");
    case HttpMethod::Post:
        return QStringLiteral("POST");
    case HttpMethod::Delete:
        return QStringLiteral("DELETE");
    case HttpMethod::Get:
        break;
    }
    return QStringLiteral("GET");
}

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
QJsonObject requestObject(const Operation& operation, const HttpRequest& request)
{
    QStringList names = request.parameters.keys();
    const bool callersNames = has(operation, ValueType::TextMap) && names.removeOne(QStringLiteral("id"));
    return {{"verb", verbOf(request.method)}, {"path", request.path},
            {"body", bodyOf(request)},        {"query", QJsonArray::fromStringList(names)},
            {"callersQuery", callersNames},   {"timeLimit", request.expectedTime}};
}

QJsonArray requestsOf(Recorder& recorder, const Operation& operation, Protocol protocol)
{
    static int devices = 0;
    const QString device = QStringLiteral("device%1").arg(++devices);
    if (protocol == Protocol::MultiScreen) {
        HWInfo::getInstance()->getHwProtoc(device, true);
    }
    recorder.take();
    QVariantList arguments = TesselCtl::sampleArguments(operation, device);
    for (std::size_t i = 0; i < operation.parameters.size(); ++i) {
        // Added to the limit that the operation has.
        if (operation.parameters[i].name == QLatin1String("waitTime")) {
            arguments[static_cast<int>(i)] = 0;
        }
    }
    operation.invoke(arguments);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    QJsonArray list;
    for (const HttpRequest& request : recorder.take()) {
        const QJsonObject object = requestObject(operation, request);
        if (!list.contains(object)) {
            list.append(object);
        }
    }
    return list;
}

QJsonArray operations()
{
    auto engine = std::make_unique<Recorder>();
    Recorder& recorder = *engine;
    HttpProxy::getInstance()->setEngine(std::move(engine));
    QHash<QString, int> overloads;
    for (const Operation& operation : allOperations()) {
        ++overloads[operation.qualifiedName()];
    }
    QHash<QString, int> seen;
    QJsonArray list;
    for (const Operation& operation : allOperations()) {
        QString name = operation.qualifiedName();
        const int number = ++seen[name];
        if (overloads.value(name) > 1) {
            name += QStringLiteral("#%1").arg(number);
        }
        bool waitTime = false;
        for (const Parameter& parameter : operation.parameters) {
            waitTime = waitTime || parameter.name == QLatin1String("waitTime");
        }
        QJsonObject requests;
        for (const auto& row : Tessel::protocols) {
            if (row.protocol == Protocol::SingleScreen || operation.choosesByProtocol()) {
                requests.insert(QLatin1String(row.name), requestsOf(recorder, operation, row.protocol));
            }
        }
        list.append(QJsonObject{{"name", name}, {"waitTime", waitTime}, {"requests", requests}});
    }
    HttpProxy::getInstance()->setEngine(nullptr);
    return list;
}

const char* scopeName(Tessel::Simulator::Scope scope)
{
    using Tessel::Simulator::Scope;
    switch (scope) {
    case Scope::Collection:
        return "collection";
    case Scope::Instance:
        return "instance";
    case Scope::Property:
        return "property";
    case Scope::Plural:
        return "plural";
    case Scope::Firmware:
        return "firmware";
    case Scope::Value:
        break;
    }
    return "value";
}

QJsonArray routes()
{
    using namespace Tessel::Simulator;
    const std::pair<Verb, const char*> verbNames[] = {
        {Get, "GET"}, {Put, "PUT"}, {Post, "POST"}, {Delete, "DELETE"}};
    QJsonArray list;
    for (const auto& route : RouteTable::instance().routes()) {
        QJsonArray keys;
        for (const auto& key : route.keys) {
            keys.append(QString::fromStdString(key));
        }
        QJsonArray verbs;
        for (const auto& [verb, name] : verbNames) {
            if (route.verbs & verb) {
                verbs.append(QLatin1String(name));
            }
        }
        QJsonArray events;
        for (const auto& event : {route.nameEvent, route.changeEvent}) {
            if (event) {
                const auto& text = Tessel::eventRow(*event).text;
                events.append(QLatin1String(text.kind.text ? text.kind.text : text.source.text));
            }
        }
        list.append(QJsonObject{{"path", QString::fromStdString(route.pattern)},
                                {"keys", keys},
                                {"verbs", verbs},
                                {"events", events},
                                {"scope", QLatin1String(scopeName(route.scope))},
                                {"takesFiles", route.takesFiles},
                                {"multiScreenOnly", route.multiScreenOnly}});
    }
    return list;
}

QJsonArray events()
{
    QJsonArray list;
    for (const auto& row : Tessel::eventRows) {
        QJsonObject members{{QLatin1String(row.text.source.key), QLatin1String(row.text.source.text)}};
        if (row.text.kind.key) {
            members.insert(QLatin1String(row.text.kind.key), QLatin1String(row.text.kind.text));
        }
        QJsonArray signalNames;
        QJsonArray fetches;
        for (const auto& effect : row.effects) {
            if (effect.signal) {
                signalNames.append(QLatin1String(row.operatorClass) + "::" + QLatin1String(effect.signal));
            }
            if (effect.routeKey) {
                fetches.append(QLatin1String(effect.routeKey));
            }
        }
        list.append(QJsonObject{{"members", members},
                                {"payload", QLatin1String(row.text.payload)},
                                {"fetches", fetches},
                                {"signals", signalNames}});
    }
    return list;
}

QString withIds(QString path)
{
    for (const char* placeholder : {"{id}", "{cid}", "{outputid}"}) {
        path.replace(QLatin1String(placeholder), QStringLiteral("1"));
    }
    return path;
}

QJsonObject replies()
{
    Tessel::Simulator::Options options;
    options.screens = 1;
    options.cabinets = 2;
    options.inputs = 1;
    const Tessel::Simulator::Simulator simulator(options);
    QJsonObject all;
    for (const auto& route : RouteTable::instance().routes()) {
        const QString path = QString::fromStdString(route.pattern);
        const QByteArray data =
            route.scope == Tessel::Simulator::Scope::Firmware ? QByteArray() : simulator.value(withIds(path));
        if (!data.isEmpty()) {
            all.insert(path, QJsonDocument::fromJson("[" + data + "]").array().first());
        }
    }
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    // What operations log about sample arguments helps nobody.
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    const QJsonObject facts{
        {"routes", routes()}, {"operations", operations()}, {"events", events()}, {"replies", replies()}};
    const QByteArray text = QJsonDocument(facts).toJson(QJsonDocument::Compact);
    return std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout) ==
                   static_cast<std::size_t>(text.size())
               ? 0
               : 1;
}
