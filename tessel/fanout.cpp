// SPDX-License-Identifier: MIT
#include <tessel/fanout.h>

#include <tessel/request.h>

#include <QDebug>
#include <QEventLoop>
#include <QPointer>
#include <QTimer>

namespace Tessel {

namespace {

using Start = bool (HttpProxy::*)(const QString&, HttpJsonPackage*);
using Succeeded = std::function<void(const HttpJsonPackage&, const QString& id)>;

bool exchangeAll(Start start, const QString& path, const QVariant& body, const QString& deviceKey,
                 const QStringList& ids, const Succeeded& onSuccess)
{
    QEventLoop loop;
    int remaining = ids.size();
    bool ok = true;
    const auto countDown = [&loop, &remaining] {
        if (--remaining == 0)
            loop.quit();
    };

    std::vector<QPointer<HttpJsonPackage>> packages; // null once a package is gone
    for (const QString& id : ids) {
        auto* package = new HttpJsonPackage(nullptr);
        const std::size_t position = packages.size();
        packages.emplace_back(package);
        package->setUrl(path);
        if (body.isValid())
            package->setRequestWithJsonObj(body);
        package->addPlaceHolders(QStringLiteral("id"), id);
        QObject::connect(package, &HttpJsonPackage::readyRead, &loop, [&, id](HttpJsonPackage* reply) {
            if (succeeded(*reply))
                onSuccess(*reply, id);
            else
                ok = false;
            reply->deleteLater();
            countDown();
        });
        QTimer::singleShot(package->expectedTime(), &loop, [&ok, &packages, position, countDown] {
            ok = false;
            if (HttpJsonPackage* late = packages[position])
                late->deleteLater();
            countDown();
        });
        (HttpProxy::getInstance()->*start)(deviceKey, package);
    }

    loop.exec();

    // A stale timer may have ended the loop before the slowest reply; its package has no listener any more.
    for (const QPointer<HttpJsonPackage>& package : packages) {
        if (package)
            package->deleteLater();
    }
    return ok;
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
    return exchangeAll(&HttpProxy::get, m_path, m_body, deviceKey, ids,
                       [&results](const HttpJsonPackage& reply, const QString& id) {
                           QMap<QString, QVariant> map = reply.getRoutesJsonMap();
                           map.insert(QStringLiteral("id"), id);
                           results.append(QVariant(map));
                       });
}

bool GroupRequest::put(const QString& deviceKey, const QStringList& ids)
{
    return exchangeAll(&HttpProxy::put, m_path, m_body, deviceKey, ids,
                       [](const HttpJsonPackage&, const QString&) {});
}

bool putToDevices(const char* function, const std::vector<QMap<QString, QVariant>>& items,
                  const std::function<const char*(const QString& deviceKey)>& routeKeyFor, int expectedTime)
{
    if (items.empty()) {
        // The text speaks of a trigger, though it is the list that is empty. Kept so.
        qCritical() << function << "System error! trigger is nullptr";
        return false;
    }
    std::vector<std::unique_ptr<HttpJsonPackage>> packages;
    std::size_t finished = 0;
    QEventLoop loop;
    for (const QMap<QString, QVariant>& item : items) {
        packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
        HttpJsonPackage* package = packages.back().get();
        QObject::connect(package, &HttpJsonPackage::readyRead, &loop, [&loop, &finished, &items] {
            if (++finished == items.size())
                loop.quit();
        });
        const QString deviceKey = item.value(QStringLiteral("devKey")).toString();
        package->setUrl(routePath(routeKeyFor(deviceKey)));
        package->setRequestWithJsonObj(QVariant(item));
        package->setExpectedTime(expectedTime);
        HttpProxy::getInstance()->putMultSync(deviceKey, package);
    }
    // The timer stands for the whole batch: when it fires, packages already answered fail with the rest.
    QTimer::singleShot(expectedTime, &loop, [&loop, &packages] {
        for (const auto& package : packages)
            package->setSimpleState(static_cast<HttpJsonPackage::HttpSimpleState>(1));
        loop.quit();
    });

    loop.exec(QEventLoop::ExcludeUserInputEvents);

    bool ok = true;
    for (const auto& package : packages)
        ok = ok && succeeded(*package);
    return ok;
}

} // namespace Tessel
