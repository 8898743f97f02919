// SPDX-License-Identifier: MIT
//
// ScreenInfo: writes of display and colour parameters.
#include <tessel/frames/grouprequest.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/request.h>
#include <tessel/frames/screenproperty.h>
#include <tessel/screeninfo.h>

using Tessel::gamut;
using Tessel::GroupRequest;
using Tessel::lowLatency;
using Tessel::PendingRequest;
using Tessel::Request;
using Tessel::ScreenProperty;
using Tessel::uniformDisplay;
using Tessel::xbit;

namespace {

// Quirk: Two routes take their screen from the query.
void nameScreen(Request& request, const QString& screenId)
{
    if (!screenId.isEmpty()) {
        request.parameter("id", screenId);
    }
}

} // namespace

bool ScreenInfo::set18bit(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body)
{
    return writeThrough("ScreenXbit", xbit, deviceKey, id, body);
}

bool ScreenInfo::setLowLatency(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body)
{
    return writeThrough("ScreenLowLatency", lowLatency, deviceKey, id, body);
}

bool ScreenInfo::setUniformDisplay(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body)
{
    return writeThrough("ScreenUniformDisplay", uniformDisplay, deviceKey, id, body);
}

// Quirk: Some arguments are accepted and ignored.
bool ScreenInfo::setGamut(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>&)
{
    return writeThrough("ScreenGamut", gamut, deviceKey, id, body);
}

bool ScreenInfo::putDeviceScreenHdrparamHdrSwitch(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("ScreenHDRSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenHdrparamHdrSwitch(const QString& deviceKey, const QStringList& ids,
                                                  const QMap<QString, QVariant>& body,
                                                  QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenHDRSwitch"));
}

bool ScreenInfo::putDeviceScreenHdrparamHdrMode(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("ScreenHDRType").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenHdrparamHdrMode(const QString& deviceKey, const QStringList& ids,
                                                const QMap<QString, QVariant>& body, QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenHDRType"));
}

bool ScreenInfo::putDeviceScreenHdrparamHlgtype(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("ScreenHLGMode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenHdrparamHlgtype(const QString& deviceKey, const QStringList& ids,
                                                const QMap<QString, QVariant>& body, QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenHLGMode"));
}

bool ScreenInfo::putDeviceScreenHdrparamMaxoflight(const QString& deviceKey, const QString& id,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("ScreenHDRPeakBrightness").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenHdrparamMaxoflight(const QString& deviceKey, const QStringList& ids,
                                                   const QMap<QString, QVariant>& body,
                                                   QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenHDRPeakBrightness"));
}

bool ScreenInfo::putDeviceScreenHdrparamIlluminance(const QString& deviceKey, const QString& id,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("ScreenHDRIlluminance").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenHdrparamIlluminance(const QString& deviceKey, const QStringList& ids,
                                                    const QMap<QString, QVariant>& body,
                                                    QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenHDRIlluminance"));
}

bool ScreenInfo::putDeviceScreenHdrparamLowgray(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("ScreenHDRLowgray").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenHdrparamLowgray(const QString& deviceKey, const QStringList& ids,
                                                const QMap<QString, QVariant>& body, QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenHDRLowgray"));
}

bool ScreenInfo::putDeviceScreenthreeDSwitch(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Screen3DSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenthreeDSwitch(const QString& deviceKey, const QStringList& ids,
                                             const QMap<QString, QVariant>& body, QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("Screen3DSwitch"));
}

bool ScreenInfo::putDeviceScreenthreeDSourceMode(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("ScreenSourceMode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenthreeDSourceMode(const QString& deviceKey, const QStringList& ids,
                                                 const QMap<QString, QVariant>& body, QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("ScreenSourceMode"));
}

bool ScreenInfo::putDeviceScreenthreeDEyepriority(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Screen3DEyepriority").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenthreeDEyepriority(const QString& deviceKey, const QStringList& ids,
                                                  const QMap<QString, QVariant>& body,
                                                  QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("Screen3DEyepriority"));
}

bool ScreenInfo::putDeviceScreenthreeDStartposition(const QString& deviceKey, const QString& id,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Screen3DRighteyeOffset").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenthreeDStartposition(const QString& deviceKey, const QStringList& ids,
                                                    const QMap<QString, QVariant>& body,
                                                    QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("Screen3DRighteyeOffset"));
}

bool ScreenInfo::putDeviceScreenthreeDDepthField(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Screen3DFieldDepth").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenthreeDDepthField(const QString& deviceKey, const QStringList& ids,
                                                 const QMap<QString, QVariant>& body, QList<QVariant>& result)
{
    return putGroupSync(deviceKey, ids, body, result, QStringLiteral("Screen3DFieldDepth"));
}

bool ScreenInfo::putDeviceScreenCabledisconnect(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("ScreenCabledisconnect").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenSeamadjustment(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("ScreenSeamAdjustment").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putScreenSetInput(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenSetInput").placeHolder("id", id).body(body).put(deviceKey, reply);
}

// Quirk: An id goes along although the path has no place for it. So do the three below.
bool ScreenInfo::setColorSpaceInit(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenColorSpaceInit").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::setColorSpaceNormalDisplay(const QString& deviceKey, const QString& id,
                                            QMap<QString, QVariant>& reply)
{
    return Request("ScreenColorSpaceRecover").placeHolder("id", id).put(deviceKey, reply);
}

bool ScreenInfo::setDemoColorSpaceGamut(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenDemoGamut").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::setScreenColor(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenColor").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::setChangeColorFromToTarget(const QString& deviceKey, const QString& id,
                                            QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_SwitchColorFromSrcToTarget")
        .placeHolder("id", id)
        .body(body)
        .put(deviceKey, reply);
}

bool ScreenInfo::setSkinProtect(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply)
{
    return Request("Device_SkinProtect").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::setToleranceToggle(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_ToleranceImage").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::setColorCorrection(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_ColorCorrection").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::setWhiteBlackColorCorrection(const QString& deviceKey, const QString& id,
                                              QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_WhiteBlackColorCorrection").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::resetColorCorrection(const QString& deviceKey, const QString& id,
                                      QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_ResetColorCorrection").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::resetColorpReplace(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_ResetColorReplace").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::triggerColorCorrection(const QString& deviceKey, const QString& id,
                                        QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_ColorCorrecttionTrigger").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::triggerColorReplace(const QString& deviceKey, const QString& id,
                                     QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_ColorReplaceTrigger").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::saveColorTemperature(const QString& deviceKey, const QString& id,
                                      const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenSaveColorTemperature")
        .placeHolder("id", id)
        .body(body)
        .putNoReply(deviceKey, reply);
}

bool ScreenInfo::setColorTemperature(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body)
{
    return Request("ScreenColorTemperature").placeHolder("id", id).body(body).putNoReply(deviceKey);
}

bool ScreenInfo::putColorsWitchData(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("ScreenColorsWitchData").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::putNormalDisplay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("ScreenNormalDisplay").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::putScreenName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply)
{
    return Request("ScreenUpdateName").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::putShowlineState(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("ScreenShowlineState").body(body).putNoReply(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path. So do the seven below.
bool ScreenInfo::setHwColor(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply)
{
    return Request("Screen_AdjustSceenColor").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::setNomalDisplay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply)
{
    return Request("Screen_NomalShow").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::setMouseToScreen(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("Screen_MouseToScreen").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::setScreemHWMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply)
{
    return Request("Screen_EnterHwMode").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::setScreenLineState(const QString& deviceKey, const QList<QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Screen_SetLineState").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::setScreenRegionState(const QString& deviceKey, const QList<QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Screen_SetRegionState").body(body).putNoReply(deviceKey, reply);
}

bool ScreenInfo::setClearLinestate(const QString& deviceKey, const QList<QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("Screen_ClearChooseState").body(body).put(deviceKey, reply);
}

bool ScreenInfo::setIsShowLinestate(const QString& deviceKey, const QList<QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Screen_IsShowHWState").body(body).put(deviceKey, reply);
}

// Quirk: Setting the XBit mode leaves its package allocated.
bool ScreenInfo::setXbitMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body)
{
    return (new Request("ScreenXbitMode"))->placeHolder("id", id).body(body).put(deviceKey);
}

// Quirk: Some operations do nothing and stay exported.
bool ScreenInfo::setFineGray(const QString&, const QString&, const QMap<QString, QVariant>&)
{
    return false;
}

bool ScreenInfo::uploadNiccData(const QString& deviceKey, const QString& id, const QByteArray& data)
{
    Request request("ScreenNiccFile");
    nameScreen(request, id);
    return request.data(data).put(deviceKey);
}

// Quirk: Asking for the NICC state drops the answer.
// Quirk: Some arguments are accepted and ignored.
bool ScreenInfo::getNiccState(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>&)
{
    Request request("ScreenNiccState");
    nameScreen(request, id);
    return request.get(deviceKey);
}

// Quirk: Writes to several at once leave their results as they were.
bool ScreenInfo::putGroupSync(const QString& deviceKey, const QStringList& ids,
                              const QMap<QString, QVariant>& body, QList<QVariant>&, const QString& routeKey)
{
    return GroupRequest(routeKey).body(body).put(deviceKey, ids);
}

// Quirk: A write caches what was asked for, not what the device has.
// Quirk: Five writes return whether they were started.
bool ScreenInfo::writeThrough(const char* routeKey, const ScreenProperty& property, const QString& deviceKey,
                              const QString& id, const QMap<QString, QVariant>& body)
{
    return PendingRequest(routeKey).placeHolder("id", id).body(body).writeThrough(
        deviceKey, this, [this, property, deviceKey, id, body] {
            const QVariant value = property.read(body.value(QLatin1String(property.name)));
            const QMutexLocker lock(&m_propertyMutex);
            // NOLINTNEXTLINE(clang-analyzer-core.CallAndMessage): the analyser loses the lambda's `this`.
            m_screenProperties[deviceKey][id].insert(QLatin1String(property.cacheKey), value);
        });
}
