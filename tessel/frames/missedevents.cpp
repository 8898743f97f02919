// SPDX-License-Identifier: MIT
#include "tessel/frames/missedevents.h"

#include <communicator/httpproxy.h>
#include <tessel/pushevents.h>

#include <QJsonDocument>
#include <QJsonObject>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

QByteArray eventText(const EventRow& row)
{
    QJsonObject object{{QLatin1String(row.text.source.key), QLatin1String(row.text.source.text)}};
    if (row.text.kind.key) {
        object.insert(QLatin1String(row.text.kind.key), QLatin1String(row.text.kind.text));
    }
    if (row.text.payload) {
        // Without naming an element, since any of them may have changed.
        object.insert(QLatin1String(row.text.payload),
                      row.text.form == EventForm::Envelope ? QJsonValue(QJsonObject()) : QJsonValue(0));
    }
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

} // namespace

QByteArrayList refreshingEvents()
{
    QByteArrayList events;
    for (const EventRow& row : eventRows) {
        if (row.effects[0].routeKey) {
            events.append(eventText(row));
        }
    }
    return events;
}

// Called by name, so that a transport without such a report can be used too.
void reportMissedEvents()
{
    static const bool isDone = [] {
        HttpProxy* const proxy = HttpProxy::getInstance();
        if (proxy != nullptr && proxy->metaObject()->indexOfMethod("addChangeEvents(QByteArrayList)") >= 0) {
            QMetaObject::invokeMethod(proxy, "addChangeEvents", Q_ARG(QByteArrayList, refreshingEvents()));
        }
        return true;
    }();
    Q_UNUSED(isDone)
}

bool mayBeReadLater(const HttpJsonPackage& reply)
{
    switch (reply.getSimpleState()) {
    case HttpJsonPackage::Success:
        return !QJsonDocument::fromJson(reply.getReceiveData()).isObject();
    case HttpJsonPackage::InvalidRequest:
        return false;
    case HttpJsonPackage::HttpFailure:
        return reply.replyStatus == 401 || reply.replyStatus == 408 || reply.replyStatus == 429 ||
               reply.replyStatus >= 500;
    default:
        return true;
    }
}

void refreshed(const QString& deviceKey, const HttpJsonPackage& reply, bool hasData)
{
    HttpProxy* const proxy = HttpProxy::getInstance();
    if (!hasData && proxy != nullptr && mayBeReadLater(reply) &&
        proxy->metaObject()->indexOfMethod("readAfterEventFailed(QString)") >= 0) {
        QMetaObject::invokeMethod(proxy, "readAfterEventFailed", Qt::DirectConnection,
                                  Q_ARG(QString, deviceKey));
    }
}

} // namespace Tessel
