// SPDX-License-Identifier: MIT
#include <tessel/inputinfo.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/grouprequest.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/request.h>

using Tessel::cached;
using Tessel::GroupRequest;
using Tessel::outputFromCache;
using Tessel::PendingRequest;
using Tessel::Request;

InputInfo* InputInfo::m_pInstance = nullptr;

InputInfo* InputInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new InputInfo(nullptr);
    }
    return m_pInstance;
}

InputInfo::InputInfo(QObject* parent)
    : QObject(parent)
{
    Tessel::listenToDevices(this, &InputInfo::onLogout, &InputInfo::onEvent);
}

InputInfo::~InputInfo() = default;

void InputInfo::onLogout(const QString& deviceKey)
{
    m_inputsInfo.remove(deviceKey);
}

void InputInfo::onEvent(const QByteArray& data, const QString& deviceKey)
{
    if (!m_isWatch) {
        return;
    }
    const QMap<QString, QVariant> event = Tessel::changeEvent(data);
    if (!Tessel::isEvent(event, Tessel::PushEvent::Inputs)) {
        return;
    }
    m_changeInputId =
        static_cast<unsigned short>(Tessel::eventPayload(event, Tessel::PushEvent::Inputs).toUInt());
    PendingRequest("Device_AllInputs").refresh(deviceKey, m_inputsInfo, [this, deviceKey](bool stored) {
        if (stored) {
            Q_EMIT signal_sendDataChanged(deviceKey, m_changeInputId);
        }
    });
}

void InputInfo::startWatch()
{
    m_isWatch = true;
}

void InputInfo::shutDownWatch()
{
    m_isWatch = false;
}

bool InputInfo::getAllInputsInfo(const QString& deviceKey, bool force)
{
    return cached(m_inputsInfo, deviceKey, force || !m_isWatch) ||
           Request("Device_AllInputs").fetch(deviceKey, m_inputsInfo);
}

bool InputInfo::getAllInputsInfo(const QString& deviceKey, QList<QVariant>& result, bool force)
{
    return outputFromCache(getAllInputsInfo(deviceKey, force), m_inputsInfo, deviceKey, result);
}

bool InputInfo::getSignal(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_Signal").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getHdMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_HdMode").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getBackup(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_Backup").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getEDID(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_OneEDID").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getHue(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_Hue").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getContrast(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_Contrast").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getSaturation(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_Saturation").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getBlackLevel(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Device_Blacklevel").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::getVideoSourceBitDepth(const QString& deviceKey, const QString& id,
                                       QMap<QString, QVariant>& result)
{
    return Request("Device_VideoSourceBitDepth").placeHolder("id", id).get(deviceKey, result);
}

bool InputInfo::setHdMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply)
{
    return Request("Device_HdMode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setBackup(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply)
{
    return Request("Device_Backup").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setEDID(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply)
{
    return Request("Device_OneEDID").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setHue(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply)
{
    return Request("Device_Hue").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setContrast(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply)
{
    return Request("Device_Contrast").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setSaturation(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_Saturation").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setBlackLevel(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_Blacklevel").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::setVideoSourceBitDepth(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_VideoSourceBitDepth").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool InputInfo::clearInputBackup(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& reply)
{
    return Request("Device_ClearBackup").placeHolder("id", id).put(deviceKey, reply);
}

bool InputInfo::getAllInputBackup(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_AllInputBackup").get(deviceKey, result);
}

// Quirk: EDIDs are added in the order of arrival.
bool InputInfo::getEDIDs(const QString& deviceKey, const QStringList& ids, QList<QVariant>& result)
{
    return GroupRequest("Device_OneEDID").get(deviceKey, ids, result);
}

bool InputInfo::setHue(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                       QList<QVariant>& reply)
{
    return putGroupSync(deviceKey, ids, body, reply, QStringLiteral("Device_Hue"));
}

bool InputInfo::setContrast(const QString& deviceKey, const QStringList& ids,
                            const QMap<QString, QVariant>& body, QList<QVariant>& reply)
{
    return putGroupSync(deviceKey, ids, body, reply, QStringLiteral("Device_Contrast"));
}

bool InputInfo::setSaturation(const QString& deviceKey, const QStringList& ids,
                              const QMap<QString, QVariant>& body, QList<QVariant>& reply)
{
    return putGroupSync(deviceKey, ids, body, reply, QStringLiteral("Device_Saturation"));
}

bool InputInfo::setBlackLevel(const QString& deviceKey, const QStringList& ids,
                              const QMap<QString, QVariant>& body, QList<QVariant>& reply)
{
    return putGroupSync(deviceKey, ids, body, reply, QStringLiteral("Device_Blacklevel"));
}

// Quirk: Writes to several at once leave their results as they were.
bool InputInfo::putGroupSync(const QString& deviceKey, const QStringList& ids,
                             const QMap<QString, QVariant>& body, QList<QVariant>& /*result*/,
                             const QString& routeKey)
{
    return GroupRequest(routeKey).body(body).put(deviceKey, ids);
}
