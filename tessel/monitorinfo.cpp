// SPDX-License-Identifier: MIT
#include <tessel/monitorinfo.h>

#include <tessel/frames/deviceevents.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/request.h>
#include <tessel/warningtypes.h>

#include <QDebug>

#include <cstdlib>
#include <optional>

using Tessel::HttpJsonPackage;
using Tessel::PendingRequest;
using Tessel::PushEvent;
using Tessel::Request;
using Tessel::WarningType;

namespace UrlResource {

MonitorInfo* MonitorInfo::m_pInstance = nullptr;

// Quirk: Monitoring hears every event twice. The constructor listens already.
MonitorInfo* MonitorInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new MonitorInfo(nullptr);
        if (!m_pInstance->init()) {
            qFatal("error init MonitorInfo ");
            std::exit(-1);
        }
    }
    return m_pInstance;
}

MonitorInfo::MonitorInfo(QObject* parent)
    : QObject(parent)
{
    init();
}

MonitorInfo::~MonitorInfo() = default;

bool MonitorInfo::init()
{
    Tessel::listenToEvents(this, &MonitorInfo::slot_onDeviceAutoReport);
    return true;
}

// Quirk: The callback of the monitoring data owns the package.
bool MonitorInfo::getMonitorData(const QString& deviceKey, std::function<void(HttpJsonPackage*)> callback)
{
    PendingRequest("MonitorData").get(deviceKey, std::move(callback));
    return true;
}

// Quirk: Some placeholders of paths go out unfilled.
// Quirk: Some arguments are accepted and ignored.
bool MonitorInfo::getMonitorHistory(const QString& deviceKey, const QString& /*id*/, qint64 startTime,
                                    qint64 endTime, QList<QVariant>& result)
{
    return Request("MonitorHistory")
        .parameter("starttime", QString::number(startTime, 10))
        .parameter("endtime", QString::number(endTime, 10))
        .get(deviceKey, result);
}

// Quirk: Some arguments are accepted and ignored.
bool MonitorInfo::getMonitorLogs(const QString& deviceKey, qint64 /*startTime*/, qint64 /*endTime*/,
                                 QMap<QString, QVariant>& result)
{
    return Request("MonitorLog").get(deviceKey, result);
}

bool MonitorInfo::getMonitorState(const QString& deviceKey, QMap<QString, QVariant>& result)
{
    return Request("MonitorState").get(deviceKey, result);
}

void MonitorInfo::slot_onDeviceAutoReport(const QByteArray& data, const QString& deviceKey)
{
    const QMap<QString, QVariant> event = Tessel::envelopeEvent(data);
    if (!Tessel::comesFromSourceOf(event, PushEvent::FanSpeed)) {
        return;
    }
    const QString name = Tessel::eventText(event, Tessel::eventRow(PushEvent::FanSpeed).text.kind.key);
    const std::optional<WarningType> type = Tessel::warningTypeNamed(name.toStdString());
    if (!type) {
        qCritical() << "error eventType " << name;
        return;
    }
    const QVariant payload = Tessel::eventPayload(event, PushEvent::FanSpeed);
    switch (*type) {
    case WarningType::FanSpeed:
    case WarningType::Voltage:
    case WarningType::Temperature:
        Q_EMIT signal_tqWarningReport(deviceKey, payload, static_cast<int>(*type));
        break;
    case WarningType::Output:
        Q_EMIT signal_tqOutputStateChanged(deviceKey, payload);
        break;
    case WarningType::Cabinet:
        Q_EMIT signal_cabinetWarningReport(deviceKey, payload);
        break;
    }
}

} // namespace UrlResource
