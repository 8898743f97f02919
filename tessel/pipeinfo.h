// SPDX-License-Identifier: MIT
#ifndef TESSEL_PIPEINFO_H
#define TESSEL_PIPEINFO_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QVariant>

/// @ingroup video
/// The pipelines of a device: their list and their settings. A pipeline is a video path from an input through
/// image processing to its position on the output.
///
/// @snippet snippets.cpp PipeInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// Writes apply to one pipeline unless stated otherwise.
///
/// Cache. The list of pipelines per device, which survives a logout. Writes do not affect it: they become
/// visible after the device has reported the change.
///
/// Events. An event "Change" of "PipeLineInfo" fetches the list again, blocking the object's thread during
/// the exchange; events cannot be switched off.
///
/// Threads. Call the reads that copy from the cached list on the thread of the first getInstance(); the
/// writes may run on any thread.
class TESSEL_EXPORT PipeInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static PipeInfo* getInstance();

    /// Makes sure that the device's pipelines are cached; @p force always fetches them. May run on any
    /// thread.
    bool getDevicePipes(const QString& deviceKey, bool force);
    /// The same; copies the cached list to @p result, which is left unchanged on failure.
    bool getDevicePipes(const QString& deviceKey, QList<QVariant>& result, bool force);
    /// The first pipeline of the list whose member `id` equals @p id. @return whether there is one; @p result
    /// is left unchanged on `false`.
    bool getDeviceOnePipe(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The image handling parameters of a pipeline.
    bool getDeviceOnePipeHandleParameters(const QString& deviceKey, const QString& id,
                                          QMap<QString, QVariant>& result);
    /// The ids of the screens grouped on a pipeline, as parsed.
    bool getDeviceOnePipeGroupScreenIds(const QString& deviceKey, const QString& id, QList<QVariant>& result);
    /// The relative points of the screens grouped on a pipeline, as parsed.
    bool getDeviceOnePipeGroupScreenRelativePoint(const QString& deviceKey, const QString& id,
                                                  QList<QVariant>& result);
    /// The grouped screens of a device, as parsed.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool getDeviceGroupScreenInfo(const QString& deviceKey, QList<QVariant>& result);

    /// Writes the records of all pipelines.
    bool putDevicePipes(const QString& deviceKey, const QList<QVariant>& body,
                        QMap<QString, QVariant>& reply);
    // Quirk: Misspelt names are part of the interface.
    /// Sets the delay time of the 3D signal, for the whole device.
    bool putDeviceOnePipethreeDSingaldelaytime(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply);
    /// Writes the whole record of a pipeline.
    bool putDeviceOnePipe(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Chooses the input of a pipeline.
    bool putDeviceOnePipeInputId(const QString& deviceKey, const QString& id,
                                 const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the mirror mode.
    bool putDeviceOnePipeMirrorMode(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the type of image handling.
    bool putDeviceOnePipeImageHandleType(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Writes the 3D settings.
    bool putDeviceOnePipethreeD(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Switches 3D on or off.
    bool putDeviceOnePipethreeDSwitch(const QString& deviceKey, const QString& id,
                                      const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the 3D type.
    /// @warning The request goes to the path of the 3D source mode.
    bool putDeviceOnePipethreeDType(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the 3D source mode.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putDeviceOnePipethreeDSourcemode(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the eye that comes first in 3D.
    bool putDeviceOnePipethreeDEyepriority(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply);
    /// Sets the 3D source adjustment.
    /// @warning The request goes to the path of the 3D depth of field.
    bool putDeviceOnePipethreeDSourcenadj(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the start position of the picture for the right eye.
    bool putDeviceOnePipethreeDStartposition(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply);
    /// Sets the 3D depth of field.
    bool putDeviceOnePipethreeDDepthField(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Switches HDR on or off.
    bool putDeviceOnePipeHDRSwitch(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the HDR mode.
    bool putDeviceOnePipeHdrparamHdrmode(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the HLG type of HDR.
    bool putDeviceOnePipeHdrparamHlgtype(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the HDR peak brightness.
    bool putDeviceOnePipeHdrparamMaxoflight(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply);
    /// Sets the HDR illuminance.
    bool putDeviceOnePipeHdrparamIlluminance(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply);
    /// Sets the HDR low gray.
    bool putDeviceOnePipeHdrparamLowgray(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the brightness.
    bool putDeviceOnePipeBrightness(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the colour temperature.
    bool putDeviceOnePipeColorTemperature(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the gamma.
    bool putDeviceOnePipeGamma(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets 18-bit processing.
    bool putDeviceOnePipe18bitPlus(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the seam adjustment.
    bool putDeviceOnePipeSeamAdjustment(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the colour adjustment.
    bool putDeviceOnePipeColorAdjust(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets low latency.
    bool putDeviceOnePipeLowLatency(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the prestored image.
    bool putDeviceOnePipePrestoreImage(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the position of the prestored image.
    bool putDeviceOnePipePrestoreImagePos(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the region of the prestored image.
    bool putDeviceOnePipePrestoreImageRegion(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply);
    /// Switches the start image on or off.
    bool putDeviceOnePipeStartImageSwitch(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets how long the start image is shown.
    bool putDeviceOnePipeStartImageTime(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets what is shown while the cable is disconnected.
    bool putDeviceOnePipeCableDisconnect(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets what is shown while there is no DVI signal.
    bool putDeviceOnePipeDVINoSignal(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Switches zoom on or off.
    bool putDeviceOnePipeZoomSwitch(const QString& deviceKey, const QString& id,
                                    const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Switches the global screen on or off.
    bool putDeviceOnePipeGlobalScreenSwitch(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply);
    /// Sets the position of the area taken from the input.
    bool putDeviceOnePipeInterceptionPosition(const QString& deviceKey, const QString& id,
                                              const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply);
    /// Sets the size of the area taken from the input.
    bool putDeviceOnePipeInterceptionSize(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body,
                                          QMap<QString, QVariant>& reply);
    /// Sets the zoom mode.
    bool putDeviceOnePipeZoomMode(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Sets the position of the display area.
    bool putDeviceOnePipeDisplayAreaPosition(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply);
    /// Sets the size of the display area.
    bool putDeviceOnePipeDisplayAreaSize(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);

Q_SIGNALS:
    // Quirk: Some signals of a change name no device.
    /// A read or an event stored a list, whether or not it changed; the signal does not say of which device.
    /// Emitted on the reading thread.
    /// @warning The cache's lock is held: a directly connected slot that calls getDevicePipes() or
    /// getDeviceOnePipe() deadlocks. Use a queued connection.
    void signal_sendDataChanged();

private:
    explicit PipeInfo(QObject* parent = nullptr);
    ~PipeInfo() override;

    void onEvent(const QByteArray& data, const QString& deviceKey);

    QMutex m_mutex; // guards m_pipesInfo in getDevicePipes, never across a request
    QMap<QString, QList<QVariant>> m_pipesInfo; // by device key

    static PipeInfo* m_pInstance;
};

#endif
