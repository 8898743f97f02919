// SPDX-License-Identifier: MIT
#include "tesselctl/requests/dryrun.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <communicator/exchangeobserver.h>
#include <communicator/httpengine.h>
#include <communicator/httpproxy.h>

#include <QUrl>
#include <QUrlQuery>

#include <future>
#include <mutex>
#include <utility>
#include <vector>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::ExchangeRecord;
using Krelm::Communicator::HttpDevice::HttpEngine;
using Krelm::Communicator::HttpDevice::HttpMethod;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Krelm::Communicator::HttpDevice::HttpReply;
using Krelm::Communicator::HttpDevice::HttpRequest;
using Krelm::Communicator::HttpDevice::tellObservers;

namespace {

QByteArray verbOf(HttpMethod method)
{
    switch (method) {
    case HttpMethod::Put:
        return QByteArrayLiteral("PUT");
    case HttpMethod::Post:
        return QByteArrayLiteral("POST");
    case HttpMethod::Delete:
        return QByteArrayLiteral("DELETE");
    case HttpMethod::Get:
        break;
    }
    return QByteArrayLiteral("GET");
}

QString pathOf(const HttpRequest& request)
{
    QString path = request.path;
    for (auto place = request.placeHolders.begin(); place != request.placeHolders.end(); ++place) {
        path.replace(QLatin1Char('{') + place.key() + QLatin1Char('}'),
                     QString::fromLatin1(QUrl::toPercentEncoding(place.value())));
    }
    QUrlQuery query;
    for (auto one = request.parameters.begin(); one != request.parameters.end(); ++one) {
        query.addQueryItem(one.key(), one.value());
    }
    return query.isEmpty() ? path : path + QLatin1Char('?') + query.toString(QUrl::FullyEncoded);
}

QVariant bodyOf(const HttpRequest& request)
{
    if (request.multipart) {
        QVariantMap parts;
        for (auto part = request.parts.begin(); part != request.parts.end(); ++part) {
            const bool isFile = part.value().userType() == QMetaType::QUrl;
            parts.insert(part.key(),
                         isFile ? QLatin1Char('@') + part.value().toUrl().toLocalFile() : part.value());
        }
        return parts;
    }
    if (request.body.isEmpty()) {
        return {};
    }
    const Expected<QVariant> json = parseJson(request.body);
    return json ? *json : QVariant(QString::fromUtf8(request.body));
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

/// Remembers what comes and answers it: blocking requests at once, others from a thread of their own.
class DryRun::Engine : public HttpEngine
{
public:
    HttpReply exchange(const HttpRequest& request) override
    {
        remember(request);
        return answer(request);
    }

    bool start(const HttpRequest& request, std::function<void(const HttpReply&)> done) override
    {
        remember(request);
        m_answers.push_back(
            std::async(std::launch::async, [request, done = std::move(done)] { done(answer(request)); }));
        return true;
    }

    QVariantList writes() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_writes;
    }

private:
    static HttpReply answer(const HttpRequest& request)
    {
        HttpReply reply = okReply();
        ExchangeRecord record;
        record.deviceKey = request.deviceKey;
        record.verb = verbOf(request.method);
        record.path = pathOf(request).toUtf8();
        record.status = reply.status;
        record.reply = reply.body;
        record.id = request.id;
        tellObservers(record);
        return reply;
    }

    void remember(const HttpRequest& request)
    {
        if (request.method == HttpMethod::Get) {
            return;
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_writes << QVariantMap{{QStringLiteral("verb"), QString::fromLatin1(verbOf(request.method))},
                                {QStringLiteral("path"), pathOf(request)},
                                {QStringLiteral("body"), bodyOf(request)}};
    }

    std::vector<std::future<void>> m_answers; // only start() uses them, which one thread calls
    mutable std::mutex m_mutex;               // guards the writes
    QVariantList m_writes;
};

DryRun::DryRun()
{
    auto engine = std::make_unique<Engine>();
    m_engine = engine.get();
    HttpProxy::getInstance()->setEngine(std::move(engine));
}

DryRun::~DryRun()
{
    HttpProxy::getInstance()->setEngine(nullptr);
}

QVariantList DryRun::writes() const
{
    return m_engine->writes();
}

QString unsentText(const QVariantList& writes)
{
    QString lines = QStringLiteral(": not sent:\n");
    for (const QVariant& one : writes) {
        const QVariantMap request = one.toMap();
        const QVariant body = request.value(QStringLiteral("body"));
        lines += request.value(QStringLiteral("verb")).toString() + QLatin1Char(' ') +
                 printable(request.value(QStringLiteral("path")).toString()) +
                 (body.isValid() ? QLatin1Char(' ') + formatInline(body) : QString()) + QLatin1Char('\n');
    }
    return lines;
}

} // namespace TesselCtl
