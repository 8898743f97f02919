// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_ENGINEBENCH_H
#define TESTS_COMMUNICATOR_ENGINEBENCH_H

#include "communicator/http/socketengine.h"
#include "communicator/runtime/ioloop.h"
#include "misbehavingserver.h"

#include <QLoggingCategory>
#include <QtTest>

#include <atomic>
#include <future>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Mode = MisbehavingServer::Mode;

/// The default reply of a server.
inline const QByteArray goodBody = QByteArrayLiteral("{\"code\":0,\"data\":{\"a\":1}}");

inline TransferLimits smallLimits()
{
    TransferLimits limits;
    limits.bodyBytes = 1 << 20;
    limits.downloadBytes = 2 << 20;
    return limits;
}

/// An engine of its own for one test, both ways of asking it.
struct Bench
{
    explicit Bench(const TransferLimits& limits = smallLimits())
        : engine(registry, loop, limits)
    {}

    std::shared_ptr<DeviceRegistry> registry = std::make_shared<DeviceRegistry>();
    std::shared_ptr<IoLoop> loop = std::make_shared<IoLoop>();
    SocketEngine engine;

    void add(const QString& key, const DeviceEndpoint& endpoint)
    {
        const DeviceRegistry::AddResult result = registry->add(key, endpoint);
        if (result.change == DeviceRegistry::Change::Refused) {
            qFatal("%s", qPrintable(result.error));
        }
    }

    HttpReply ask(const HttpRequest& request, bool blocking)
    {
        if (blocking) {
            return engine.exchange(request);
        }
        std::promise<HttpReply> promise;
        std::future<HttpReply> reply = promise.get_future();
        std::atomic<int> calls{0};
        engine.start(request, [&](const HttpReply& answered) {
            if (++calls == 1) {
                promise.set_value(answered);
            }
        });
        if (reply.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
            qFatal("the request never settled");
        }
        // What was posted before a barrier has run after it: a second call would be counted by now.
        loop->run([] {});
        if (calls != 1) {
            qFatal("the request settled %d times", calls.load());
        }
        return reply.get();
    }
};

inline HttpRequest request(const QString& deviceKey, HttpMethod method = HttpMethod::Get,
                           const QByteArray& body = {})
{
    HttpRequest request;
    request.deviceKey = deviceKey;
    request.method = method;
    request.path = QStringLiteral("/api/v1/x");
    request.body = body;
    request.expectedTime = 5000;
    return request;
}

inline void bothWays()
{
    QTest::addColumn<bool>("blocking");
    QTest::newRow("blocking") << true;
    QTest::newRow("non-blocking") << false;
}

/// Failures are what most of these tests are about; the log is tested where it is read.
inline void muteLog()
{
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
}

#endif
