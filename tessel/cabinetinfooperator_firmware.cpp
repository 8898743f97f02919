// SPDX-License-Identifier: MIT
//
// The receiving cards as a whole: their list, their firmware, and what the modules store.
#include <tessel/cabinetinfooperator.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/request.h>

#include <QDebug>

using Tessel::asParsed;
using Tessel::MultipartRequest;
using Tessel::outputFromCache;
using Tessel::Request;

// Quirk: Only events fill the cache of the receiving cards.
bool CabinetInfoOperator::getRvCardsList(const QString& deviceKey, QList<QVariant>& result)
{
    return outputFromCache(m_rvCardsInfo.contains(deviceKey), m_rvCardsInfo, deviceKey, result) ||
           Request("Device_RvCards").get(deviceKey, asParsed(result));
}

bool CabinetInfoOperator::getRvCardsUpdateProgress(const QString& deviceKey, QMap<QString, QVariant>& result)
{
    return Request("Device_RvCardUpdateProg").get(deviceKey, result);
}

bool CabinetInfoOperator::putRvCardsUpdate(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                                           QMap<QString, QVariant>& reply)
{
    return MultipartRequest("Device_RvCardUpdate", parts).expectedTime(300000).put(deviceKey, reply);
}

bool CabinetInfoOperator::putRvCardsUpdateLoad(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                                               QMap<QString, QVariant>& reply)
{
    return MultipartRequest("Device_RvCardUpdateLoad", parts).expectedTime(30000).put(deviceKey, reply);
}

// Quirk: Downloading card firmware reports success whatever happened.
// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is fixed.
bool CabinetInfoOperator::getRvCardFirmware(const QString& deviceKey, QString id, int type, QString path)
{
    Request("Device_RvCardFirmware")
        .placeHolder("id", id)
        .placeHolder("type", QString::number(type))
        .expectedTime(30000)
        .download(deviceKey, path);
    return true;
}

// Quirk: A negative waiting time shortens the time limit. The two below take one as well.
bool CabinetInfoOperator::clearModuleCoefficient(const QString& deviceKey, QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply, int waitTime)
{
    return Request("Device_ClearModuleCoefficient")
        .body(body)
        .expectedTime(qint64(waitTime) + 30000)
        .put(deviceKey, reply);
}

// Quirk: Reloading the module coefficients uses the route that shows them.
bool CabinetInfoOperator::reloadModuleCoefficient(const QString& deviceKey, QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply, int waitTime)
{
    return Request("Device_ShowModuleCoefficient")
        .body(body)
        .expectedTime(qint64(waitTime) + 30000)
        .put(deviceKey, reply);
}

bool CabinetInfoOperator::saveModuleCoefficient(const QString& deviceKey, QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply, int waitTime)
{
    // Quirk: Log lines that read like leftovers are fixed.
    qDebug() << "waittime :" << QString::number(waitTime);
    return Request("Device_SaveModuleCoefficient")
        .body(body)
        .expectedTime(qint64(waitTime) + 300000)
        .put(deviceKey, reply);
}
