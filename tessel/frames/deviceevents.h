// SPDX-License-Identifier: MIT
//
// Connects operators to pushed events, and parses these.
#ifndef TESSEL_FRAMES_DEVICEEVENTS_H
#define TESSEL_FRAMES_DEVICEEVENTS_H

#include <communicator/httpproxy.h>
#include <communicator/jsonutil.h>
#include <tessel/frames/missedevents.h>
#include <tessel/pushevents.h>

#include <QMap>
#include <QVariant>

namespace Tessel {

/// Connects an operator to pushed events. The connections are automatic, so the handlers run on the
/// operator's thread, whichever thread the transport emits on.
template <class Operator>
void listenToEvents(Operator* listener,
                    void (Operator::*event)(const QByteArray& data, const QString& deviceKey))
{
    using Krelm::Communicator::HttpDevice::HttpProxy;
    reportMissedEvents();
    QObject::connect(HttpProxy::getInstance(), &HttpProxy::deviceAutoReportData, listener, event);
}

/// Connects an operator to logouts and to pushed events, in this order.
template <class Operator>
void listenToDevices(Operator* listener, void (Operator::*logout)(const QString& deviceKey),
                     void (Operator::*event)(const QByteArray& data, const QString& deviceKey))
{
    using Krelm::Communicator::HttpDevice::HttpProxy;
    QObject::connect(HttpProxy::getInstance(), &HttpProxy::deviceLogout, listener, logout);
    listenToEvents(listener, event);
}

/// Parses an event of the change form (`dataType`, `changeTag`) into a flattened map; empty if @p data is not
/// a JSON object.
inline QMap<QString, QVariant> changeEvent(const QByteArray& data)
{
    QMap<QString, QVariant> event;
    JsonUtil::fromJsonToKeyPathMap(QString::fromUtf8(data), event);
    return event;
}

/// Parses an event of the envelope form (`eventSender`, `eventType`, `eventData`), leaving its payload as
/// parsed; empty if @p data is not a JSON object.
inline QMap<QString, QVariant> envelopeEvent(const QByteArray& data)
{
    QMap<QString, QVariant> event;
    JsonUtil::fromJsonToMapWithoutData(QString::fromUtf8(data), event);
    return event;
}

/// The member @p key as text; empty if it is missing.
inline QString eventText(const QMap<QString, QVariant>& event, const char* key)
{
    return event.value(QLatin1String(key)).toString();
}

/// Whether the event has the member @p key and its text is exactly @p text.
inline bool eventSays(const QMap<QString, QVariant>& event, const char* key, const char* text)
{
    const auto member = event.constFind(QLatin1String(key));
    return member != event.constEnd() && member->toString() == QLatin1String(text);
}

/// The data of the event @p expected, that is, its name or payload; invalid if the member is missing.
inline QVariant eventPayload(const QMap<QString, QVariant>& event, PushEvent expected)
{
    return event.value(QLatin1String(eventRow(expected).text.payload));
}

/// Whether the event comes from the source of @p expected, of whatever kind it is.
inline bool comesFromSourceOf(const QMap<QString, QVariant>& event, PushEvent expected)
{
    const EventText::Member& source = eventRow(expected).text.source;
    return eventSays(event, source.key, source.text);
}

/// Whether the event is @p expected, that is, has its source and, if the form has one, its kind.
inline bool isEvent(const QMap<QString, QVariant>& event, PushEvent expected)
{
    const EventText::Member& kind = eventRow(expected).text.kind;
    return comesFromSourceOf(event, expected) && (!kind.key || eventSays(event, kind.key, kind.text));
}

} // namespace Tessel

#endif
