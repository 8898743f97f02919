// SPDX-License-Identifier: MIT
//
// Detection of communication errors and their rate. The guarded operations differ in what they say of a
// missing route table. Kept so. Both singletons are tested before there is a package: filling one has no
// effect that outlives a refusal.
#include <tessel/cabinetinfooperator.h>

#include <tessel/frames/request.h>

using Tessel::instancesReady;
using Tessel::Request;

namespace {

// The class's source, as the system-error line tells it.
constexpr const char* source = "tessel/cabinetinfooperator";

QMap<QString, QString> jsonHeader()
{
    return {{QStringLiteral("content-Type"), QStringLiteral("application/json")}};
}

} // namespace

bool CabinetInfoOperator::communicationErrorDetectSwitcher(const QString& deviceKey, const QString& id,
                                                           const QMap<QString, QVariant>& body,
                                                           QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::communicationErrorDetectSwitcher"},
                          "pInstance is nullptr!") &&
           Request("Device_Single_CommunicationDetecter")
               .headers(jsonHeader())
               .body(body)
               .placeHolder("id", id)
               .put(deviceKey, out);
}

bool CabinetInfoOperator::communicationErrorDetectSwitcher(const QString& deviceKey,
                                                           const QMap<QString, QVariant>& body,
                                                           QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::communicationErrorDetectSwitcher"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Multi_CommunicationDetecter").headers(jsonHeader()).body(body).put(deviceKey, out);
}

bool CabinetInfoOperator::berTestPattern(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::berTestPattern"}, "pInstance is nullptr!") &&
           Request("Device_Single_TestImage")
               .headers(jsonHeader())
               .body(body)
               .placeHolder("id", id)
               .put(deviceKey, out);
}

bool CabinetInfoOperator::berTestPattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                         QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::berTestPattern"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Multi_TestImage").headers(jsonHeader()).body(body).put(deviceKey, out);
}

bool CabinetInfoOperator::getDetecteErrorRateTimeData(const QString& deviceKey, const QString& id,
                                                      QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::getDetecteErrorRateTimeData"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Single_DetecteErrorRateTime").placeHolder("id", id).get(deviceKey, out);
}

bool CabinetInfoOperator::setDetecteErrorRateTimeData(const QString& deviceKey, const QString& id,
                                                      const QMap<QString, QVariant>& body,
                                                      QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::setDetecteErrorRateTimeData"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Single_DetecteErrorRateTime").body(body).placeHolder("id", id).put(deviceKey, out);
}

bool CabinetInfoOperator::setDetecteErrorRateTimeData(const QString& deviceKey, const QList<QVariant>& body,
                                                      QMap<QString, QVariant>& out)
{
    return instancesReady({source, "CabinetInfoOperator::setDetecteErrorRateTimeData"},
                          "pInstance is nullptr! error occurred") &&
           Request("Device_Multi_DetecteErrorRateTime").body(body).put(deviceKey, out);
}

bool CabinetInfoOperator::getCommunicationErrorData(const QString& deviceKey, const QString& id,
                                                    const QString& beginTime, const QString& endTime,
                                                    QMap<QString, QVariant>& out)
{
    return Request("Device_CommunicationDetecterData")
        .placeHolder("id", id)
        .parameter("beginTime", beginTime)
        .parameter("endTime", endTime)
        .get(deviceKey, out);
}
