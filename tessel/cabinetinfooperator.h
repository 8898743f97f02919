// SPDX-License-Identifier: MIT
#ifndef TESSEL_CABINETINFOOPERATOR_H
#define TESSEL_CABINETINFOOPERATOR_H

#include <tessel/records/cabinetinfo.h>
#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QVariant>

#include <QtPromise>

/// @ingroup cabinets
/// The cabinets of a device and their receiving cards.
///
/// @snippet snippets.cpp CabinetInfoOperator
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false` or
/// its promise was rejected.
///
/// Cache. Two lists per device. That of cabinets is filled by reads and events and dropped at a logout; that
/// of receiving cards is filled only by events and never dropped. Nothing else is cached.
///
/// Events. While watching, a pushed "cabinetsChange" fetches both lists again, "allFlags" only the cabinets.
/// While not watching, events are ignored and every read of the cabinets goes to the device.
///
/// Threads. Call the operations on the two lists on the thread of the first getInstance(), which needs an
/// event loop for the events; all others may run on any thread.
class TESSEL_EXPORT CabinetInfoOperator : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static CabinetInfoOperator* getInstance();

    /// Reacts to events and answers reads from the cache. This is the initial state.
    void startWatch();
    /// Ignores events and sends every read of the cabinets to the device. The caches keep their entries.
    void shutDownWatch();

    /// Makes sure that the cabinets are cached; @p force always fetches them.
    bool getAllCabinetsInfo(const QString& deviceKey, bool force);
    /// The cabinets. @p result is left unchanged on `false`.
    bool getAllCabinetsInfo(const QString& deviceKey, QList<QVariant>& result, bool force);
    /// The first cabinet whose "id" reads as @p id.
    /// @return `false`, with @p result unchanged, if there is none or the cabinets could not be read.
    bool getCabinetInfo(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The typed cabinets, bypassing the cache. Rejects with QPromiseUndefinedException if the exchange
    /// failed; the list is empty if the reply cannot be decoded.
    QtPromise::QPromise<QList<Tessel::CabinetInfo>> getAllCabinets(const QString& deviceKey);

    /// @name Reads of one cabinet, selected by its "id"
    /// @{

    /// The family name.
    bool getCabFamilyName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The manufacturer's name.
    bool getCabMFRSName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The point spacing.
    bool getCabPointSpace(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The short name.
    bool getCabShortName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The limits of the effect adjustment.
    bool getCabinetBrightnessRange(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result);
    /// The fine-gray configuration.
    bool getCabinetFineGrayConfig(const QString& deviceKey, const QString& id,
                                  QMap<QString, QVariant>& result);
    /// The custom gamma.
    bool getCabinetGammaCustomValue(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& result);
    /// The brightness per colour.
    bool getCabinetRGBBrightness(const QString& deviceKey, const QString& id,
                                 QMap<QString, QVariant>& result);
    /// The receiving card's name.
    bool getCabinetRecvName(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The receiving card's rate.
    bool getCabinetRecvRate(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The receiving card's colour temperature.
    bool getCabinetRvColorTemp(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The serial number.
    bool getCabinetSN(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The cabinet type.
    bool getCabinetType(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Whether XBit is enabled.
    bool getCabinetXbitEnable(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The receiving card's configuration.
    bool getConfigFile(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// @}

    /// @name Reads of a property of all cabinets
    /// @{

    /// The manufacturers' names of all cabinets, as parsed.
    bool getAllCabMFRSName(const QString& deviceKey, QList<QVariant>& result);
    /// The short names of all cabinets, as parsed.
    bool getAllCabShortName(const QString& deviceKey, QList<QVariant>& result);
    /// The chips of all cabinets, as parsed.
    bool getAllCabinetChip(const QString& deviceKey, QList<QVariant>& result);
    /// The types of all cabinets, as parsed.
    bool getAllCabinetType(const QString& deviceKey, QList<QVariant>& result);
    /// The receiving cards of all cabinets, flattened.
    bool getAllCabinetsRxs(const QString& deviceKey, QList<QVariant>& result);
    /// All flags, as parsed.
    bool getCabAllFlags(const QString& deviceKey, QList<QVariant>& result);
    /// The base information of all cabinets, as parsed.
    bool getCabinetsBaseInfo(const QString& deviceKey, QList<QVariant>& result);

    /// The receiving cards of one cabinet, flattened.
    bool getCabinetRxs(const QString& deviceKey, const QString& id, QList<QVariant>& result);
    /// The gamma table of one cabinet, empty if the reply has none; @p query is sent in the URL.
    bool getCabinetGammaCurveInfo(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QString>& query, QList<QVariant>& result);
    /// Appends the cabinets whose "outputID" is @p portId to @p result; a cabinet without one counts as port
    /// 0. Uses the cache as getAllCabinetsInfo() does; call it on the same thread. Appends nothing on
    /// failure.
    void getPortCabinetsInfo(const QString& deviceKey, int portId, QList<QVariant>& result);
    /// @}

    /// @name Writes
    /// Those with an id apply to that cabinet; otherwise the body names the cabinets. The device API
    /// defines the bodies. A `body` that is also an output is sent as the settings and then replaced by the
    /// reply.
    /// @{

    // Quirk: Settings taken by reference are not changed.

    /// Sets the brightness without waiting; @p reply is left unchanged.
    /// @warning Always returns `true`, even if nothing could be sent.
    bool setCabSingleBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setCabMultBrightness(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Sets the gamma.
    bool setCabSingleGamma(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setCabMultGamma(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Sets the beacon.
    bool setCabSingleBeacon(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setCabMultBeacon(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Sets the indicator light.
    bool setCabSingleLightState(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setCabMultLightState(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Sets the colour temperature.
    bool setCabSingleColorTemp(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setCabMultColorTemp(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets the receiving card's colour temperature.
    bool setCabRvSingleColorTemp(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setCabRvMultColorTemp(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Switches custom gamma on or off.
    bool setEnableSingleCustomGamma(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setEnableMultCustomGamma(const QString& deviceKey, const QList<QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Sets the custom gamma.
    bool setCabinetGammaCustomValue(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetGammaCustomValue(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// Sets the RGB gain.
    bool setSingleCabinetRgbGain(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetRgbGain(const QString& deviceKey, const QList<QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the 18-bit mode.
    bool setSingleCabinet18bitMode(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinet18bitMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply);
    /// Sets the solid mode.
    bool setSingleCabinetSolid(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetSolid(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets the physical size.
    bool setSingleCabinetPhySize(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetPhySize(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the weight.
    bool setSingleCabinetWeight(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetWeight(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Sets the power.
    bool setSingleCabinetPower(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetPower(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets the voltage.
    bool setSingleCabinetVoltage(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetVoltage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the family name.
    bool setSglCabFamilyName(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabFamilyName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Sets the manufacturer's name.
    bool setSglCabMFRSName(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabMFRSName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Sets the short name.
    bool setSglShortName(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiShortName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Sets the cabinet type.
    bool setSglCabinetType(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiCabinetType(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Sets the point spacing.
    bool setSglPointSpace(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMutiPointSpace(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Sets the fine gray.
    bool setSingleCabFineGray(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiCabFineGray(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets the correction.
    bool setSingleCabCorrection(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiCabCorrection(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the brightness per colour.
    bool setCabinetRGBBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    bool setCabinetsRGBBrightness(const QString& deviceKey, QMap<QString, QVariant>& body);
    /// Sets the XBit mode.
    bool setCabinetXBitMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    bool setCabinetsXBitMode(const QString& deviceKey, QMap<QString, QVariant>& body);

    /// Switches XBit.
    /// @warning The request goes to the path of all cabinets.
    bool setCabinetXbitEnable(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    /// @warning The request goes to the path of one cabinet, with its placeholder unfilled.
    bool setCabinetXbitEnable(const QString& deviceKey, QMap<QString, QVariant>& body);
    /// Sets the XBit phase per colour.
    /// @warning The request goes to the path of all cabinets.
    bool setCabinetXBitRGBPhase(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    /// @warning The request goes to the path of one cabinet, with its placeholder unfilled.
    bool setCabinetXBitRGBPhase(const QString& deviceKey, QMap<QString, QVariant>& body);
    /// Sets the XBit gray scale.
    /// @warning The request goes to the path of all cabinets.
    bool setCabinetXBitGrayScale(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    /// @warning The request goes to the path of one cabinet, with its placeholder unfilled.
    bool setCabinetXBitGrayScale(const QString& deviceKey, QMap<QString, QVariant>& body);
    /// Sets the XBit jitter mode.
    /// @warning The request goes to the path of all cabinets.
    bool setCabinetXBitJitterMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    /// @warning The request goes to the path of one cabinet, with its placeholder unfilled.
    bool setCabinetXBitJitterMode(const QString& deviceKey, QMap<QString, QVariant>& body);
    /// Sets the XBit high-low mode.
    /// @warning The request goes to the path of all cabinets.
    bool setCabinetXBitHighLowMode(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& body);
    /// The same for several cabinets.
    /// @warning The request goes to the path of one cabinet, with its placeholder unfilled.
    bool setCabinetXBitHighLowMode(const QString& deviceKey, QMap<QString, QVariant>& body);

    /// Sets the flags; the path is that of all cabinets.
    bool setCabinetFlag(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Sets the serial-number flags.
    bool setCabinetSnflags(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Sets the flags of modules.
    bool setModuleflags(const QString& deviceKey, const QList<QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Sets all parameters of the light.
    bool setCabinetLightAllParam(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the receiving cards' configuration.
    bool setMutiConfigFile(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Sets the receiving cards' configuration, on the same route and for up to 120 s.
    /// @warning @p id is ignored.
    bool setSingleConfigFile(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Meant to write the description of a cabinet.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setCabinetInfo(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Meant to write the pixel size of a cabinet.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setCabinetPixelSize(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Returns `true` at once and logs the outcome as a number at critical level. The calling thread needs an
    /// event loop.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setCabinetBrightnessAsync(const QString& deviceKey, const QList<QVariant>& body);
    /// @}

    /// @name Detection of communication errors and their rate
    /// For the cabinet with the id, or else for those that the body names.
    /// @{

    /// Switches the detection on or off.
    bool communicationErrorDetectSwitcher(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool communicationErrorDetectSwitcher(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Shows the test pattern on which the measurement is based.
    bool berTestPattern(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool berTestPattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    // Quirk: Misspelt names are part of the interface.
    /// The detection time.
    bool getDetecteErrorRateTimeData(const QString& deviceKey, const QString& id,
                                     QMap<QString, QVariant>& result);
    /// Sets the detection time.
    bool setDetecteErrorRateTimeData(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setDetecteErrorRateTimeData(const QString& deviceKey, const QList<QVariant>& body,
                                     QMap<QString, QVariant>& reply);
    /// The errors between two times, given in the device's format.
    bool getCommunicationErrorData(const QString& deviceKey, const QString& id, const QString& beginTime,
                                   const QString& endTime, QMap<QString, QVariant>& result);
    /// @}

    /// @name All receiving cards together, and the coefficients stored in modules
    /// @{

    /// The receiving cards: from the cache if it holds them, flattened; otherwise from the device, as parsed,
    /// and without caching them. Call it on the thread of the first getInstance().
    bool getRvCardsList(const QString& deviceKey, QList<QVariant>& result);
    /// The progress of a firmware update.
    bool getRvCardsUpdateProgress(const QString& deviceKey, QMap<QString, QVariant>& result);
    /// Uploads firmware; blocks for up to five minutes.
    bool putRvCardsUpdate(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                          QMap<QString, QVariant>& reply);
    /// Makes the cards load the uploaded firmware.
    bool putRvCardsUpdateLoad(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                              QMap<QString, QVariant>& reply);
    /// Stores the firmware of a card in the file @p path.
    /// @warning Always returns `true`. A failure leaves an existing file unchanged, so remove the file first
    /// to detect a failure.
    bool getRvCardFirmware(const QString& deviceKey, QString id, int type, QString path);
    /// Clears the coefficients of modules, within @p waitTime + 30000 ms.
    bool clearModuleCoefficient(const QString& deviceKey, QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply, int waitTime);
    /// Shows the stored coefficients of modules, within @p waitTime + 30000 ms.
    bool reloadModuleCoefficient(const QString& deviceKey, QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply, int waitTime);
    /// Saves the coefficients of modules, within @p waitTime + 300000 ms.
    bool saveModuleCoefficient(const QString& deviceKey, QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply, int waitTime);
    /// @}

    /// @name Images and test patterns, of the cabinet with the id, or else of those that the body names
    /// @{

    /// Sets how long the boot image is shown.
    bool setSingleBootImageTime(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiBootImageTime(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Previews the boot image.
    bool setSingleBootImagePreview(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiBootImagePreview(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Sets the use of the prestored image.
    bool setSingleCabPrestoreImage(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiCabPrestoreImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Previews the prestored image.
    bool setSinglePreviewImagePreview(const QString& deviceKey, const QString& id,
                                      const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiPreviewImagePreview(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply);
    /// Sets what is shown while the cable is disconnected.
    bool setSingleAbnormalDisconnected(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// The same for several cabinets.
    bool setMultiAbnormalDisconnected(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply);

    /// Sets the regions of boot images.
    bool setBootImageRegion(const QString& deviceKey, const QList<QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Meant to set the boot images of cabinets to pictures of their own.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setBootCustomImage(const QString& deviceKey, const QList<QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Meant to place the boot images of cabinets.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setBootImagePos(const QString& deviceKey, const QList<QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Meant to restore the boot images of cabinets.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setCabBootRestoreImage(const QString& deviceKey, const QList<QVariant>& body,
                                QMap<QString, QVariant>& reply);

    /// Uploads a prestored image.
    bool setSinglePrestoreImage(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& parts, QMap<QString, QVariant>& reply);
    /// The same for the cabinets listed in the part "id", with a time limit of 3000 ms for each of them.
    bool setMultiPrestoreImage(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                               QMap<QString, QVariant>& reply);

    /// Meant to show a test pattern on a cabinet; setMutiTestPattern() does.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool setTestPattern(const QString& deviceKey, const QString& id, const QString& fbColor,
                        const QString& bgColor);
    /// Shows a test pattern on several cabinets.
    bool setMutiTestPattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// @}

Q_SIGNALS:
    /// The device's cabinets have changed and were fetched again. Emitted once per "cabinetsChange" event, on
    /// this object's thread.
    /// @warning Emitted even if the fetch failed; read the cabinets again.
    void signal_sendDataChanged(const QString& key);
    /// The cached receiving cards of the device were replaced. Emitted once per "cabinetsChange" event whose
    /// fetch succeeded, on this object's thread.
    void signal_rvCardsInfoChanged(const QString& key);
    /// The cached cabinets of the device were replaced because their flags have changed. Emitted once per
    /// "allFlags" event whose fetch succeeded, on this object's thread.
    void signal_sendCountChanged(const QString& key);

private:
    explicit CabinetInfoOperator(QObject* parent = nullptr);
    ~CabinetInfoOperator() override;

    void forgetDevice(const QString& deviceKey);
    void handleEvent(const QByteArray& data, const QString& deviceKey);

    bool m_isWatch = true;
    // Quirk: A mutex that nothing locks stays a member. All access to the caches is on one thread.
    QMutex m_mutex;
    QMap<QString, QList<QVariant>> m_cabinetsInfo;
    QMap<QString, QList<QVariant>> m_rvCardsInfo;

    static CabinetInfoOperator* m_pInstance;
};

#endif
