// SPDX-License-Identifier: MIT
#include "tesselctl/operations/requestprobe.h"

#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>
#include <tessel/hwinfo.h>

#include <QCoreApplication>
#include <QObject>

#include <algorithm>
#include <mutex>
#include <utility>

namespace TesselCtl {

using Tessel::Operations::Parameter;
using Tessel::Operations::ValueType;

using Krelm::Communicator::HttpDevice::HttpEngine;
using Krelm::Communicator::HttpDevice::HttpMethod;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Krelm::Communicator::HttpDevice::HttpReply;
using Krelm::Communicator::HttpDevice::HttpRequest;

namespace {

// Nothing empty: operations on several ids wait for ever without one, and others send nothing.
QVariant sampleOf(ValueType type, const QString& device)
{
    const QString one = QStringLiteral("1");
    switch (type) {
    case ValueType::Text:
        return one;
    case ValueType::Integer:
    case ValueType::LongInteger:
        return 1;
    case ValueType::Boolean:
        return true;
    case ValueType::Bytes:
        return one.toUtf8();
    case ValueType::Map:
    case ValueType::Parts:
    case ValueType::TextMap:
    case ValueType::AnyValue:
        return QVariantMap{{QStringLiteral("id"), one}};
    case ValueType::List:
    case ValueType::Coefficients:
        return QVariantList{QVariantMap{{QStringLiteral("id"), one}}};
    case ValueType::TextList:
        return QVariantList{one};
    case ValueType::MapList:
        return QVariantList{QVariantMap{{QStringLiteral("devKey"), device}}};
    case ValueType::MapOfMaps:
        return QVariantMap{{one, QVariantMap()}};
    }
    return {};
}

// Every list has one element, as operations that look into a list first need it.
HttpReply okReply()
{
    HttpReply reply;
    reply.status = 200;
    reply.body = QByteArrayLiteral(R"({"code":0,"message":"","data":[{"id":"1"}]})");
    return reply;
}

} // namespace

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

QVariantList sampleArguments(const Operation& operation, const QString& device)
{
    QVariantList values;
    for (const Parameter& parameter : operation.parameters) {
        values.append(sampleOf(parameter.type, device));
    }
    if (operation.takesDevice()) {
        values[0] = device;
    }
    return values;
}

/// Records what comes and answers it well: blocking requests at once, others from the event loop.
class RequestProbe::Engine : public HttpEngine
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

    ProbedRequests take()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_requests, {});
    }

private:
    void record(const HttpRequest& request)
    {
        const ProbedRequest probed{verbOf(request.method), request.path, request.multipart};
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (std::find(m_requests.begin(), m_requests.end(), probed) == m_requests.end()) {
            m_requests.push_back(probed);
        }
    }

    QObject m_home;     // its thread's event loop answers
    std::mutex m_mutex; // guards the requests
    ProbedRequests m_requests;
};

RequestProbe::RequestProbe()
{
    auto engine = std::make_unique<Engine>();
    m_engine = engine.get();
    HttpProxy::getInstance()->setEngine(std::move(engine));
}

RequestProbe::~RequestProbe()
{
    HttpProxy::getInstance()->setEngine(nullptr);
}

ProbedRequests RequestProbe::requestsOf(const Operation& operation, Tessel::Protocol protocol)
{
    // A device of its own, so that no cache answers, nor one that an earlier probe filled.
    static int devices = 0;
    const QString device = QStringLiteral("probe%1").arg(++devices);
    if (protocol == Tessel::Protocol::MultiScreen) {
        HWInfo::getInstance()->getHwProtoc(device, true);
    }
    m_engine->take();
    operation.invoke(sampleArguments(operation, device));
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents();
    return m_engine->take();
}

} // namespace TesselCtl
