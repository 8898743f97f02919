// SPDX-License-Identifier: MIT
#include <tessel/screeninfo.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/listof.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/promiserequest.h>
#include <tessel/frames/request.h>
#include <tessel/hwinfo.h>

#include <QDebug>

using Tessel::cached;
using Tessel::eventPayload;
using Tessel::isEvent;
using Tessel::PendingRequest;
using Tessel::PromiseRequest;
using Tessel::PushEvent;
using Tessel::Request;

namespace {

// The route of an explicit load.
// Quirk: A refresh asks otherwise than a read. Events and the typed read use the single-screen route, without
// parameters, on every device.
const char* screensRoute(const QString& deviceKey)
{
    if (!HWInfo::getInstance()->getHwProtoc(deviceKey, false)) {
        return "Device_AllScreens";
    }
    // Quirk: Log lines that read like leftovers are fixed.
    qDebug() << "------------xxxx---------------------";
    return "Device_Mult_AllScreens";
}

} // namespace

ScreenInfo* ScreenInfo::m_pInstance = nullptr;

ScreenInfo* ScreenInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new ScreenInfo(nullptr);
    }
    return m_pInstance;
}

ScreenInfo::ScreenInfo(QObject* parent)
    : QObject(parent)
{
    Tessel::listenToDevices(this, &ScreenInfo::onDeviceLogout, &ScreenInfo::onDeviceEvent);
}

ScreenInfo::~ScreenInfo() = default;

void ScreenInfo::startWatch()
{
    m_isWatch = true;
}

void ScreenInfo::shutDownWatch()
{
    m_isWatch = false;
}

bool ScreenInfo::getScreens(const QString& deviceKey, bool force)
{
    return cached(m_screens, deviceKey, force || !m_isWatch) ||
           Request(screensRoute(deviceKey))
               .parameter("subpixel", QStringLiteral("1"))
               .parameter("PageCorrection", QStringLiteral("1"))
               .expectedTime(30000)
               .fetch(deviceKey, m_screens);
}

// Quirk: Screens are added to what the output holds.
bool ScreenInfo::getScreens(const QString& deviceKey, QMap<QString, QMap<QString, QVariant>>& result,
                            bool force, bool perScreen)
{
    if (!getScreens(deviceKey, force)) {
        return false;
    }
    const auto screenId = QStringLiteral("screenID");
    const QMap<QString, QVariant> screens = m_screens.value(deviceKey);
    if (!perScreen) {
        result[screens.value(screenId).toString()] = screens;
        return true;
    }
    for (const QVariant& value : screens) {
        for (const QVariant& element : Tessel::listOf(value)) {
            const QMap<QString, QVariant> screen = element.toMap();
            result[screen.value(screenId).toString()] = screen;
        }
    }
    return true;
}

QtPromise::QPromise<Tessel::ScreensInfo> ScreenInfo::getScreens2(const QString& deviceKey)
{
    return PromiseRequest("Device_AllScreens").getRecord<Tessel::ScreensInfo>(deviceKey);
}

bool ScreenInfo::postScreens(const QString& deviceKey, QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply)
{
    return Request("Device_AllScreens").body(body).postNoReply(deviceKey, reply);
}

// Quirk: A failed read of the screen tags empties their cache.
bool ScreenInfo::getHWInfoScreenTag(const QString& deviceKey, QMap<QString, QVariant>& result)
{
    const bool answered = Request("ScreenHwScreenTag").get(deviceKey, result);
    m_screenTags[deviceKey] = result;
    return answered;
}

// Quirk: Some writes that are not waited for always report success.
bool ScreenInfo::putHWInfoScreenTag(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>&)
{
    Request("ScreenHwScreenTag").body(body).putNoReply(deviceKey);
    return true;
}

// Quirk: The properties of a screen outlive a logout.
void ScreenInfo::onDeviceLogout(const QString& deviceKey)
{
    m_screens.remove(deviceKey);
    m_screenTags.remove(deviceKey);
}

void ScreenInfo::onDeviceEvent(const QByteArray& data, const QString& deviceKey)
{
    if (!m_isWatch) {
        return;
    }
    const QMap<QString, QVariant> event = Tessel::changeEvent(data);
    if (isEvent(event, PushEvent::Screens)) {
        PendingRequest("Device_AllScreens").refresh(deviceKey, m_screens, [this, deviceKey](bool stored) {
            if (stored) {
                Q_EMIT signal_screenDataChanged(deviceKey);
            }
        });
    } else if (isEvent(event, PushEvent::ScreenTags)) {
        PendingRequest("ScreenHwScreenTag").refresh(deviceKey, m_screenTags, [this, deviceKey](bool stored) {
            if (stored) {
                Q_EMIT signal_screenTagChanged(deviceKey);
            }
        });
    } else if (isEvent(event, PushEvent::ScreenName)) {
        const QString name = eventPayload(event, PushEvent::ScreenName).toString();
        if (!name.isEmpty()) {
            Q_EMIT signal_screenNameChanged(deviceKey, name);
        }
    }
}
