// SPDX-License-Identifier: MIT
#ifndef TESSEL_FACTORYOP_H
#define TESSEL_FACTORYOP_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

/// @ingroup cabinets
/// The structure of cabinets as described by the factory, and the steps of smart setting.
///
/// @snippet snippets.cpp FactoryOp
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache, no events, any thread.
class TESSEL_EXPORT FactoryOp : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static FactoryOp* getInstance();

    /// @name Cabinet structure
    /// @{

    /// Reads the structure of a cabinet.
    bool getCreateCabinetInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the structure of a cabinet.
    bool setCreateSingleCabinetInfo(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setCreateMutiCabinetInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// The flash topology of a cabinet.
    bool getFlashTopoInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the flash topology of a cabinet.
    bool setSingleFlashTopoInfo(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiFlashTopoInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// The module information of a cabinet.
    bool getModuleInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the module information of a cabinet.
    bool setSingleModuleInfo(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiModuleInfo(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The capability parameters of a cabinet.
    bool getCapability(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the capability parameters of a cabinet.
    bool setSingleCapability(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiCapability(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The decode-chip parameters of a cabinet.
    bool getDecodeChipParam(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the decode-chip parameters of a cabinet.
    bool setSingleDecodeChipParam(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiDecodeChipParam(const QString& deviceKey, const QList<QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// The chip registers of a cabinet.
    bool getChipRegister(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the chip registers of a cabinet.
    bool setSingleChipRegister(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiChipRegister(const QString& deviceKey, const QList<QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// The extended parameters of a cabinet's receiving card.
    bool getRvExtendParams(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the extended parameters of a cabinet's receiving card.
    bool setSingleRvExtendParams(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiRvExtendParams(const QString& deviceKey, const QList<QVariant>& body,
                               QMap<QString, QVariant>& reply);
    // Quirk: Misspelt names are part of the interface.
    /// Sets which broken lights of a cabinet are removed.
    bool setsingleRemoveBrokenLight(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiRemoveBrokenLight(const QString& deviceKey, const QList<QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Sets the second clock extension of a cabinet.
    bool setSingleSecClockExtend(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSecClockExtend(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the signal polarity of a cabinet.
    bool setSignalPolarity(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSignalPolarity(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the indicator light of a cabinet's receiving card.
    bool setSingleRvcardLight(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiRvcardLight(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Sets the slow brightness of a cabinet.
    bool setSingleSlowlyBrightness(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSlowlyBrightness(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply);
    /// Sets the signal delay of a cabinet.
    bool setSingleSignalDelay(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSignalDelay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// @}

    /// @name Smart setting
    /// A procedure of the device, which keeps track of the current step. Its steps may be sent in any order.
    /// @{

    /// Smart setting of a cabinet: goes back one step.
    bool setSingleSmartBackStep(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartBackStep(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the base information.
    bool setSingleSmartBaseInfo(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartBaseInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the OE type.
    bool setSingleSmartOEType(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartOEType(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the order of RGB.
    bool setSingleSmartRgbOrder(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartRgbOrder(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the group of data.
    bool setSingleSmartDataGroup(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartDataGroup(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the scan information.
    bool setSingleSmartScannInfo(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartScannInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the running data (point flow).
    bool setSingleSmartPointFlow(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartPointFlow(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the real-time order of RGB.
    bool setSingleSmartRgbIndex(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartRgbIndex(const QString& deviceKey, const QList<QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: a command.
    bool setSingleSmartCommand(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartCommand(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the index of drive lights.
    bool setSingleSmartDrivelight(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartDrivelight(const QString& deviceKey, const QList<QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the index of points.
    bool setSingleSmartPointIndex(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartPointIndex(const QString& deviceKey, const QList<QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the index of scans.
    bool setSingleSmartScanIndex(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartScanIndex(const QString& deviceKey, const QList<QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Smart setting of a cabinet: the temporary pattern.
    bool setSingleSmartGroup(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// The same for the cabinets that the body names.
    bool setMutiSmartGroup(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The maximum number of pixels that a cabinet can load.
    bool getCabinetMaxPixel(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// @}

private:
    explicit FactoryOp(QObject* parent = nullptr);
    ~FactoryOp() override;

    static FactoryOp* m_pInstance;
};

#endif
