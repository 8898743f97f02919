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

/// The screens of a device: their list, their display properties, and the pictures put on them.
///
/// A screen is named by its device and by the id that the device reports as `screenID`. Bodies and replies
/// are defined by the device and pass through unread unless an operation says otherwise. An operation returns
/// whether the exchange succeeded; outputs are replaced, and emptied on failure.
///
/// Cache. The screen list and the screen tags of a device stay until it logs out. The properties of a screen
/// stay for the life of the process, even across a logout. A read with `force` asks the device whatever the
/// cache holds, and on failure leaves cache and output as they were. Of the properties, only a forced read
/// and the writes that say so update the cached value.
///
/// Events. While watching, a device's "screensInfo" and "screensTagInfo" events refresh list and tags in the
/// background; "screenName" is passed on. While not watching, events are dropped and the screen list is
/// always read from the device.
///
/// Threads. Call every operation on the thread of the first getInstance(), which owns the caches and runs the
/// handlers. Blocking operations hold no lock while they wait.
class TESSEL_EXPORT ScreenInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static ScreenInfo* getInstance();

    /// Reacts to events and answers the screen list from the cache again; missed events are not made up for.
    void startWatch();
    /// Ignores events and reads the screen list from the device every time. The caches keep their entries.
    void shutDownWatch();

    /// Makes sure that the screen list of the device is loaded.
    bool getScreens(const QString& deviceKey, bool force);
    /// The same, then adds the screens to @p result by their id: with @p perScreen each element of the lists
    /// in the device's reply, otherwise the reply as a whole. Other entries of @p result stay.
    bool getScreens(const QString& deviceKey, QMap<QString, QMap<QString, QVariant>>& result, bool force,
                    bool perScreen);
    /// Reads a typed screen, bypassing the cache. Rejects with the text "arguments error" when @p deviceKey
    /// is empty, with QPromiseUndefinedException when the exchange failed, the reply is not valid JSON or its
    /// `code` is not zero.
    QtPromise::QPromise<Tessel::ScreensInfo> getScreens2(const QString& deviceKey);
    /// Posts @p body to the screens. Does not wait: returns `true` and an empty @p reply, since no reply has
    /// arrived yet.
    bool postScreens(const QString& deviceKey, QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Reads the screen tags into @p result and the cache, both empty on failure.
    bool getHWInfoScreenTag(const QString& deviceKey, QMap<QString, QVariant>& result);
    /// Writes the screen tags. Does not wait: always `true`, @p reply is left unchanged.
    bool putHWInfoScreenTag(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);

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
    /// Reads the colour temperature; @p body is sent and then replaced by the reply. The flag is
    /// ignored.
    bool getColorTemperature(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                             bool);
    /// Reads the colour space of the LEDs.
    bool getScreenColorSpaceInfo(const QString& deviceKey, const QString& id,
                                 QMap<QString, QVariant>& result);
    /// Reads the mode of the extended bit depth. Not reentrant.
    bool getXbitMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Not in use: does nothing and returns `false`.
    bool getFineGray(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result, bool);

    /// Reads the brightness into `brightness` (`uint`), unscaled. Unless the value is cached, looks at the
    /// device's cabinets first and fetches them when CabinetInfoOperator has none cached. Without cabinets,
    /// or when they cannot be read, the brightness is not read: returns `true` and the cached value, or else
    /// 0, which is cached from then on.
    bool getBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                       bool force);
    /// Sets the brightness as member `brightness` of @p body, divided by 255 on the multi-screen protocol,
    /// and sends @p body. Looks at the device's cabinets first, as getBrightness() does, which may block;
    /// without cabinets, or when they cannot be read, returns `true` and neither changes nor sends @p body.
    /// The write itself does not wait; it updates the cache once the device has accepted it.
    /// @return whether the request was started.
    bool setBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                       int brightness);
    /// Reads the brightness mode.
    bool getBrightnessMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the brightness mode. Does not wait: returns `true` and an empty @p reply, since no reply has
    /// arrived yet.
    bool setBrightnessMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Reads the brightness of the colours; @p body is sent and then replaced by the reply.
    bool getBrightnessRgb(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body);
    /// Sets the brightness of the colours.
    bool setBrightnessRgb(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Reads the gamma of the three channels into `rGamma`, `gGamma`, `bGamma` (`double`); a missing channel
    /// reads as 0.
    bool getSingleGamma(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                        bool force);
    /// Sets the gamma of the channel `type` to `gamma`, of all three with the type 3, and updates the cache.
    bool setOneGamma(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Reads the gamma table.
    bool getGammaAllList(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// Sets the gamma table.
    bool setGammaTable(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Reads the gamma curve that the six members `gammaValue`, `grayScale`, `lumRatio`, `maxY`,
    /// `qualityMode` and `gammaMode` of @p query describe; missing ones go out empty.
    bool getGammaCurve(const QString& deviceKey, const QString& id, QMap<QString, QString> query,
                       QList<QVariant>& result);
    /// Reads the gray scale.
    bool getGrayScale(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);

    /// Sets the 18-bit switch from member `enable`. Does not wait; updates the cache once the device has
    /// accepted it.
    /// @return whether the request was started.
    bool set18bit(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Sets the low-latency switch from member `enable`. Does not wait; updates the cache once the device has
    /// accepted it.
    /// @return whether the request was started.
    bool setLowLatency(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Sets the uniform-display switch from member `enable`. Does not wait; updates the cache once the device
    /// has accepted it.
    /// @return whether the request was started.
    bool setUniformDisplay(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Sets the colour gamut from member `gamut`. Does not wait; updates the cache once the device has
    /// accepted it; @p reply is left unchanged. @return whether the request was started.
    bool setGamut(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                  QMap<QString, QVariant>& reply);

    /// @name HDR and 3D, on one screen and on several at once
    /// The cached properties stay as they were. On several screens the requests run in parallel, `false`
    /// means that at least one failed, and `result` is left unchanged. Other events of the thread are
    /// delivered meanwhile, so operators may be re-entered. Without ids the call blocks until something else
    /// quits its event loop.
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

    /// Sets what the screen shows when a cable is unplugged.
    bool putDeviceScreenCabledisconnect(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Adjusts the seams between cabinets.
    bool putDeviceScreenSeamadjustment(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Chooses the input of the screen.
    bool putScreenSetInput(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
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
    /// Switches the protection of skin tones.
    bool setSkinProtect(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Switches the image of the tolerance.
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
    /// Saves the colour temperature. Does not wait: returns `true` and an empty @p reply, since no reply has
    /// arrived yet.
    bool saveColorTemperature(const QString& deviceKey, const QString& id,
                              const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the colour temperature. Does not wait: returns `true`, since no reply has arrived yet.
    bool setColorTemperature(const QString& deviceKey, const QString& id,
                             const QMap<QString, QVariant>& body);

    /// @name On the device as a whole
    /// Those that do not wait return `true` and an empty reply, since no reply has arrived yet. Those without
    /// a route send a request with an empty path, which has no effect.
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
    /// Puts a mouse mark on the screen; does not wait, has no route.
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
    /// Clears the chosen lines; has no route.
    bool setClearLinestate(const QString& deviceKey, const QList<QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Shows or hides the chosen lines; has no route.
    bool setIsShowLinestate(const QString& deviceKey, const QList<QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// @}

    /// Sets the mode of the extended bit depth.
    bool setXbitMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Not in use: does nothing and returns `false`.
    bool setFineGray(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);
    /// Uploads a NICC file unchanged; an empty @p id is not sent.
    bool uploadNiccData(const QString& deviceKey, const QString& id, const QByteArray& data);
    /// Asks the device for its NICC state and returns whether the exchange succeeded; the state itself is
    /// dropped and @p body is ignored. An empty @p id is not sent.
    bool getNiccState(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body);

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
    /// Sets how long the boot image stays.
    bool putDeviceScreenBootTimeSpan(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Previews the boot image.
    bool putBootImagePreview(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& reply);
    /// Sets the prestored image.
    bool putScreenPreStoreImage(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Uploads a prestored image as the multipart fields @p parts and applies it to all.
    bool putPrestoreImageApplyToAll(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& parts, QMap<QString, QVariant>& reply);

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
    /// Enters or leaves the drawing of correction images. Takes up to 10 s.
    bool setPixelImageMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Fills a @p package of the application's own for setPixelImageMode(): path, body and time limit for the
    /// device that the package names, set beforehand with the package's setDevkey(); without one it gets the
    /// single-screen path. Sends nothing; the application does.
    void getPixelImageMode(Krelm::Communicator::HttpDevice::HttpJsonPackage* package,
                           const QMap<QString, QVariant>& body);
    /// Draws a checkerboard for a correction. Takes up to 20 s.
    bool setCheckerBoardImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// The same with the response's headers, their names as the device spells them; always on the
    /// single-screen route.
    bool setCheckerBoardImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply, QMap<QString, QString>& headers);
    /// Draws a rectangle for a correction. Takes up to 20 s.
    bool setRectangularImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Clears the correction image.
    bool setCorrectClearImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Draws pixels for a correction on several devices at once: each of @p items goes, as a body, to the
    /// device that its member `devKey` names. Meanwhile other events of the thread are delivered, except the
    /// user's input. @p reply is left unchanged. @return whether all requests succeeded within 20 s; without
    /// items `false`, with a critical log line.
    bool setMultPixelImage(const std::vector<QMap<QString, QVariant>>& items, QMap<QString, QVariant>& reply);
    /// The same with checkerboards.
    bool setMultCheckerBoardImage(const std::vector<QMap<QString, QVariant>>& items,
                                  QMap<QString, QVariant>& reply);

Q_SIGNALS:
    /// An event refreshed the device's screen list. On this object's thread, after the cache was replaced.
    void signal_screenDataChanged(const QString& deviceKey);
    /// An event refreshed the device's screen tags. On this object's thread, after the cache was replaced.
    void signal_screenTagChanged(const QString& deviceKey);
    // Quirk: A pushed name leaves the cache as it was.
    /// The device reported a new @p name for its screen, never empty; nothing is cached. On this object's
    /// thread.
    void signal_screenNameChanged(const QString& deviceKey, const QString& name);
    // Quirk: A signal that nothing raises stays declared.
    /// Never raised.
    void needGetAllInputsInfo();

private:
    explicit ScreenInfo(QObject* parent = nullptr);
    ~ScreenInfo() override;

    // Make sure that a property is cached; for the twins above, which hand it out.
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

    // The form of the above: ask the cache unless forced, else fetch and store.
    bool readProperty(const char* routeKey, const Tessel::ScreenProperty& property, const QString& deviceKey,
                      const QString& id, bool force);
    bool knowsProperties(std::initializer_list<const char*> cacheKeys, const QString& deviceKey,
                         const QString& id, bool force);
    bool fetchProperties(const char* routeKey, std::initializer_list<Tessel::ScreenProperty> properties,
                         const QString& deviceKey, const QString& id);
    // The form of the twins: replaces the output by the cached values under their own names.
    bool outputProperties(std::initializer_list<Tessel::ScreenProperty> properties, const QString& deviceKey,
                          const QString& id, QMap<QString, QVariant>& result);
    // One PUT per screen, in parallel; the results stay as they were.
    bool putGroupSync(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                      QList<QVariant>& result, const QString& routeKey);
    // Writes without waiting, and caches the property of the body once the device agreed.
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
