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

bool Correctionop::saveCabinetsCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& params,
                                          QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabinetsCofficient").body(params).expectedTime(360000).put(deviceKey, result);
}

bool Correctionop::saveCabinetsMultilayerCoeffcient(const QString& deviceKey,
                                                    const QMap<QString, QVariant>& params,
                                                    QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabinetsMultilayerCofficient")
        .body(params)
        .expectedTime(360000)
        .put(deviceKey, result);
}

bool Correctionop::saveCabinetsLowgrayCoeffcient(const QString& deviceKey,
                                                 const QMap<QString, QVariant>& params,
                                                 QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabinetsLowgrayCofficient")
        .body(params)
        .expectedTime(360000)
        .put(deviceKey, result);
}

// Quirk: Saving the adaptive coefficients goes to a path of the receiving cards.
bool Correctionop::saveCabinetsAdapCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& params,
                                              QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabinetsAdapCofficient")
        .body(params)
        .expectedTime(360000)
        .put(deviceKey, result);
}

// Quirk: Saves of coefficients have different time limits.
bool Correctionop::saveCabinetsFactoryCoefficient(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& params,
                                                  QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabinetsFactoryCofficient")
        .body(params)
        .expectedTime(30000)
        .put(deviceKey, result);
}

// Quirk: Saving the module coefficients goes to the path that shows them.
bool Correctionop::saveCabinetsModuleCoefficient(const QString& deviceKey,
                                                 const QMap<QString, QVariant>& params,
                                                 QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabinetsModuleCofficient").body(params).put(deviceKey, result);
}

bool Correctionop::applyCabinetsLowgrayCoeffcient(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& params,
                                                  QMap<QString, QVariant>& result)
{
    return Request("Device_ApplyCabinetsLowgrayCofficient")
        .body(params)
        .expectedTime(60000)
        .put(deviceKey, result);
}

bool Correctionop::clearCabinetsLowgrayCoefficient(const QString& deviceKey,
                                                   const QMap<QString, QVariant>& params,
                                                   QMap<QString, QVariant>& result)
{
    return Request("Device_ClearCabinetsLowgrayCofficient")
        .body(params)
        .expectedTime(3000)
        .put(deviceKey, result);
}

bool Correctionop::clearCabinetsMultilayerCoefficient(const QString& deviceKey,
                                                      const QMap<QString, QVariant>& params,
                                                      QMap<QString, QVariant>& result)
{
    return Request("Device_ClearCabinetsMultilayerCofficient")
        .body(params)
        .expectedTime(3000)
        .put(deviceKey, result);
}

// Quirk: Clearing the user coefficients goes to the plain clear path.
bool Correctionop::clearCabinetsUserCoefficient(const QString& deviceKey,
                                                const QMap<QString, QVariant>& params,
                                                QMap<QString, QVariant>& result)
{
    return Request("Device_ClearCabinetsModuleCofficient")
        .body(params)
        .expectedTime(3000)
        .put(deviceKey, result);
}

bool Correctionop::showCabinetsCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& params,
                                           QMap<QString, QVariant>& result)
{
    return Request("Device_ShowCabinetsCofficient").body(params).put(deviceKey, result);
}

bool Correctionop::showCabinetsFactoryCoefficient(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& params,
                                                  QMap<QString, QVariant>& result)
{
    return Request("Device_ShowCabinetsFactoryCofficient").body(params).put(deviceKey, result);
}

bool Correctionop::showCabinetsModuleCoefficient(const QString& deviceKey,
                                                 const QMap<QString, QVariant>& params,
                                                 QMap<QString, QVariant>& result)
{
    return Request("Device_ShowCabinetsModuleCofficient").body(params).put(deviceKey, result);
}

bool Correctionop::setCabinetsMultilayerParameter(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& params,
                                                  QMap<QString, QVariant>& result)
{
    return Request("Device_SetCabinetsMultilayerParameter")
        .body(params)
        .expectedTime(6000)
        .put(deviceKey, result);
}

bool Correctionop::setCabinetsMultilayerParameterV2(const QString& deviceKey,
                                                    const QMap<QString, QVariant>& params,
                                                    QMap<QString, QVariant>& result)
{
    return Request("Device_SetCabinetsMultilayerParameterV2")
        .body(params)
        .expectedTime(6000)
        .put(deviceKey, result);
}

bool Correctionop::setCabinetsAdaptiveParameterV2(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& params,
                                                  QMap<QString, QVariant>& result)
{
    return Request("Device_SetCabinetsAdaptiveParameterV2")
        .body(params)
        .expectedTime(6000)
        .put(deviceKey, result);
}

bool Correctionop::setCabinetsDynamicParameter(const QString& deviceKey,
                                               const QMap<QString, QVariant>& params,
                                               QMap<QString, QVariant>& result)
{
    return Request("Device_SetCabinetsDynamicParameter")
        .body(params)
        .expectedTime(6000)
        .put(deviceKey, result);
}

// Quirk: Two classes write the same routes with different time limits.
bool Correctionop::setMutiCabinetSolid(const QString& deviceKey, const QMap<QString, QVariant>& params,
                                       QMap<QString, QVariant>& result)
{
    const int timeout = params.value(QStringLiteral("timeout")).toInt();
    return Request("Device_M_CabinetSolid")
        .body(params)
        .expectedTime(std::max(timeout, 30000))
        .put(deviceKey, result);
}

bool Correctionop::adjustLineCoefficient(const QString& deviceKey, const QList<QVariant>& list,
                                         QMap<QString, QVariant>& result)
{
    return Request("Device_AdjustCoefficient").body(list).put(deviceKey, result);
}

bool Correctionop::adjustRegionRGBCoefficient(const QString& deviceKey, const QList<QVariant>& list,
                                              QMap<QString, QVariant>& result)
{
    return Request("Device_AdjustRGBCoefficient").body(list).put(deviceKey, result);
}

bool Correctionop::adjustRegionHSLCoefficient(const QString& deviceKey, const QList<QVariant>& list,
                                              QMap<QString, QVariant>& result)
{
    return Request("Device_AdjustHSLCoefficient").body(list).put(deviceKey, result);
}

// Quirk: Saving an effect sends the RGB adjustment.
bool Correctionop::saveEffect(const QString& deviceKey, const QList<QVariant>& list,
                              QMap<QString, QVariant>& result)
{
    return Request("Device_AdjustRGBCoefficient").body(list).put(deviceKey, result);
}

bool Correctionop::setCorrectCoffcient(const QString& deviceKey, const QString& id,
                                       QMap<QString, QVariant>& result)
{
    return Request("Device_SaveCabCofficient").placeHolder("id", id).put(deviceKey, result);
}

// Quirk: An operation without a route sends its request with an empty path.
bool Correctionop::flashTest(const QString& deviceKey, const QString& cid, const QVariant& body,
                             QMap<QString, QVariant>& result)
{
    return Request("Device_Correction_screenCorrectAction")
        .placeHolder("cid", cid)
        .body(body)
        .put(deviceKey, result);
}

// Quirk: Some arguments are accepted and ignored.
bool Correctionop::getFlashCheckCode(const QString& deviceKey, const QString& cid,
                                     const QMap<QString, QVariant>& /*params*/, QList<QVariant>& result)
{
    return Request("Device_Correction_flashcheckcode")
        .placeHolder("cid", cid)
        .expectedTime(45000)
        .get(deviceKey, result);
}

// Quirk: The promise of the flash check codes delivers none. The blocking form does.
QtPromise::QPromise<QMap<QString, QVariant>> Correctionop::getFlashCheckCode(const QString& deviceKey,
                                                                             const QString& cid)
{
    return PromiseRequest("Device_Correction_flashcheckcode")
        .placeHolder("cid", cid)
        .promise<QMap<QString, QVariant>>(&HttpProxy::get, deviceKey,
                                          [](const HttpJsonPackage&, const auto& resolve, const auto&) {
                                              resolve(QMap<QString, QVariant>());
                                          });
}
