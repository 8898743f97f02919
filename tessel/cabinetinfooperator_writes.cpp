// SPDX-License-Identifier: MIT
//
// Writes of settings, for one cabinet or several.
#include <tessel/cabinetinfooperator.h>

#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/request.h>

#include <QDebug>

using Tessel::HttpJsonPackage;
using Tessel::PendingRequest;
using Tessel::Request;

// Quirk: Some writes that are not waited for always report success. So does the one below.
bool CabinetInfoOperator::setCabSingleBrightness(const QString& deviceKey, const QString& id,
                                                 QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& /*reply*/)
{
    Request("Device_CabinetSingleBrightness").body(body).placeHolder("id", id).putNoReply(deviceKey);
    return true;
}

bool CabinetInfoOperator::setCabMultBrightness(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& /*reply*/)
{
    Request("Device_CabinetMultBrightness").body(body).putNoReply(deviceKey);
    return true;
}

bool CabinetInfoOperator::setCabSingleGamma(const QString& deviceKey, const QString& id,
                                            QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetSingleGamma").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabMultGamma(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetMultGamma").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabSingleBeacon(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetSingleBeacon").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabMultBeacon(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetMultBeacon").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabSingleLightState(const QString& deviceKey, const QString& id,
                                                 QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_CabSingleLightState").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabMultLightState(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_CabMultLightState").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabSingleColorTemp(const QString& deviceKey, const QString& id,
                                                QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetSingleColorTemp").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabMultColorTemp(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetMultColorTemp").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabRvSingleColorTemp(const QString& deviceKey, const QString& id,
                                                  QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetRvSingleColorTemp").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabRvMultColorTemp(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetRvMultColorTemp").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setEnableSingleCustomGamma(const QString& deviceKey, const QString& id,
                                                     QMap<QString, QVariant>& body,
                                                     QMap<QString, QVariant>& reply)
{
    return Request("Device_IsCustomGammaSingal").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setEnableMultCustomGamma(const QString& deviceKey, const QList<QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_IsCustomGammaMult").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabinetGammaCustomValue(const QString& deviceKey, const QString& id,
                                                     const QMap<QString, QVariant>& body,
                                                     QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetGammaCustomValue").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetGammaCustomValue(const QString& deviceKey,
                                                         const QMap<QString, QVariant>& body,
                                                         QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetGammaCustomValue").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinetRgbGain(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetRgbGain").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetRgbGain(const QString& deviceKey, const QList<QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetRgbGain").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinet18bitMode(const QString& deviceKey, const QString& id,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_S_Cabinet18bitMode").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinet18bitMode(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_M_Cabinet18bitMode").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinetSolid(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetSolid").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetSolid(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetSolid").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinetPhySize(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetPhySize").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetPhySize(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetPhySize").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinetWeight(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetWeight").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetWeight(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetWeight").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinetPower(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetPower").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetPower(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetPower").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabinetVoltage(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabinetVoltage").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetVoltage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetVoltage").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSglCabFamilyName(const QString& deviceKey, const QString& id,
                                              const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabFamilyName").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabFamilyName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabFamilyName").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSglCabMFRSName(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabmfrsName").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabMFRSName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabmfrsName").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSglShortName(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabShortName").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiShortName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabShortName").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSglCabinetType(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabType").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiCabinetType(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabType").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSglPointSpace(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_S_CabPointSpace").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiPointSpace(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabPointSpace").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabFineGray(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabFineGray").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiCabFineGray(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabFineGray").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabCorrection(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabCorrection").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiCabCorrection(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabCorrection").body(body).put(deviceKey, reply);
}

// Quirk: Some operations return the reply in the map that they send. So do all with one map alone.
bool CabinetInfoOperator::setCabinetRGBBrightness(const QString& deviceKey, const QString& id,
                                                  QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetRGBBrightness").body(body).placeHolder("id", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetsRGBBrightness(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsRGBBrightness").body(body).put(deviceKey, body);
}

// Quirk: The XBit mode of a cabinet has the placeholder cid.
bool CabinetInfoOperator::setCabinetXBitMode(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetXBitMode").body(body).placeHolder("cid", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetsXBitMode(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsXBitMode").body(body).put(deviceKey, body);
}

// Quirk: The XBit keys are paired crosswise with their operations. The five settings below go to the path of
// all cabinets when they are given an id, and to the path of one, its {id} unfilled, when they are not.
bool CabinetInfoOperator::setCabinetXbitEnable(const QString& deviceKey, const QString& id,
                                               QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsSetXBitEnable").body(body).placeHolder("id", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXbitEnable(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetSetXBitEnable").body(body).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitRGBPhase(const QString& deviceKey, const QString& id,
                                                 QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetXBitRGBPhase").body(body).placeHolder("id", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitRGBPhase(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsXBitRGBPhase").body(body).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitGrayScale(const QString& deviceKey, const QString& id,
                                                  QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetXBitGrayScale").body(body).placeHolder("id", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitGrayScale(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsXBitGrayScale").body(body).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitJitterMode(const QString& deviceKey, const QString& id,
                                                   QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetXBitJitterMode").body(body).placeHolder("id", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitJitterMode(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsXBitJitterMode").body(body).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitHighLowMode(const QString& deviceKey, const QString& id,
                                                    QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetXBitHighLowMode").body(body).placeHolder("id", id).put(deviceKey, body);
}

bool CabinetInfoOperator::setCabinetXBitHighLowMode(const QString& deviceKey, QMap<QString, QVariant>& body)
{
    return Request("Device_CabinetsXBitHighLowMode").body(body).put(deviceKey, body);
}

// Quirk: An id goes along although the path has no place for it.
bool CabinetInfoOperator::setCabinetFlag(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetsFlags").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabinetSnflags(const QString& deviceKey, const QList<QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetsFlags").body(body).expectedTime(10000).put(deviceKey, reply);
}

bool CabinetInfoOperator::setModuleflags(const QString& deviceKey, const QList<QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return Request("Device_M_Moduleflags").body(body).expectedTime(10000).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabinetLightAllParam(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetLightAllParam").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMutiConfigFile(const QString& deviceKey, const QList<QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetConfigfile").body(body).expectedTime(10000).put(deviceKey, reply);
}

// Quirk: The configuration of one cabinet goes to the route of all.
bool CabinetInfoOperator::setSingleConfigFile(const QString& deviceKey, const QString& /*id*/,
                                              const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_M_CabinetConfigfile").body(body).expectedTime(120000).put(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path. So do the two below.
bool CabinetInfoOperator::setCabinetInfo(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetInfo").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabinetPixelSize(const QString& deviceKey, const QString& id,
                                              const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_CabinetPixelSize").body(body).placeHolder("id", id).put(deviceKey, reply);
}

// Quirk: The outcome of an asynchronous brightness write is logged as critical.
bool CabinetInfoOperator::setCabinetBrightnessAsync(const QString& deviceKey, const QList<QVariant>& body)
{
    PendingRequest("Device_CabinetBrightness").body(body).put(deviceKey, [](const HttpJsonPackage& reply) {
        reply.getRoutesJsonMap(); // for the warning about an unreadable reply
        qCritical() << static_cast<int>(reply.getSimpleState());
    });
    return true;
}
