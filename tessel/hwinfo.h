// SPDX-License-Identifier: MIT
#ifndef TESSEL_HWINFO_H
#define TESSEL_HWINFO_H

#include <tessel/records/deviceinfo.h>
#include <tessel/tesselexport.h>

#include <QMap>
#include <QMutex>
#include <QObject>
#include <QSet>
#include <QVariant>

#include <QtPromise>

namespace Correction {

/// The capability version of a device, as far as it is known.
enum EnumScreenVer {
    UnknownVersion = 0, ///< the request failed, or the version was never read
    EarlierThanV3 = 1,  ///< a version other than "V3.0", also an absent one
    V3 = 2              ///< version "V3.0"
};

} // namespace Correction

/// @ingroup devices
/// The device as a whole: its description, the protocol it speaks, and its settings.
///
/// @snippet snippets.cpp HWInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false` or
/// its promise was rejected.
///
/// Cache. The description of each device, flattened to key paths, from the first successful fetch until the
/// device logs out, and the results of the two version checks, which survive a logout.
///
/// Events. While watching, a pushed "hwInfo" change fetches the description again, and "customNameChange" is
/// passed on. While not watching, events are ignored and every read goes to the device.
///
/// Threads. Call the operations on the description and the versions on the thread of the first getInstance(),
/// which needs an event loop for the events; the settings may run on any thread.
///
/// @warning Call getHwProtoc() with `force` once for each device, before the first operation that chooses its
/// route by the protocol: until then every device counts as single-screen.
class TESSEL_EXPORT HWInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static HWInfo* getInstance();

    /// Reacts to events and answers reads from the cache. This is the initial state.
    void startWatch();
    /// Ignores events and sends every read to the device. The cache keeps its entries.
    void shutDownWatch();

    /// Makes sure that the description is cached; @p force always fetches it.
    bool getHWInfo(const QString& deviceKey, bool force);
    /// The description. @p result is left unchanged on `false`.
    bool getHWInfo(const QString& deviceKey, QMap<QString, QVariant>& result, bool force);
    /// The typed description, bypassing the cache. Rejects with the text "arguments error" when the device's
    /// key is empty, with QPromiseUndefinedException when the exchange failed, the reply is not valid JSON or
    /// its `code` is not zero.
    QtPromise::QPromise<Tessel::DeviceInfo> getHWInfo2(const QString& deviceKey);
    /// Whether the cached description has a device type, whatever its value. Sends nothing.
    bool getHWDeviceType(const QString& deviceKey);
    /// Whether the device speaks the multi-screen protocol. With @p force it asks the device; otherwise it
    /// returns whether the device has ever answered. A later failure does not revoke that.
    /// @warning Call `getHwProtoc(deviceKey, true)` before anything else on a device: without it every device
    /// counts as single-screen, and operations that choose their route by the protocol use the wrong one.
    bool getHwProtoc(const QString& deviceKey, bool force);
    /// The device's capability version. With @p force it asks the device; otherwise it returns the last
    /// answer.
    Correction::EnumScreenVer getCapabilityProtoc(const QString& deviceKey, bool force);

    /// Changes the description, such as the custom name.
    bool putHWInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                   QMap<QString, QVariant>& reply);
    /// Changes the system's state; @p query is sent in the URL.
    bool putHWInfoSystem(const QString& deviceKey, const QMap<QString, QString>& query,
                         QMap<QString, QVariant>& reply);
    /// Sends custom data.
    bool putHWInfoCustomemit(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// The delay of the 3D signal.
    bool getHWInfoSignalDelayTime(const QString& deviceKey, QMap<QString, QVariant>& result);
    /// Sets the delay of the 3D signal.
    bool putHWInfoSignalDelayTime(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    // Quirk: Misspelt names are part of the interface.
    /// The custom data; @p query is sent in the URL.
    bool getHWInfoCustonData(const QString& deviceKey, const QMap<QString, QString>& query,
                             QMap<QString, QVariant>& result);
    /// The hot-backup relations.
    bool getHWInfoHotBackupInfo(const QString& deviceKey, QList<QVariant>& result);
    /// Sets the hot-backup relations.
    bool putHWInfoHotBackupInfo(const QString& deviceKey, const QList<QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Sets the additional video delay.
    bool putHWInfoIncreaseVideoDelay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply);
    /// Sets the synchronisation.
    bool putHWInfoSyncinfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Sets the frequency of the synchronisation.
    bool putHWInfoFrequency(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply);
    /// Synchronises to an input.
    bool putHWInfoInput(const QString& deviceKey, const QMap<QString, QVariant>& body,
                        QMap<QString, QVariant>& reply);
    /// Synchronises to the external input.
    bool putHWInfoExternalInput(const QString& deviceKey, QMap<QString, QVariant>& reply);
    /// Renames the device.
    bool putHWInfoRename(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Uploads a background image.
    bool putDeviceImage(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                        QMap<QString, QVariant>& reply);
    /// Switches the background image.
    bool putHWInfoImageToggle(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Switches the mapping display.
    bool putHWInfoMapping(const QString& deviceKey, const QMap<QString, QVariant>& body,
                          QMap<QString, QVariant>& reply);
    /// Controls what the screens show.
    bool putHWInfoScreenControl(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Sets what is shown without a signal.
    bool putHWInfoAbnormalNoSignalImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                        QMap<QString, QVariant>& reply);
    /// Meant to set the picture that is shown without a signal.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putHWInfoAbnormalNoSignalCustomImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply);
    /// Uploads firmware; blocks for up to five minutes.
    bool putHWInfoUpdate(const QString& deviceKey, const QByteArray& data, QMap<QString, QVariant>& reply);
    /// The progress of a firmware update; may be read while the upload runs.
    bool getHWInfoUpdateProgress(const QString& deviceKey, QMap<QString, QVariant>& result);
    /// Enters the hardware mode.
    bool putEnterHwMode(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                        QMap<QString, QVariant>& reply);
    /// Sets the high-definition mode.
    bool putHWInfoHDMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply);
    /// Sends a version; @p query is sent in the URL.
    bool postHWInfoVersion(const QString& deviceKey, const QMap<QString, QString>& query,
                           const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Shows a test pattern.
    bool putHWInfoTestModePattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply);
    /// Sets the log level.
    bool putLogLevel(const QString& deviceKey, const QMap<QString, QVariant>& body,
                     QMap<QString, QVariant>& reply);
    /// Sets how long logs are kept.
    bool putLogReserve(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Locks the device.
    /// @warning @p body is not sent.
    bool lock(const QString& deviceKey, const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);
    /// Unlocks the device.
    bool unLock(const QString& deviceKey, QMap<QString, QVariant>& reply);
    /// Meant to switch automatic backups.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putHWInfoAutoBack(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply);
    /// Meant to switch automatic restoring.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putHWInfoAutoRestore(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply);
    /// Meant to make a backup.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putHWInfoManualBack(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply);
    /// Meant to restore a backup.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putHWInfoManualRestore(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply);
    /// Meant to switch ports automatically for hot backup.
    /// @warning Always fails: there is no route for it, so the request is sent with an empty path.
    bool putHWInfoHBPortAutoToggle(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply);

Q_SIGNALS:
    // Quirk: Some signals of a change name no device.
    /// An event caused a description to be replaced; the signal does not say of which device. Emitted once
    /// per successful refresh, on this object's thread.
    void signal_sendDataChanged();
    // Quirk: A pushed name leaves the cache as it was.
    /// The user renamed the device. Emitted once per event, on this object's thread.
    /// @warning The cached description keeps the old name until its next refresh.
    void signal_customNameChanged(const QString& deviceKey, const QString& name);

private:
    explicit HWInfo(QObject* parent = nullptr);
    ~HWInfo() override;

    void forgetDevice(const QString& deviceKey);
    void handleEvent(const QByteArray& data, const QString& deviceKey);

    bool m_isWatch = true;
    // Quirk: A mutex that nothing locks stays a member. All access to the caches is on one thread.
    QMutex m_mutex;
    QMap<QString, QMap<QString, QVariant>> m_hwInfo;
    QSet<QString> m_hwProtoc;
    QMap<QString, QString> m_capabilityVersion;

    static HWInfo* m_pInstance;
};

#endif
