// SPDX-License-Identifier: MIT
#include <tessel/hwscreeninfo.h>

#include <tessel/frames/request.h>
#include <tessel/frames/routebyprotocol.h>

using Tessel::Request;
using Tessel::routeByProtocol;

HwScreenInfo* HwScreenInfo::m_pInstance = nullptr;

HwScreenInfo* HwScreenInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new HwScreenInfo(nullptr);
    }
    return m_pInstance;
}

HwScreenInfo::HwScreenInfo(QObject* parent)
    : QObject(parent)
{}

HwScreenInfo::~HwScreenInfo() = default;

// Quirk: Some operations use the single-screen route on every device.
bool HwScreenInfo::setEdgeSwitch(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_EdgetSwitch").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setEdgeChangeBK(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_EdgetChangeBK").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setEdgeDrawLine(const QString& deviceKey, const QList<QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_DrawLine").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setEdgeDrawSectionLine(const QString& deviceKey, const QList<QVariant>& body,
                                          QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_DrawSectionLine").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setEdgeDrawRect(const QString& deviceKey, const QList<QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_DrawRect").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setEdgeDrawMouse(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_DrawMouse").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setEdgeClearImage(const QString& deviceKey, QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_EdgeClear").put(deviceKey, reply);
}

bool HwScreenInfo::setUpdateScreen(const QString& deviceKey, QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_EdgeUpdateScreen").put(deviceKey, reply);
}

bool HwScreenInfo::setCorrectSwitch(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request(routeByProtocol(deviceKey, "HwScreen_CorrectSwitch", "HwScreen_MultCorrectSwitch"))
        .body(body)
        .put(deviceKey, reply);
}

// Quirk: Some operations use the single-screen route on every device.
bool HwScreenInfo::setCorrectChangeBK(const QString& deviceKey, const QList<QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_CorrectChangeBK").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setCorrectDrawRegion(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply)
{
    return Request(routeByProtocol(deviceKey, "HwScreen_DrawCorrectRegion", "HwScreen_MultDrawCorrectRegion"))
        .body(body)
        .put(deviceKey, reply);
}

// Quirk: Some operations use the single-screen route on every device.
bool HwScreenInfo::setCorrectDrawId(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_DrawCorrectID").body(body).put(deviceKey, reply);
}

bool HwScreenInfo::setCorrectClearImage(const QString& deviceKey, QMap<QString, QVariant>& reply)
{
    return Request(routeByProtocol(deviceKey, "HwScreen_CorrectClear", "HwScreen_MultCorrectClear"))
        .put(deviceKey, reply);
}

// Quirk: Some operations use the single-screen route on every device.
bool HwScreenInfo::setDisplayVedioSource(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_ShowVedioSource").body(body).put(deviceKey, reply);
}
