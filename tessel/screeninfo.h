// SPDX-License-Identifier: MIT
#ifndef TESSEL_SCREENINFO_H
#define TESSEL_SCREENINFO_H

#include <tessel/records/screensinfo.h>
#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QVariant>
#include <QtPromise>

#include <initializer_list>
#include <vector>

namespace Krelm::Communicator::HttpDevice {
class HttpJsonPackage;
}

namespace Tessel {
struct ScreenProperty;
}

/// @ingroup screens
/// The screens of a device: their list, their display properties, and the pictures shown on them.
///
/// @snippet snippets.cpp ScreenInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false` or
/// its promise was rejected.
///
/// A screen is identified by its device and by the id that the device reports as `screenID`.
///
/// Cache. The screen list and the screen tags of a device are kept until it logs out, the properties of a
/// screen for the life of the process, even across a logout. A read with `force` always asks the device, and
/// leaves cache and output unchanged if it fails.
/// @warning Events do not refresh the properties of a screen: only a forced read, and the writes that say so,
/// update a cached property. A write that the device refuses by the reply's `code` updates the cache as well.
///
/// Events. While watching, a device's "screensInfo" and "screensTagInfo" events refresh list and tags in the
/// background, and "screenName" is passed on. While not watching, events are ignored and the screen list is
/// always read from the device.
///
/// Threads. Call every operation on the thread of the first getInstance(), which owns the caches and runs the
/// event handlers.
///
/// @warning Operations that choose their route by the device's protocol need a preceding
/// `HWInfo::getHwProtoc(deviceKey, true)`; without it every device counts as single-screen.
class TESSEL_EXPORT ScreenInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static ScreenInfo* getInstance();

    /// Reacts to events and answers the screen list from the cache. Events missed before are not caught up.
    void startWatch();
    /// Ignores events and reads the screen list from the device every time. The caches keep their entries.
    void shutDownWatch();

    /// @name List and tags
    /// @{

    /// Makes sure that the device's screens are cached.
    bool getScreens(const QString& deviceKey, bool force);
    /// The same, then adds the screens to @p result by their id: with @p perScreen each element of the lists
    /// in the device's reply, otherwise the reply as a whole. Other entries of @p result are kept.
    bool getScreens(const QString& deviceKey, QMap<QString, QMap<QString, QVariant>>& result, bool force,
                    bool perScreen);
    /// Reads a typed screen, bypassing the cache. Rejects with the text "arguments error" when @p deviceKey
    /// is empty, with QPromiseUndefinedException when the exchange failed, the reply is not valid JSON or its
    /// `code` is not zero.
    QtPromise::QPromise<Tessel::ScreensInfo> getScreens2(const QString& deviceKey);
    /// Posts @p body to the screens. Does not wait: returns `true` and an empty @p reply, because no reply
    /// has arrived yet.
    bool postScreens(const QString& deviceKey, QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Reads the screen tags into @p result and the cache; a failure empties both.
    bool getHWInfoScreenTag(const QString& deviceKey, QMap<QString, QVariant>& result);
    /// Writes the screen tags. Does not wait: always `true`, @p reply is left unchanged.
    bool putHWInfoScreenTag(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// @}

    /// @name Display properties
    /// @{

    /// Reads the 18-bit switch into `enable` (`bool`).
    bool get18bit(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result, bool force);
    /// Reads the colour gamut into `gamut` (`uint`).
    bool getCurrentGamut(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                         bool force);
    /// Reads the low-latency switch into `enable` (`bool`).
    bool getLowLatency(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                       bool force);
    /// Reads the uniform-display switch into `enable` (`bool`).
    bool getUniformDisplay(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                           bool force);
    /// Reads the HDR switch into `enable` (`bool`).
    bool getDeviceScreenHdrparamHdrSwitch(const QString& deviceKey, const QString& id,
                                          QMap<QString, QVariant>& result, bool force);
    /// Reads the HDR mode into `mode` (`int`).
    bool getDeviceScreenHdrparamHdrMode(const QString& deviceKey, const QString& id,
                                        QMap<QString, QVariant>& result, bool force);
    /// Reads the HLG mode into `hlgMode` (`int`).
    bool getDeviceScreenHdrparamHlgtype(const QString& deviceKey, const QString& id,
                                        QMap<QString, QVariant>& result, bool force);
    /// Reads the HDR peak brightness into `peakBrightness` (`int`).
    bool getDeviceScreenHdrparamMaxoflight(const QString& deviceKey, const QString& id,
                                           QMap<QString, QVariant>& result, bool force);
    /// Reads the HDR illuminance into `illuminance` (`int`).
    bool getDeviceScreenHdrparamIlluminance(const QString& deviceKey, const QString& id,
                                            QMap<QString, QVariant>& result, bool force);
    /// Reads the HDR low-gray compensation into `lowGray` (`int`).
    bool getDeviceScreenHdrparamLowgray(const QString& deviceKey, const QString& id,
                                        QMap<QString, QVariant>& result, bool force);
    /// Reads the 3D switch into `enable` (`bool`).
    bool getDeviceScreenthreeDSwitch(const QString& deviceKey, const QString& id,
                                     QMap<QString, QVariant>& result, bool force);
    /// Reads the 3D source mode into `sourceMode` (`int`).
    bool getDeviceScreenthreeDSourceMode(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& result, bool force);
    /// Reads the 3D eye priority into `eyePriority` (`int`).
    bool getDeviceScreenthreeDEyepriority(const QString& deviceKey, const QString& id,
                                          QMap<QString, QVariant>& result, bool force);
    /// Reads the 3D depth of field into `fieldDepth` (`int`).
    bool getDeviceScreenthreeDDepthField(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& result, bool force);
    /// Reads the offset of the right eye into `rightEyeOffset.x` and `rightEyeOffset.y` (`int`); always from
    /// the device.
    bool getDeviceScreenthreeDStartposition(const QString& deviceKey, const QString& id,
                                            QMap<QString, QVariant>& result, bool force);
    /// Reads the colour temperature; @p body is sent and then replaced by the reply. The last argument is
    /// ignored.
    bool getColorTemperature(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                             bool);
    /// Reads the colour space of the LEDs.
    bool getScreenColorSpaceInfo(const QString& deviceKey, const QString& id,
                                 QMap<QString, QVariant>& result);
    /// Reads the XBit mode.
    /// @warning Not reentrant.
    bool getXbitMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Not in use: does nothing and returns `false`.
    bool getFineGray(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result, bool);
    /// @}

    /// @name Brightness and gamma
    /// @{

    /// Reads the brightness into `brightness` (`uint`), as the device reports it. Unless the value is cached,
    /// it first checks the device's cabinets, and fetches them if CabinetInfoOperator has none cached.
    /// @warning If there are no cabinets or they cannot be read, the brightness is not read: the result is
    /// `true` with the cached value or, if there is none, 0, which is cached from then on.
    bool getBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                       bool force);
    /// Sets the brightness: stores it as member `brightness` of @p body and sends @p body. The write does not
    /// wait; it updates the cache once its exchange has succeeded.
    /// @warning With the multi-screen protocol the value is divided by 255, rounding down, before it is sent
    /// and cached, and reads do not multiply it back; the path has no place for the screen's id, so the write
    /// sets all screens.
    /// @warning The device's cabinets are checked first as by getBrightness(), which can block. If there are
    /// none or they cannot be read, the result is `true`, and @p body is neither changed nor sent.
    /// @warning The cache is updated even if the device refuses the write by the `code` of its reply.
    /// @return whether the request was started.
    bool setBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                       int brightness);
    /// Reads the brightness mode.
    bool getBrightnessMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the brightness mode. Does not wait: returns `true` and an empty @p reply, because no reply has
    /// arrived yet.
    bool setBrightnessMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Reads the brightness per colour; @p body is sent and then replaced by the reply.
    bool getBrightnessRgb(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// Sets the brightness per colour.
    bool setBrightnessRgb(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Reads the gamma of the three channels into `rGamma`, `gGamma`, `bGamma` (`double`); a missing channel
    /// reads as 0.
    bool getSingleGamma(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                        bool force);
    /// Sets the gamma of channel `type` to `gamma`, with type 3 that of all three channels, and updates the
    /// cache.
    /// @warning The cache is updated even if the device refuses the write by the `code` of its reply.
    bool setOneGamma(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Reads the gamma table.
    bool getGammaAllList(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the gamma table.
    bool setGammaTable(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Reads the gamma curve described by the members `gammaValue`, `grayScale`, `lumRatio`, `maxY`,
    /// `qualityMode` and `gammaMode` of @p query; missing ones are sent empty.
    bool getGammaCurve(const QString& deviceKey, const QString& id, QMap<QString, QString> query,
                       QList<QVariant>& result);
    /// Reads the gray scale.
    bool getGrayScale(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// @}

    /// @name Writes that update a cached property
    /// @{

    /// Sets the 18-bit switch from member `enable`. Does not wait; updates the cache once the exchange has
    /// succeeded.
    /// @warning The cache is updated even if the device refuses the write by the `code` of its reply.
    /// @return whether the request was started.
    bool set18bit(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Sets the low-latency switch from member `enable`. Does not wait; updates the cache once the exchange
    /// has succeeded.
    /// @warning The cache is updated even if the device refuses the write by the `code` of its reply.
    /// @return whether the request was started.
    bool setLowLatency(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Sets the uniform-display switch from member `enable`. Does not wait; updates the cache once the
    /// exchange has succeeded.
    /// @warning The cache is updated even if the device refuses the write by the `code` of its reply.
    /// @return whether the request was started.
    bool setUniformDisplay(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Sets the colour gamut from member `gamut`. Does not wait; updates the cache once the exchange has
    /// succeeded; @p reply is left unchanged.
    /// @warning The cache is updated even if the device refuses the write by the `code` of its reply.
    /// @return whether the request was started.
    bool setGamut(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                  QMap<QString, QVariant>& reply);
    /// @}

    /// @name HDR and 3D, on one screen and on several at once
    /// These writes do not update the cached properties. For several screens the requests run in parallel,
    /// `false` means that at least one failed, and `result` is left unchanged. Other events of the thread are
    /// delivered meanwhile, so operators may be re-entered.
    /// @warning With an empty list of ids the call waits until something else quits its event loop or the
    /// application ends.
    /// @{

    /// Sets the HDR switch.
    bool putDeviceScreenHdrparamHdrSwitch(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the HDR switch of the screens @p ids.
    bool putDeviceScreenHdrparamHdrSwitch(const QString& deviceKey, const QStringList& ids,
                                          const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the HDR mode.
    bool putDeviceScreenHdrparamHdrMode(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the HDR mode of the screens @p ids.
    bool putDeviceScreenHdrparamHdrMode(const QString& deviceKey, const QStringList& ids,
                                        const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the HLG mode.
    bool putDeviceScreenHdrparamHlgtype(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the HLG mode of the screens @p ids.
    bool putDeviceScreenHdrparamHlgtype(const QString& deviceKey, const QStringList& ids,
                                        const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the HDR peak brightness.
    bool putDeviceScreenHdrparamMaxoflight(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply);
    /// Sets the HDR peak brightness of the screens @p ids.
    bool putDeviceScreenHdrparamMaxoflight(const QString& deviceKey, const QStringList& ids,
                                           const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the HDR illuminance.
    bool putDeviceScreenHdrparamIlluminance(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply);
    /// Sets the HDR illuminance of the screens @p ids.
    bool putDeviceScreenHdrparamIlluminance(const QString& deviceKey, const QStringList& ids,
                                            const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the HDR low-gray compensation.
    bool putDeviceScreenHdrparamLowgray(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the HDR low-gray compensation of the screens @p ids.
    bool putDeviceScreenHdrparamLowgray(const QString& deviceKey, const QStringList& ids,
                                        const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the 3D switch.
    bool putDeviceScreenthreeDSwitch(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the 3D switch of the screens @p ids.
    bool putDeviceScreenthreeDSwitch(const QString& deviceKey, const QStringList& ids,
                                     const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the 3D source mode.
    bool putDeviceScreenthreeDSourceMode(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the 3D source mode of the screens @p ids.
    bool putDeviceScreenthreeDSourceMode(const QString& deviceKey, const QStringList& ids,
                                         const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the 3D eye priority.
    bool putDeviceScreenthreeDEyepriority(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the 3D eye priority of the screens @p ids.
    bool putDeviceScreenthreeDEyepriority(const QString& deviceKey, const QStringList& ids,
                                          const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the offset of the right eye.
    bool putDeviceScreenthreeDStartposition(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply);
    /// Sets the offset of the right eye of the screens @p ids.
    bool putDeviceScreenthreeDStartposition(const QString& deviceKey, const QStringList& ids,
                                            const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// Sets the 3D depth of field.
    bool putDeviceScreenthreeDDepthField(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the 3D depth of field of the screens @p ids.
    bool putDeviceScreenthreeDDepthField(const QString& deviceKey, const QStringList& ids,
                                         const QMap<QString, QVariant>& body, QList<QVariant>& result);
    /// @}

    /// @name Input and cabling
    /// @{

    /// Sets what the screen shows when a cable is unplugged.
    bool putDeviceScreenCabledisconnect(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Adjusts the seams between cabinets.
    bool putDeviceScreenSeamadjustment(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Selects the input of the screen.
    bool putScreenSetInput(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// @}

    /// @name Colour
    /// @{

    /// Initialises the colour space of the LEDs.
    bool setColorSpaceInit(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Returns from colour space measuring to the normal display.
    bool setColorSpaceNormalDisplay(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& reply);
    /// Demonstrates a gamut.
    bool setDemoColorSpaceGamut(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Shows a colour.
    bool setScreenColor(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    // Quirk: Settings taken by reference are not changed.
    /// Changes a source colour to a target colour.
    bool setChangeColorFromToTarget(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Switches the protection of skin tones on or off.
    bool setSkinProtect(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Switches the tolerance image on or off.
    bool setToleranceToggle(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Sets the colour correction.
    bool setColorCorrection(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Sets the colour correction of white and black.
    bool setWhiteBlackColorCorrection(const QString& deviceKey, const QString& id,
                                      QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Resets the colour correction.
    bool resetColorCorrection(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Resets the colour replacement.
    bool resetColorpReplace(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Triggers the colour correction.
    bool triggerColorCorrection(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Triggers the colour replacement.
    bool triggerColorReplace(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Saves the colour temperature. Does not wait: returns `true` and an empty @p reply, because no reply
    /// has arrived yet.
    bool saveColorTemperature(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the colour temperature. Does not wait: returns `true`, because no reply has arrived yet.
    bool setColorTemperature(const QString& deviceKey, const QString& id,
                             const QMap<QString, QVariant>& body);
    /// @}

    /// @name On the device as a whole
    /// Operations that do not wait return `true` and an empty reply, because no reply has arrived yet.
    /// @warning Operations without a route send a request with an empty path, which fails and has no effect;
    /// those of them that do not wait return `true` nevertheless.
    /// @{

    /// Writes the data of a colour switch; does not wait.
    bool putColorsWitchData(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Returns to the normal display; does not wait.
    bool putNormalDisplay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Names a screen; does not wait.
    bool putScreenName(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Shows or hides lines; does not wait.
    bool putShowlineState(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Adjusts the colour; does not wait, has no route.
    bool setHwColor(const QString& deviceKey, const QMap<QString, QVariant>& body,
                    QMap<QString, QVariant>& reply);
    // Quirk: Misspelt names are part of the interface.
    /// Shows the normal picture; does not wait, has no route.
    bool setNomalDisplay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Shows a mouse pointer on the screen; does not wait, has no route.
    bool setMouseToScreen(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Enters the hardware mode; does not wait, has no route.
    bool setScreemHWMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Sets the state of lines; does not wait, has no route.
    bool setScreenLineState(const QString& deviceKey, const QList<QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Sets the state of regions; does not wait, has no route.
    bool setScreenRegionState(const QString& deviceKey, const QList<QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Clears the selected lines; has no route.
    bool setClearLinestate(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Shows or hides the selected lines; has no route.
    bool setIsShowLinestate(const QString& deviceKey, const QList<QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// @}

    /// @name Gray scale and NICC
    /// @{

    /// Sets the XBit mode.
    bool setXbitMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Not in use: does nothing and returns `false`.
    bool setFineGray(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Uploads a NICC file unchanged; an empty @p id is not sent.
    bool uploadNiccData(const QString& deviceKey, const QString& id, const QByteArray& data);
    /// Asks the device for its NICC state and returns whether the exchange succeeded. An empty @p id is not
    /// sent.
    /// @warning The state itself is discarded, and @p body is ignored.
    bool getNiccState(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// @}

    /// @name Images
    /// @{

    /// Sets the boot image; has no route.
    bool putDeviceScreenBootImage(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the position of the boot image; has no route.
    bool putDeviceScreenBootImagePosition(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the region of the boot image; has no route.
    bool putDeviceScreenBootImageRegion(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets how long the boot image is shown.
    bool putDeviceScreenBootTimeSpan(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Previews the boot image.
    bool putBootImagePreview(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& reply);
    /// Sets the prestored image.
    bool putScreenPreStoreImage(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Uploads a prestored image, as the multipart fields @p parts, and applies it to all.
    bool putPrestoreImageApplyToAll(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& parts, QMap<QString, QVariant>& reply);
    /// @}

    /// @name Test pictures
    /// @{

    /// Shows a solid colour. Takes up to 10 s.
    bool putScreenSolid(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Shows the solid colour of the colour space.
    bool setColorSpaceSolid(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& reply);
    /// Shows a test pattern of the sender.
    bool putDeviceTestMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Ends the test pattern of the sender.
    bool putDeviceTestModeDisable(const QString& deviceKey, const QString& id,
                                  QMap<QString, QVariant>& reply);
    /// Shows a test pattern of the receivers.
    bool putReceiveTestMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);

    /// Draws pixels for a correction. Takes up to 20 s.
    bool setPixelImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Starts or ends the drawing of correction images. Takes up to 10 s.
    bool setPixelImageMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Fills the application's @p package for setPixelImageMode(): body, time limit, and the path for the
    /// device set with the package's setDevkey(), or the single-screen path if none is set.
    /// @warning Sends nothing; the application sends the package.
    void getPixelImageMode(Krelm::Communicator::HttpDevice::HttpJsonPackage* package,
                           const QMap<QString, QVariant>& body);
    /// Draws a checkerboard for a correction. Takes up to 20 s.
    bool setCheckerBoardImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// The same, and returns the response headers, with names as the device spells them.
    /// @warning Always uses the single-screen route.
    bool setCheckerBoardImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply, QMap<QString, QString>& headers);
    /// Draws a rectangle for a correction. Takes up to 20 s.
    bool setRectangularImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Clears the correction image.
    bool setCorrectClearImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Draws pixels for a correction on several devices at once: sends each of @p items as the body to the
    /// device in its member `devKey`. Other events of the thread, except user input, are delivered meanwhile.
    /// @p reply is left unchanged.
    /// @return whether all requests succeeded within 20 s; `false` with a critical log message if @p items is
    /// empty.
    bool setMultPixelImage(const std::vector<QMap<QString, QVariant>>& items, QMap<QString, QVariant>& reply);
    /// The same with checkerboards.
    bool setMultCheckerBoardImage(const std::vector<QMap<QString, QVariant>>& items,
                                  QMap<QString, QVariant>& reply);
    /// @}

Q_SIGNALS:
    /// An event refreshed the device's screen list. Emitted on this object's thread, after the cache was
    /// replaced.
    void signal_screenDataChanged(const QString& deviceKey);
    /// An event refreshed the device's screen tags. Emitted on this object's thread, after the cache was
    /// replaced.
    void signal_screenTagChanged(const QString& deviceKey);
    // Quirk: A pushed name leaves the cache as it was.
    /// The device reported a new @p name for its screen, never empty. Emitted on this object's thread.
    /// @warning The cached list keeps the old name until its next refresh.
    void signal_screenNameChanged(const QString& deviceKey, const QString& name);
    // Quirk: A signal that nothing raises stays declared.
    /// Never emitted.
    void needGetAllInputsInfo();

private:
    explicit ScreenInfo(QObject* parent = nullptr);
    ~ScreenInfo() override;

    // Make sure that a property is cached; used by the public overloads, which output it.
    bool get18bit(const QString& deviceKey, const QString& id, bool force);
    bool getCurrentGamut(const QString& deviceKey, const QString& id, bool force);
    bool getLowLatency(const QString& deviceKey, const QString& id, bool force);
    bool getUniformDisplay(const QString& deviceKey, const QString& id, bool force);
    bool getHdrSwitch(const QString& deviceKey, const QString& id, bool force);
    bool getHdrMode(const QString& deviceKey, const QString& id, bool force);
    bool getHlgtype(const QString& deviceKey, const QString& id, bool force);
    bool getMaxoflight(const QString& deviceKey, const QString& id, bool force);
    bool getIlluminance(const QString& deviceKey, const QString& id, bool force);
    bool getLowgray(const QString& deviceKey, const QString& id, bool force);
    bool getThreeDSwitch(const QString& deviceKey, const QString& id, bool force);
    bool getThreeDSourceMode(const QString& deviceKey, const QString& id, bool force);
    bool getThreeDEyepriority(const QString& deviceKey, const QString& id, bool force);
    bool getThreeDDepthField(const QString& deviceKey, const QString& id, bool force);
    bool getThreeDStartposition(const QString& deviceKey, const QString& id, bool force);
    bool getFineGray(const QString& deviceKey, const QString& id, bool force);
    bool getBrightness(const QString& deviceKey, const QString& id, bool force);
    bool getGamma(const QString& deviceKey, const QString& id, bool force);

    // Shared by the above: check the cache unless forced, else fetch and store.
    bool readProperty(const char* routeKey, const Tessel::ScreenProperty& property, const QString& deviceKey,
                      const QString& id, bool force);
    bool knowsProperties(std::initializer_list<const char*> cacheKeys, const QString& deviceKey,
                         const QString& id, bool force);
    bool fetchProperties(const char* routeKey, std::initializer_list<Tessel::ScreenProperty> properties,
                         const QString& deviceKey, const QString& id);
    // Shared by the public overloads: replaces the output by the cached values under their own names.
    bool outputProperties(std::initializer_list<Tessel::ScreenProperty> properties, const QString& deviceKey,
                          const QString& id, QMap<QString, QVariant>& result);
    // One PUT per screen, in parallel; leaves the results unchanged.
    bool putGroupSync(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                      QList<QVariant>& result, const QString& routeKey);
    // Writes without waiting, and caches the property from the body once the exchange has succeeded.
    bool writeThrough(const char* routeKey, const Tessel::ScreenProperty& property, const QString& deviceKey,
                      const QString& id, const QMap<QString, QVariant>& body);

    void onDeviceLogout(const QString& deviceKey);
    void onDeviceEvent(const QByteArray& data, const QString& deviceKey);

    bool m_isWatch = true;
    QMutex m_mutex; // held while a read stores properties from its reply
    QMap<QString, QMap<QString, QVariant>> m_screens;
    QMap<QString, QMap<QString, QVariant>> m_screenTags;
    // Held while the property cache is searched and while an accepted write stores into it. Neither mutex is
    // held across a request, and never both.
    //
    // Quirk: Two mutexes guard the cached properties. A test and a store may overlap.
    QMutex m_propertyMutex;
    // device, screen, cache key
    QMap<QString, QMap<QString, QMap<QString, QVariant>>> m_screenProperties;

    static ScreenInfo* m_pInstance;
};

#endif
