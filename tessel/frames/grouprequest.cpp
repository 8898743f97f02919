// SPDX-License-Identifier: MIT
#include <tessel/frames/grouprequest.h>

#include <tessel/frames/applicationend.h>
#include <tessel/frames/decoding.h>
#include <tessel/frames/operationscope.h>
#include <tessel/frames/packagefiller.h>

#include <communicator/httpproxy.h>

#include <QDebug>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>

namespace Tessel {

namespace {

using Krelm::Communicator::HttpDevice::HttpProxy;
using Start = bool (HttpProxy::*)(const QString&, HttpJsonPackage*);
using Exchange = void (HttpProxy::*)(const QString&, HttpJsonPackage*);
using Succeeded = std::function<void(const HttpJsonPackage&, const QString& id)>;

void fill(HttpJsonPackage& package, const QString& path, const QVariant& body, const QString& id)
{
    package.setUrl(path);
    if (body.isValid()) {
        package.setRequestWithJsonObj(body);
    }
    package.addPlaceHolders(QStringLiteral("id"), id);
}

// Without an event loop, one request after the other. An empty list returns at once.
bool exchangeInTurn(Exchange exchange, const QString& path, const QVariant& body, const QString& deviceKey,
                    const QStringList& ids, const Succeeded& onSuccess)
{
    bool ok = true;
    for (const QString& id : ids) {
        if (ApplicationEnd::hasCome()) {
            return false;
        }
        HttpJsonPackage package(nullptr);
        fill(package, path, body, id);
        (HttpProxy::getInstance()->*exchange)(deviceKey, &package);
        if (succeeded(package)) {
            onSuccess(package, id);
        } else {
            ok = false;
        }
    }
    return ok;
}

bool exchangeAll(Start start, Exchange exchange, const QString& path, const QVariant& body,
                 const QString& deviceKey, const QStringList& ids, const Succeeded& onSuccess)
{
    const OperationScope scope;
    if (ApplicationEnd::hasCome()) {
        return false;
    }
    if (!canRunEventLoop()) {
        return exchangeInTurn(exchange, path, body, deviceKey, ids, onSuccess);
    }
    QEventLoop loop;
    auto remaining = ids.size();
    bool ok = true;
    const auto countDown = [&loop, &remaining] {
        if (--remaining == 0) {
            loop.quit();
        }
    };

    std::vector<QPointer<HttpJsonPackage>> packages; // null once a package is gone
    for (const QString& id : ids) {
        auto* package = new HttpJsonPackage(nullptr);
        const std::size_t position = packages.size();
        packages.emplace_back(package);
        fill(*package, path, body, id);
        QObject::connect(package, &HttpJsonPackage::readyRead, &loop, [&, id](HttpJsonPackage* reply) {
            if (succeeded(*reply)) {
                onSuccess(*reply, id);
            } else {
                ok = false;
            }
            reply->deleteLater();
            countDown();
        });
        // Quirk: The timer of a request in a group outlives its reply.
        QTimer::singleShot(package->expectedTime(), &loop, [&ok, &packages, position, countDown] {
            ok = false;
            if (HttpJsonPackage* late = packages[position]) {
                late->deleteLater();
            }
            countDown();
        });
        (HttpProxy::getInstance()->*start)(deviceKey, package);
    }

    // Quirk: A group without ids waits until something else ends its loop.
    const bool ended = !execUntilApplicationEnds(loop);

    // A stale timer may have ended the loop before the slowest reply, whose package then has no listener.
    // Once the application has ended, nothing deletes it later either.
    for (const QPointer<HttpJsonPackage>& package : packages) {
        if (ended) {
            delete package.data();
        } else if (package) {
            package->deleteLater();
        }
    }
    return ok && !ended;
}

} // namespace

GroupRequest::GroupRequest(const char* routeKey)
    : m_path(routePath(routeKey))
{}

GroupRequest::GroupRequest(const QString& routeKey)
    : m_path(routePath(routeKey))
{}

GroupRequest& GroupRequest::body(const QMap<QString, QVariant>& map)
{
    m_body = QVariant(map);
    return *this;
}

bool GroupRequest::get(const QString& deviceKey, const QStringList& ids, QList<QVariant>& results)
{
    return exchangeAll(&HttpProxy::get, &HttpProxy::getSync, m_path, m_body, deviceKey, ids,
                       [&results](const HttpJsonPackage& reply, const QString& id) {
                           QMap<QString, QVariant> map = reply.getRoutesJsonMap();
                           map.insert(QStringLiteral("id"), id);
                           results.append(QVariant(map));
                       });
}

bool GroupRequest::put(const QString& deviceKey, const QStringList& ids)
{
    return exchangeAll(&HttpProxy::put, &HttpProxy::putSync, m_path, m_body, deviceKey, ids,
                       [](const HttpJsonPackage&, const QString&) {});
}

bool putToDevices(const char* function, const std::vector<QMap<QString, QVariant>>& items,
                  const std::function<const char*(const QString& deviceKey)>& routeKeyFor, int expectedTime)
{
    const OperationScope scope;
    if (items.empty()) {
        // Quirk: Log lines that read like leftovers are fixed. It is the list that is empty.
        qCritical() << function << "System error! trigger is nullptr";
        return false;
    }
    if (ApplicationEnd::hasCome()) {
        return false;
    }
    std::vector<std::unique_ptr<HttpJsonPackage>> packages;
    const auto addPackage = [&](const QMap<QString, QVariant>& item, const QString& deviceKey) {
        packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
        HttpJsonPackage* const package = packages.back().get();
        package->setUrl(routePath(routeKeyFor(deviceKey)));
        package->setRequestWithJsonObj(QVariant(item));
        package->setExpectedTime(expectedTime);
        return package;
    };
    const auto deviceOf = [](const QMap<QString, QVariant>& item) {
        return item.value(QStringLiteral("devKey")).toString();
    };
    bool ok = true;
    if (canRunEventLoop()) {
        QEventLoop loop;
        // Counted now: the list is the caller's, and event handlers may change it during the wait.
        std::size_t remaining = items.size();
        for (const QMap<QString, QVariant>& item : items) {
            const QString deviceKey = deviceOf(item);
            HttpJsonPackage* const package = addPackage(item, deviceKey);
            QObject::connect(package, &HttpJsonPackage::readyRead, &loop, [&loop, &remaining] {
                if (--remaining == 0) {
                    loop.quit();
                }
            });
            HttpProxy::getInstance()->putMultSync(deviceKey, package);
        }
        // Quirk: The time limit of a batch fails what was answered before.
        QTimer::singleShot(expectedTime, &loop, [&loop, &packages] {
            for (const auto& package : packages) {
                package->setSimpleState(static_cast<HttpJsonPackage::HttpSimpleState>(1));
            }
            loop.quit();
        });
        ok = execUntilApplicationEnds(loop, QEventLoop::ExcludeUserInputEvents);
    } else {
        for (const QMap<QString, QVariant>& item : items) {
            const QString deviceKey = deviceOf(item);
            HttpProxy::getInstance()->putSync(deviceKey, addPackage(item, deviceKey));
        }
        ok = !ApplicationEnd::hasCome();
    }
    for (const auto& package : packages) {
        ok = ok && succeeded(*package);
    }
    return ok;
}

} // namespace Tessel
