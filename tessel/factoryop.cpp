// SPDX-License-Identifier: MIT
//
// The instance, and the cabinet structure.
#include <tessel/factoryop.h>

#include <tessel/frames/request.h>

using Tessel::Request;

FactoryOp* FactoryOp::m_pInstance = nullptr;

FactoryOp* FactoryOp::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new FactoryOp(nullptr);
    }
    return m_pInstance;
}

FactoryOp::FactoryOp(QObject* parent)
    : QObject(parent)
{}

FactoryOp::~FactoryOp() = default;

bool FactoryOp::getCreateCabinetInfo(const QString& deviceKey, const QString& id,
                                     QMap<QString, QVariant>& result)
{
    return Request("Cabinet_CreateCabinet").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setCreateSingleCabinetInfo(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_CreateCabinet").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setCreateMutiCabinetInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_CreateCabinet").body(body).put(deviceKey, reply);
}

bool FactoryOp::getFlashTopoInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Cabinet_FlashTopoInfo").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setSingleFlashTopoInfo(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_FlashTopoInfo").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiFlashTopoInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_FlashTopoInfo").body(body).put(deviceKey, reply);
}

bool FactoryOp::getModuleInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Cabinet_ModuleInfo").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setSingleModuleInfo(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_ModuleInfo").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiModuleInfo(const QString& deviceKey, const QList<QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_ModuleInfo").body(body).put(deviceKey, reply);
}

bool FactoryOp::getCapability(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Cabinet_CapabilityParam").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setSingleCapability(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_CapabilityParam").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiCapability(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_CapabilityParam").body(body).put(deviceKey, reply);
}

bool FactoryOp::getDecodeChipParam(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result)
{
    return Request("Cabinet_DecodeParam").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setSingleDecodeChipParam(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_DecodeParam").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiDecodeChipParam(const QString& deviceKey, const QList<QVariant>& body,
                                       QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_DecodeParam").body(body).put(deviceKey, reply);
}

bool FactoryOp::getChipRegister(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("Cabinet_ChipRegister").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setSingleChipRegister(const QString& deviceKey, const QString& id,
                                      const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_ChipRegister").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiChipRegister(const QString& deviceKey, const QList<QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_ChipRegister").body(body).put(deviceKey, reply);
}

bool FactoryOp::getRvExtendParams(const QString& deviceKey, const QString& id,
                                  QMap<QString, QVariant>& result)
{
    return Request("Cabinet_RvExtendParams").placeHolder("id", id).get(deviceKey, result);
}

bool FactoryOp::setSingleRvExtendParams(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_RvExtendParams").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiRvExtendParams(const QString& deviceKey, const QList<QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_RvExtendParams").body(body).put(deviceKey, reply);
}

bool FactoryOp::setsingleRemoveBrokenLight(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_RemoveBrokenLight").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiRemoveBrokenLight(const QString& deviceKey, const QList<QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_RemoveBrokenLight").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSecClockExtend(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SecClockExtend").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSecClockExtend(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SecClockExtend").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSignalPolarity(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SignalPolarity").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSignalPolarity(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SignalPolarity").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleRvcardLight(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_RvCardLight").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiRvcardLight(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_RvCardLight").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSlowlyBrightness(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SlowlyBrightness").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSlowlyBrightness(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SlowlyBrightness").body(body).put(deviceKey, reply);
}

bool FactoryOp::setSingleSignalDelay(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Cabinet_SignalDelay").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool FactoryOp::setMutiSignalDelay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request("Cab_M_SignalDelay").body(body).put(deviceKey, reply);
}
