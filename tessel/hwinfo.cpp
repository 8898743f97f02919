// SPDX-License-Identifier: MIT
#include <tessel/hwinfo.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/promiserequest.h>
#include <tessel/frames/request.h>

#include <QDebug>

using Tessel::cached;
using Tessel::changeEvent;
using Tessel::eventPayload;
using Tessel::isEvent;
using Tessel::outputFromCache;
using Tessel::PendingRequest;
using Tessel::PromiseRequest;
using Tessel::PushEvent;
using Tessel::Request;

HWInfo* HWInfo::m_pInstance = nullptr;

HWInfo* HWInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new HWInfo(nullptr);
    }
    return m_pInstance;
}

HWInfo::HWInfo(QObject* parent)
    : QObject(parent)
{
    Tessel::listenToDevices(this, &HWInfo::forgetDevice, &HWInfo::handleEvent);
}

HWInfo::~HWInfo() = default;

void HWInfo::startWatch()
{
    m_isWatch = true;
}

void HWInfo::shutDownWatch()
{
    m_isWatch = false;
}

bool HWInfo::getHWInfo(const QString& deviceKey, bool force)
{
    return cached(m_hwInfo, deviceKey, force || !m_isWatch) ||
           Request("Device_Hwinfo").fetch(deviceKey, m_hwInfo);
}

bool HWInfo::getHWInfo(const QString& deviceKey, QMap<QString, QVariant>& result, bool force)
{
    return outputFromCache(getHWInfo(deviceKey, force), m_hwInfo, deviceKey, result);
}

QtPromise::QPromise<Tessel::DeviceInfo> HWInfo::getHWInfo2(const QString& deviceKey)
{
    return PromiseRequest("Device_Hwinfo").getRecord<Tessel::DeviceInfo>(deviceKey);
}

// Quirk: A device type counts as known whatever its value.
bool HWInfo::getHWDeviceType(const QString& deviceKey)
{
    return m_hwInfo.value(deviceKey).contains(QStringLiteral("capability.deviceType"));
}

// Quirk: Any answer on the route of the protocol version means the multi-screen protocol.
bool HWInfo::getHwProtoc(const QString& deviceKey, bool force)
{
    if (!force) {
        return m_hwProtoc.contains(deviceKey);
    }
    const bool answered = Request("Device_Protoc").get(deviceKey);
    if (answered) {
        m_hwProtoc.insert(deviceKey);
    }
    return answered;
}

// Quirk: A missing capability version counts as an earlier one.
Correction::EnumScreenVer HWInfo::getCapabilityProtoc(const QString& deviceKey, bool force)
{
    if (force) {
        QMap<QString, QVariant> reply;
        if (!Request("Device_Capability_Protoc").get(deviceKey, reply)) {
            return Correction::UnknownVersion;
        }
        m_capabilityVersion[deviceKey] = reply.value(QStringLiteral("CapabilityVersion")).toString();
    }
    const auto version = m_capabilityVersion.constFind(deviceKey);
    if (version == m_capabilityVersion.constEnd()) {
        return Correction::UnknownVersion;
    }
    // Quirk: Log lines that read like leftovers are fixed.
    qDebug() << "key:" << deviceKey << " isNew" << *version;
    return *version == QLatin1String("V3.0") ? Correction::V3 : Correction::EarlierThanV3;
}

// Quirk: The protocol and capability versions outlive a logout. A device that returns is still known.
void HWInfo::forgetDevice(const QString& deviceKey)
{
    m_hwInfo.remove(deviceKey);
}

void HWInfo::handleEvent(const QByteArray& data, const QString& deviceKey)
{
    if (!m_isWatch) {
        return;
    }
    const QMap<QString, QVariant> event = changeEvent(data);
    if (isEvent(event, PushEvent::HwInfo)) {
        PendingRequest("Device_Hwinfo").refresh(deviceKey, m_hwInfo, [this](bool stored) {
            if (stored) {
                Q_EMIT signal_sendDataChanged();
            }
        });
    } else if (isEvent(event, PushEvent::CustomName)) {
        const QString name = eventPayload(event, PushEvent::CustomName).toString();
        if (!name.isEmpty()) {
            Q_EMIT signal_customNameChanged(deviceKey, name);
        }
    }
}
