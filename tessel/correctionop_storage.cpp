// SPDX-License-Identifier: MIT
//
// Storage and display of coefficients.
#include <tessel/correctionop.h>

#include <tessel/frames/promiserequest.h>
#include <tessel/frames/request.h>

#include <algorithm>

using Tessel::HttpJsonPackage;
using Tessel::HttpProxy;
using Tessel::PromiseRequest;
using Tessel::Request;

bool Correctionop::saveCabinetsCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabinetsCofficient").body(body).expectedTime(360000).put(deviceKey, reply);
}

bool Correctionop::saveCabinetsMultilayerCoeffcient(const QString& deviceKey,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabinetsMultilayerCofficient")
        .body(body)
        .expectedTime(360000)
        .put(deviceKey, reply);
}

bool Correctionop::saveCabinetsLowgrayCoeffcient(const QString& deviceKey,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabinetsLowgrayCofficient")
        .body(body)
        .expectedTime(360000)
        .put(deviceKey, reply);
}

// Quirk: Saving the adaptive coefficients goes to a path of the receiving cards.
bool Correctionop::saveCabinetsAdapCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabinetsAdapCofficient").body(body).expectedTime(360000).put(deviceKey, reply);
}

// Quirk: Saves of coefficients have different time limits.
bool Correctionop::saveCabinetsFactoryCoefficient(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabinetsFactoryCofficient")
        .body(body)
        .expectedTime(30000)
        .put(deviceKey, reply);
}

// Quirk: Saving the module coefficients goes to the path that shows them.
bool Correctionop::saveCabinetsModuleCoefficient(const QString& deviceKey,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabinetsModuleCofficient").body(body).put(deviceKey, reply);
}

bool Correctionop::applyCabinetsLowgrayCoeffcient(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_ApplyCabinetsLowgrayCofficient")
        .body(body)
        .expectedTime(60000)
        .put(deviceKey, reply);
}

bool Correctionop::clearCabinetsLowgrayCoefficient(const QString& deviceKey,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_ClearCabinetsLowgrayCofficient")
        .body(body)
        .expectedTime(3000)
        .put(deviceKey, reply);
}

bool Correctionop::clearCabinetsMultilayerCoefficient(const QString& deviceKey,
                                                      const QMap<QString, QVariant>& body,
                                                      QMap<QString, QVariant>& reply)
{
    return Request("Device_ClearCabinetsMultilayerCofficient")
        .body(body)
        .expectedTime(3000)
        .put(deviceKey, reply);
}

// Quirk: Clearing the user coefficients goes to the plain clear path.
bool Correctionop::clearCabinetsUserCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_ClearCabinetsModuleCofficient")
        .body(body)
        .expectedTime(3000)
        .put(deviceKey, reply);
}

bool Correctionop::showCabinetsCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_ShowCabinetsCofficient").body(body).put(deviceKey, reply);
}

bool Correctionop::showCabinetsFactoryCoefficient(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_ShowCabinetsFactoryCofficient").body(body).put(deviceKey, reply);
}

bool Correctionop::showCabinetsModuleCoefficient(const QString& deviceKey,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_ShowCabinetsModuleCofficient").body(body).put(deviceKey, reply);
}

bool Correctionop::setCabinetsMultilayerParameter(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_SetCabinetsMultilayerParameter")
        .body(body)
        .expectedTime(6000)
        .put(deviceKey, reply);
}

bool Correctionop::setCabinetsMultilayerParameterV2(const QString& deviceKey,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_SetCabinetsMultilayerParameterV2")
        .body(body)
        .expectedTime(6000)
        .put(deviceKey, reply);
}

bool Correctionop::setCabinetsAdaptiveParameterV2(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_SetCabinetsAdaptiveParameterV2")
        .body(body)
        .expectedTime(6000)
        .put(deviceKey, reply);
}

bool Correctionop::setCabinetsDynamicParameter(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_SetCabinetsDynamicParameter").body(body).expectedTime(6000).put(deviceKey, reply);
}

// Quirk: Two classes write the same routes with different time limits.
bool Correctionop::setMutiCabinetSolid(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                       QMap<QString, QVariant>& reply)
{
    const int timeout = body.value(QStringLiteral("timeout")).toInt();
    return Request("Device_M_CabinetSolid")
        .body(body)
        .expectedTime(std::max(timeout, 30000))
        .put(deviceKey, reply);
}

bool Correctionop::adjustLineCoefficient(const QString& deviceKey, const QList<QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return Request("Device_AdjustCoefficient").body(body).put(deviceKey, reply);
}

bool Correctionop::adjustRegionRGBCoefficient(const QString& deviceKey, const QList<QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_AdjustRGBCoefficient").body(body).put(deviceKey, reply);
}

bool Correctionop::adjustRegionHSLCoefficient(const QString& deviceKey, const QList<QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_AdjustHSLCoefficient").body(body).put(deviceKey, reply);
}

// Quirk: Saving an effect sends the RGB adjustment.
bool Correctionop::saveEffect(const QString& deviceKey, const QList<QVariant>& body,
                              QMap<QString, QVariant>& reply)
{
    return Request("Device_AdjustRGBCoefficient").body(body).put(deviceKey, reply);
}

bool Correctionop::setCorrectCoffcient(const QString& deviceKey, const QString& id,
                                       QMap<QString, QVariant>& reply)
{
    return Request("Device_SaveCabCofficient").placeHolder("id", id).put(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path.
bool Correctionop::flashTest(const QString& deviceKey, const QString& id, const QVariant& body,
                             QMap<QString, QVariant>& reply)
{
    return Request("Device_Correction_screenCorrectAction")
        .placeHolder("cid", id)
        .body(body)
        .put(deviceKey, reply);
}

// Quirk: Some arguments are accepted and ignored.
bool Correctionop::getFlashCheckCode(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& /*body*/, QList<QVariant>& result)
{
    return Request("Device_Correction_flashcheckcode")
        .placeHolder("cid", id)
        .expectedTime(45000)
        .get(deviceKey, result);
}

// Quirk: The promise of the flash check codes delivers none. The blocking form does.
QtPromise::QPromise<QMap<QString, QVariant>> Correctionop::getFlashCheckCode(const QString& deviceKey,
                                                                             const QString& id)
{
    return PromiseRequest("Device_Correction_flashcheckcode")
        .placeHolder("cid", id)
        .promise<QMap<QString, QVariant>>(&HttpProxy::get, deviceKey,
                                          [](const HttpJsonPackage&, const auto& resolve, const auto&) {
                                              resolve(QMap<QString, QVariant>());
                                          });
}
