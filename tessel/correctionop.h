// SPDX-License-Identifier: MIT
#ifndef TESSEL_CORRECTIONOP_H
#define TESSEL_CORRECTIONOP_H

#include <tessel/records/coeffsdata.h>
#include <tessel/tesselexport.h>

#include <communicator/httpjsonpackage.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QStringList>
#include <QVariant>
#include <QtPromise>

/// @ingroup correction
/// Correction coefficients of cabinets: uploading, storing and showing them, and their use by screens and
/// cabinets.
///
/// @snippet snippets.cpp Correctionop
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false` or
/// its promise was rejected.
///
/// No cache, no events, any thread. Each call sends one request; nothing is split, retried or interpreted.
///
/// Operations that return a promise need an event loop on the calling thread. Without an event dispatcher or
/// an application they block and return a settled promise. Each says how it reports a failure. At the end of
/// the application a pending promise is rejected with QPromiseUndefinedException, and a blocking upload
/// returns `false`.
class TESSEL_EXPORT Correctionop : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static Correctionop* getInstance();

    /// @name Upload of coefficient tables
    /// A table is a list, which is sent as one JSON array in one PUT.
    /// @{

    /// Uploads the plain coefficients of many cabinets. The promise is fulfilled with whether the exchange
    /// succeeded; the same holds for the four uploads below.
    /// @warning A failure does not reject the promise, and the device's `code` is not checked.
    QtPromise::QPromise<bool> uploadCoefficientAsync(const QString& deviceKey, const QList<QVariant>& body);
    /// Uploads the multilayer coefficients of many cabinets.
    QtPromise::QPromise<bool> uploadMultilayerCoefficientAsync(const QString& deviceKey,
                                                               const QList<QVariant>& body);
    /// Uploads the adaptive coefficients of many cabinets.
    QtPromise::QPromise<bool> uploadAdaptiveCoefficientAsync(const QString& deviceKey,
                                                             const QList<QVariant>& body);
    /// Uploads the dynamic coefficients of many cabinets.
    QtPromise::QPromise<bool> uploadDynamicCoefficientAsync(const QString& deviceKey,
                                                            const QList<QVariant>& body);
    /// Uploads the low-gray coefficients of many cabinets.
    QtPromise::QPromise<bool> uploadLowGrayCoefficientAsync(const QString& deviceKey,
                                                            const QList<QVariant>& body);

    /// Uploads the plain coefficients of one cabinet. The promise is fulfilled with the reply's data; the
    /// same holds for the three uploads below.
    /// @warning A failure does not reject the promise, but fulfils it with an empty map.
    QtPromise::QPromise<QMap<QString, QVariant>>
    uploadCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body);
    /// Uploads the multilayer coefficients of one cabinet.
    QtPromise::QPromise<QMap<QString, QVariant>>
    uploadMultilayerCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body);
    /// Uploads the dynamic coefficients of one cabinet.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    QtPromise::QPromise<QMap<QString, QVariant>>
    uploadDynamicCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body);
    /// Uploads the low-gray coefficients of one cabinet.
    /// @warning The request goes to the route of all cabinets.
    QtPromise::QPromise<QMap<QString, QVariant>>
    uploadLowgrayCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body);
    /// Uploads the plain coefficients of one cabinet and waits for the reply while the thread's events are
    /// processed, so operators may be re-entered meanwhile. The same holds for the three uploads below.
    /// @warning The result is `true` even if the exchange failed; @p reply is then empty.
    /// @return `false` only if writing @p body or sending it threw an exception, or if the application ended.
    bool uploadCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Uploads the multilayer coefficients of one cabinet and waits for the reply.
    bool uploadMultilayerCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body,
                                     QMap<QString, QVariant>& reply);
    /// Uploads the dynamic coefficients of one cabinet and waits for the reply.
    /// @warning Always fails for lack of a route, as above.
    bool uploadDynamicCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Uploads the low-gray coefficients of one cabinet and waits for the reply.
    /// @warning The request goes to the route of all cabinets, as above.
    bool uploadLowgrayCoefficient(const QString& deviceKey, const QString& id, const QList<QVariant>& body,
                                  QMap<QString, QVariant>& reply);

    /// Sends an upload request without content.
    /// @warning Both lists are ignored, and no body is sent.
    ///
    /// Rejects with the text "arguments error", sending nothing, if the device is empty; with
    /// QPromiseUndefinedException if the exchange failed, the reply is not valid JSON or its `code` is not
    /// zero.
    QtPromise::QPromise<void> uploadCoefficient(const QString& deviceKey, const QList<QString>& ids,
                                                const QList<CoeffsData>& body);
    /// Makes cabinets load their coefficients. Rejects like the operation above.
    QtPromise::QPromise<void> loadCabinetCoeffs(const QString& deviceKey, const QStringList& ids);
    /// Clears the coefficients of cabinets.
    /// @warning The promise is always fulfilled, even after a failure.
    QtPromise::QPromise<void> clearCabinetCoeffs(const QString& deviceKey, const QStringList& ids);
    /// Sends a PUT without a body to the route of all cabinets' coefficients.
    /// @warning @p ids is ignored, and the promise is always fulfilled with an empty list. Use
    /// loadCoefficient() to read coefficients.
    QtPromise::QPromise<QList<CoeffsData>> downloadCoefficient(const QString& deviceKey,
                                                               const QList<QString>& ids);

    /// Reads back the plain coefficients of all cabinets.
    /// @warning @p id has no effect: the path has no placeholder for it.
    bool loadCoefficient(const QString& deviceKey, const QString& id, QList<QVariant>& result);
    /// Reads back the multilayer coefficients of a cabinet.
    bool loadMultilayerCoefficient(const QString& deviceKey, const QString& id, QList<QVariant>& result);
    /// Reads back the multilayer coefficients, because there is no route for adaptive ones.
    bool loadAdaptiveCoefficient(const QString& deviceKey, const QString& id, QList<QVariant>& result);

    /// Fills @p package as saveCabinetsCoeffcient() does. The caller owns the package.
    /// @warning Sends nothing; the caller sends the package.
    void getsaveCabinetsCoeffcient(Krelm::Communicator::HttpDevice::HttpJsonPackage* package,
                                   const QMap<QString, QVariant>& body);
    /// The same for saveCabinetsLowgrayCoeffcient().
    void getsaveCabinetsLowgrayCoeffcient(Krelm::Communicator::HttpDevice::HttpJsonPackage* package,
                                          const QMap<QString, QVariant>& body);
    /// The same for saveCabinetsMultilayerCoeffcient().
    void getsaveCabinetsMultilayerCoeffcient(Krelm::Communicator::HttpDevice::HttpJsonPackage* package,
                                             const QMap<QString, QVariant>& body);
    /// @}

    /// @name Storage and display of coefficients
    /// @{

    // Quirk: Misspelt names are part of the interface.
    /// Saves the coefficients; may take six minutes.
    bool saveCabinetsCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Saves the multilayer coefficients; may take six minutes.
    bool saveCabinetsMultilayerCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Saves the low-gray coefficients; may take six minutes.
    bool saveCabinetsLowgrayCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                       QMap<QString, QVariant>& reply);
    /// Saves the adaptive coefficients; may take six minutes.
    bool saveCabinetsAdapCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply);
    /// Saves the factory coefficients; may take 30 seconds.
    bool saveCabinetsFactoryCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// Saves the module coefficients.
    /// @warning The request goes to the path that shows them; see
    /// CabinetInfoOperator::saveModuleCoefficient().
    bool saveCabinetsModuleCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                       QMap<QString, QVariant>& reply);
    /// Applies the low-gray coefficients; may take a minute.
    bool applyCabinetsLowgrayCoeffcient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// Clears the low-gray coefficients; may take three seconds.
    bool clearCabinetsLowgrayCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                         QMap<QString, QVariant>& reply);
    /// Clears the multilayer coefficients; may take three seconds.
    bool clearCabinetsMultilayerCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply);
    /// Clears the user's coefficients, on the plain clear path; may take three seconds.
    bool clearCabinetsUserCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply);
    /// Shows the coefficients.
    bool showCabinetsCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply);
    /// Shows the factory coefficients.
    bool showCabinetsFactoryCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// Shows the module coefficients.
    bool showCabinetsModuleCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                       QMap<QString, QVariant>& reply);
    /// Sets the parameters of multilayer coefficients; may take six seconds.
    bool setCabinetsMultilayerParameter(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// The same, in the second version of the format.
    bool setCabinetsMultilayerParameterV2(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the parameters of adaptive coefficients, in the second version of the format; may take six
    /// seconds.
    bool setCabinetsAdaptiveParameterV2(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// Sets the parameters of dynamic coefficients; may take six seconds.
    bool setCabinetsDynamicParameter(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply);
    /// Shows a solid colour on cabinets. The time limit is the member `timeout` of @p body, in milliseconds,
    /// but at least 30 s; the member is sent as well.
    bool setMutiCabinetSolid(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);

    /// Adjusts the coefficients of lines.
    bool adjustLineCoefficient(const QString& deviceKey, const QList<QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Adjusts the coefficients of regions, in RGB.
    bool adjustRegionRGBCoefficient(const QString& deviceKey, const QList<QVariant>& body,
                                    QMap<QString, QVariant>& reply);
    /// Adjusts the coefficients of regions, in HSL.
    bool adjustRegionHSLCoefficient(const QString& deviceKey, const QList<QVariant>& body,
                                    QMap<QString, QVariant>& reply);
    /// Sends the same request as adjustRegionRGBCoefficient().
    bool saveEffect(const QString& deviceKey, const QList<QVariant>& body, QMap<QString, QVariant>& reply);

    /// Saves the coefficients of one cabinet.
    bool setCorrectCoffcient(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& reply);
    /// Tests the flash memory of a cabinet.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool flashTest(const QString& deviceKey, const QString& id, const QVariant& body,
                   QMap<QString, QVariant>& reply);
    /// Reads the check codes of a cabinet's flash memory; may take 45 seconds. Ignores @p body.
    bool getFlashCheckCode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QList<QVariant>& result);
    /// Sends the same request without waiting.
    /// @warning The promise is always fulfilled with an empty map; only the blocking form returns check
    /// codes.
    QtPromise::QPromise<QMap<QString, QVariant>> getFlashCheckCode(const QString& deviceKey,
                                                                   const QString& id);
    /// @}

    /// @name Correction state
    /// @{

    /// The effect mode of a cabinet, in `mode`; may take six seconds.
    bool getCabinetEffectMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The effect mode of a screen, in `mode`; may take six seconds.
    bool getScreenEffectMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Whether correction is on at a cabinet, in `enable`.
    bool getCorrectEnable(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The correction action of a screen.
    bool getCorrectAction(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The colour-management mode of a cabinet.
    bool getCorrectColorManageMode(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result);
    /// The NICC measurement of a cabinet.
    bool getCorrectNiccMeasure(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The colour coefficient adjustment of a screen.
    bool getScreenColorCoeffAdjust(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result);
    /// The NICC data of a cabinet.
    bool getCorrectNicc(const QString& deviceKey, const QString& id, QList<QVariant>& result);
    /// The NICC data of a screen. @p status is set to the HTTP status of the reply, or 0 if there is none.
    bool getScreenCorrectNicc(const QString& deviceKey, const QString& id, QList<QVariant>& result,
                              int& status);

    /// Switches correction on or off.
    bool setCorrectEnable(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Sets the correction thresholds.
    bool setCorrectThreshold(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets gray-level gathering.
    bool setCorrectGrayGather(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Sets the gray level per colour.
    bool setCorrectGrayRGB(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Sets the gray coefficients.
    bool setGrayCoefficient(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Shows a gray level.
    bool setGrayDisplay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Sets the NICC data.
    bool setCorrectNicc(const QString& deviceKey, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Sets the NICC measurement.
    bool setCorrectNiccMeasure(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply);
    /// Sets the colour-management mode.
    bool setCorrectColorManageMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply);

    /// Sets the effect mode of a cabinet.
    bool setCabinetEffectMode(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the effect mode of the cabinets that @p body names; may take six seconds.
    bool setCabinetEffectMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Sets the correction effect of the cabinets that @p body names; may take six seconds.
    bool setCabinetCorrectEffect(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply);
    /// Sets the effect mode of a screen; may take six seconds.
    bool setScreenEffectMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Sets the correction action of a screen.
    bool setCorrectAction(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Sets the colour coefficient adjustment of a screen.
    bool setScreenColorCoeffAdjust(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the bit depth extension of a screen.
    bool setScreenXBit(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Switches the automatic brightness limit of a screen on or off.
    bool setScreenABLEnable(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);

    /// The effect mode of a cabinet, or 0 if the reply has none. Rejects with the text "arguments error",
    /// sending nothing, if the device is empty; with QPromiseUndefinedException if the exchange failed, the
    /// reply is not valid JSON or its `code` is not zero.
    QtPromise::QPromise<int> getCabinetEffectMode(const QString& deviceKey, const QString& id);
    /// The effect mode of a screen, or 0 if the reply has none. Never rejects.
    /// @warning After a failure the promise is fulfilled with 1. @p id is ignored: the placeholder in the
    /// path is sent unfilled.
    QtPromise::QPromise<int> getScreenEffectMode(const QString& deviceKey, const QString& id);
    /// Whether correction is on at a cabinet. Never rejects.
    /// @warning After a failure the promise is fulfilled with `false`.
    QtPromise::QPromise<bool> getCorrectEnable(const QString& deviceKey, const QString& id);
    /// Sets the effect mode of a cabinet; fulfilled with whether the exchange succeeded. Rejects with the
    /// text "arguments error", sending nothing, if device or cabinet is empty.
    QtPromise::QPromise<bool> setCabinetEffectMode(const QString& deviceKey, const QString& id, int mode);
    /// Sets the effect mode of a screen; fulfilled with whether the exchange succeeded. Does not check its
    /// arguments, and never rejects after a failed exchange.
    QtPromise::QPromise<bool> setScreenEffectMode(const QString& deviceKey, const QString& id, int mode);

    /// Only logs a warning; fulfilled with `false`.
    QtPromise::QPromise<bool> setAction(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body);
    /// Does nothing; fulfilled with `false`.
    QtPromise::QPromise<bool> setCorrectEnable(const QString& deviceKey, const QStringList& ids, bool enable);
    /// Does nothing; returns `false` and leaves @p reply unchanged.
    bool setScreenCorrectionMode(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// @}

private:
    explicit Correctionop(QObject* parent = nullptr);
    ~Correctionop() override;

    bool setData(const QString& deviceKey, const QString& routeKey, const QMap<QString, QVariant>& body,
                 QMap<QString, QVariant>& reply);

    static Correctionop* m_pInstance;
};

#endif
