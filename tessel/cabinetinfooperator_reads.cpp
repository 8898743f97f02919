// SPDX-License-Identifier: MIT
//
// Reads of single properties.
#include <tessel/cabinetinfooperator.h>

#include <tessel/frames/listof.h>
#include <tessel/frames/request.h>

using Tessel::asParsed;
using Tessel::Request;

bool CabinetInfoOperator::getCabFamilyName(const QString& deviceKey, const QString& id,
                                           QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabFamilyName").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabMFRSName(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabmfrsName").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabPointSpace(const QString& deviceKey, const QString& id,
                                           QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabPointSpace").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabShortName(const QString& deviceKey, const QString& id,
                                          QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabShortName").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetBrightnessRange(const QString& deviceKey, const QString& id,
                                                    QMap<QString, QVariant>& result)
{
    return Request("Device_CabinetBrightnessRange").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetFineGrayConfig(const QString& deviceKey, const QString& id,
                                                   QMap<QString, QVariant>& result)
{
    return Request("Device_CabinetFineGrayConfig").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetGammaCustomValue(const QString& deviceKey, const QString& id,
                                                     QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabinetGammaCustomValue")
        .placeHolder("id", id)
        .expectedTime(10000)
        .get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetRGBBrightness(const QString& deviceKey, const QString& id,
                                                  QMap<QString, QVariant>& result)
{
    return Request("Device_CabinetRGBBrightness").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetRecvName(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabRecvName").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetRecvRate(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabRecvRate").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetRvColorTemp(const QString& deviceKey, const QString& id,
                                                QMap<QString, QVariant>& result)
{
    return Request("Device_CabinetRvSingleColorTemp").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetSN(const QString& deviceKey, const QString& id,
                                       QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabSN").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetType(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabType").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetXbitEnable(const QString& deviceKey, const QString& id,
                                               QMap<QString, QVariant>& result)
{
    return Request("Device_CabinetGetXBitEnable").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getConfigFile(const QString& deviceKey, const QString& id,
                                        QMap<QString, QVariant>& result)
{
    return Request("Device_S_CabinetConfigfile")
        .placeHolder("id", id)
        .expectedTime(20000)
        .get(deviceKey, result);
}

// Quirk: Some lists come as parsed, others flattened. Those with asParsed() are as parsed.
// Quirk: Reads of all cabinets have keys named after something else.
bool CabinetInfoOperator::getAllCabMFRSName(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_S_AllCabmfrsName").get(deviceKey, asParsed(result));
}

// Quirk: Reads of all cabinets have keys named after something else. This is the key of the write.
bool CabinetInfoOperator::getAllCabShortName(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_M_CabShortName").get(deviceKey, asParsed(result));
}

bool CabinetInfoOperator::getAllCabinetChip(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_S_AllCabChip").get(deviceKey, asParsed(result));
}

bool CabinetInfoOperator::getAllCabinetType(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_S_AllCabType").get(deviceKey, asParsed(result));
}

bool CabinetInfoOperator::getAllCabinetsRxs(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_RxsInfo").get(deviceKey, result);
}

bool CabinetInfoOperator::getCabAllFlags(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_CabinetsAllFlags").get(deviceKey, asParsed(result));
}

bool CabinetInfoOperator::getCabinetsBaseInfo(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_M_CabinetBaseInfo").expectedTime(6000).get(deviceKey, asParsed(result));
}

bool CabinetInfoOperator::getCabinetRxs(const QString& deviceKey, const QString& id, QList<QVariant>& result)
{
    return Request("Device_CabinetRecvCards").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::getCabinetGammaCurveInfo(const QString& deviceKey, const QString& id,
                                                   const QMap<QString, QString>& query,
                                                   QList<QVariant>& result)
{
    QMap<QString, QVariant> reply;
    const bool answered =
        Request("Device_CabinetGammaCurveInfo").parameters(query).placeHolder("id", id).get(deviceKey, reply);
    result = Tessel::listOf(reply.value(QStringLiteral("gammaTable")));
    return answered;
}

// Quirk: The cabinets of a port are added to what the output holds.
// Quirk: A cabinet without an output is at port 0.
void CabinetInfoOperator::getPortCabinetsInfo(const QString& deviceKey, int portId, QList<QVariant>& result)
{
    QList<QVariant> cabinets;
    getAllCabinetsInfo(deviceKey, cabinets, false);
    for (const QVariant& cabinet : qAsConst(cabinets)) {
        if (cabinet.toMap().value(QStringLiteral("outputID")).toInt() == portId) {
            result.append(cabinet);
        }
    }
}
