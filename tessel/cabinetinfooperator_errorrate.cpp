// SPDX-License-Identifier: MIT
//
// Detection of communication errors and their rate. The guarded operations test both singletons before there
// is a package: filling one has no effect that outlives a refusal.
//
// Quirk: Seven operations test singletons that are never null.
// Quirk: Two messages of the guarded operations are shorter than the others.
#include <tessel/cabinetinfooperator.h>

#include <tessel/frames/instancesready.h>
#include <tessel/frames/request.h>

using Tessel::instancesReady;
using Tessel::Request;

namespace {

// What the system-error line gives as the file; it has no extension.
constexpr const char* source = "tessel/cabinetinfooperator";

// Quirk: Four operations send a header of their own.
QMap<QString, QString> jsonHeader()
{
    return {{QStringLiteral("content-Type"), QStringLiteral("application/json")}};
}

} // namespace

bool CabinetInfoOperator::communicationErrorDetectSwitcher(const QString& deviceKey, const QString& id,
                                                           const QMap<QString, QVariant>& body,
                                                           QMap<QString, QVariant>& reply)
{
    return instancesReady({source, "CabinetInfoOperator::communicationErrorDetectSwitcher"},
                          "pInstance is nullptr!") &&
           Request("Device_Single_CommunicationDetecter")
               .headers(jsonHeader())
               .body(body)
               .placeHolder("id", id)
               .put(deviceKey, reply);
}

bool CabinetInfoOperator::communicationErrorDetectSwitcher(const QString& deviceKey,
                                                           const QMap<QString, QVariant>& body,
                                                           QMap<QString, QVariant>& reply)
{
    return instancesReady({source, "CabinetInfoOperator::communicationErrorDetectSwitcher"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Multi_CommunicationDetecter")
               .headers(jsonHeader())
               .body(body)
               .put(deviceKey, reply);
}

bool CabinetInfoOperator::berTestPattern(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return instancesReady({source, "CabinetInfoOperator::berTestPattern"}, "pInstance is nullptr!") &&
           Request("Device_Single_TestImage")
               .headers(jsonHeader())
               .body(body)
               .placeHolder("id", id)
               .put(deviceKey, reply);
}

bool CabinetInfoOperator::berTestPattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return instancesReady({source, "CabinetInfoOperator::berTestPattern"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Multi_TestImage").headers(jsonHeader()).body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::getDetecteErrorRateTimeData(const QString& deviceKey, const QString& id,
                                                      QMap<QString, QVariant>& result)
{
    return instancesReady({source, "CabinetInfoOperator::getDetecteErrorRateTimeData"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Single_DetecteErrorRateTime").placeHolder("id", id).get(deviceKey, result);
}

bool CabinetInfoOperator::setDetecteErrorRateTimeData(const QString& deviceKey, const QString& id,
                                                      const QMap<QString, QVariant>& body,
                                                      QMap<QString, QVariant>& reply)
{
    return instancesReady({source, "CabinetInfoOperator::setDetecteErrorRateTimeData"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Single_DetecteErrorRateTime")
               .body(body)
               .placeHolder("id", id)
               .put(deviceKey, reply);
}

bool CabinetInfoOperator::setDetecteErrorRateTimeData(const QString& deviceKey, const QList<QVariant>& body,
                                                      QMap<QString, QVariant>& reply)
{
    return instancesReady({source, "CabinetInfoOperator::setDetecteErrorRateTimeData"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Multi_DetecteErrorRateTime").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::getCommunicationErrorData(const QString& deviceKey, const QString& id,
                                                    const QString& beginTime, const QString& endTime,
                                                    QMap<QString, QVariant>& result)
{
    return Request("Device_CommunicationDetecterData")
        .placeHolder("id", id)
        .parameter("beginTime", beginTime)
        .parameter("endTime", endTime)
        .get(deviceKey, result);
}
