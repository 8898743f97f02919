// SPDX-License-Identifier: MIT
//
// Smart setting.
#include <tessel/factoryop.h>

#include <tessel/frames/request.h>

using Tessel::Request;

bool FactoryOp::setSingleSmartBackStep(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetBackStep").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartBackStep(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetBackStep").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartBaseInfo(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetBaseInfo").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartBaseInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetBaseInfo").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartOEType(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetOEType").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartOEType(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetOEType").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartRgbOrder(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetRGBOrder").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartRgbOrder(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetRGBOrder").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartDataGroup(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetDataGroup").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartDataGroup(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetDataGroup").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartScannInfo(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetScanInfo").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartScannInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetScanInfo").body(body).put(deviceKey, reply);
}

// Quirk: Three steps of the smart setting have keys of other names. Point flow, RGB index and group.
bool FactoryOp::setSingleSmartPointFlow(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetRunningData").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartPointFlow(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetRunningData").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartRgbIndex(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetRealTimeRGBOrder").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartRgbIndex(const QString& deviceKey, const QList<QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetRealTimeRGBOrder").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartCommand(const QString& deviceKey, const QString& id,
                                      const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetCommand").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartCommand(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetCommand").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartDrivelight(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetDrivelight").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartDrivelight(const QString& deviceKey, const QList<QVariant>& body,
                                       QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetDrivelight").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartPointIndex(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetPointIndex").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartPointIndex(const QString& deviceKey, const QList<QVariant>& body,
                                       QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetPointIndex").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartScanIndex(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartSetScanIndex").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartScanIndex(const QString& deviceKey, const QList<QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartSetScanIndex").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSmartGroup(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SmartGroup").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSmartGroup(const QString& deviceKey, const QList<QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SmartGroup").body(body).put(deviceKey, reply);
}

bool FactoryOp::getCabinetMaxPixel(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result)
{
    return Request("Cabinet_MaxLoadedPixel").placeHolder("id", id).get(deviceKey, result);
}
