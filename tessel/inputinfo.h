// SPDX-License-Identifier: MIT
#ifndef TESSEL_INPUTINFO_H
#define TESSEL_INPUTINFO_H

#include <tessel/tesselexport.h>

#include <QList>
#include <QMap>
#include <QMutex>
#include <QObject>
#include <QStringList>
#include <QVariant>

/// @ingroup video
/// The inputs of a device: their list, picture adjustments, signal state, EDID and backup source.
///
/// @snippet snippets.cpp InputInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// Cache. The list of inputs per device; a logout drops it, and writes do not touch it.
///
/// Events. While watching, an event "change" of "inputsInfo" refreshes the list and raises
/// signal_sendDataChanged(). While not watching, every read goes to the device.
///
/// Threads. Call getAllInputsInfo() on the thread of the first getInstance(); the others may run on any
/// thread. The operations on several inputs wait in a nested event loop, which delivers other events of the
/// calling thread, so operators may be re-entered meanwhile. The time limit of a request keeps running after
/// its reply; if it expires while others are still awaited, the call fails.
/// @warning With an empty list of ids nothing ends that loop: the call waits until something else quits it or
/// the application ends.
class TESSEL_EXPORT InputInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static InputInfo* getInstance();

    /// Reacts to events and answers reads from the cache. This is the initial state.
    void startWatch();
    /// Ignores events and sends every read to the device. The cache keeps its entries.
    void shutDownWatch();

    /// Makes sure that the device's inputs are cached; @p force always fetches them.
    bool getAllInputsInfo(const QString& deviceKey, bool force);
    /// The same; copies the cached list to @p result, which is left unchanged on failure.
    bool getAllInputsInfo(const QString& deviceKey, QList<QVariant>& result, bool force);

    /// The signal state of an input.
    bool getSignal(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The HD mode of an input.
    bool getHdMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The backup source of an input.
    bool getBackup(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The EDID of an input.
    bool getEDID(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The hue of an input.
    bool getHue(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The contrast of an input.
    bool getContrast(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The saturation of an input.
    bool getSaturation(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The black level of an input.
    bool getBlackLevel(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);
    /// The bit depth of an input's video source.
    bool getVideoSourceBitDepth(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result);

    /// Sets the HD mode of an input.
    bool setHdMode(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                   QMap<QString, QVariant>& reply);
    /// Sets the backup source of an input.
    bool setBackup(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                   QMap<QString, QVariant>& reply);
    /// Sets the EDID of an input.
    bool setEDID(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                 QMap<QString, QVariant>& reply);
    /// Sets the hue of an input.
    bool setHue(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                QMap<QString, QVariant>& reply);
    /// Sets the contrast of an input.
    bool setContrast(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                     QMap<QString, QVariant>& reply);
    /// Sets the saturation of an input.
    bool setSaturation(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Sets the black level of an input.
    bool setBlackLevel(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply);
    /// Sets the bit depth of an input's video source.
    bool setVideoSourceBitDepth(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply);

    /// Clears the backup source of an input.
    bool clearInputBackup(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& reply);
    /// The backup sources of all inputs.
    bool getAllInputBackup(const QString& deviceKey, QList<QVariant>& result);

    /// Reads the EDIDs of several inputs in parallel; appends to @p result one map for each input that
    /// answered, in the order of the replies, its member `id` set to the input's id. @return whether all
    /// requests succeeded in time.
    bool getEDIDs(const QString& deviceKey, const QStringList& ids, QList<QVariant>& result);
    /// Sets the hue of several inputs in parallel, all to the same value; leaves @p reply unchanged.
    /// @return whether all requests succeeded in time.
    bool setHue(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                QList<QVariant>& reply);
    /// Sets the contrast of several inputs in parallel, all to the same value; leaves @p reply unchanged.
    /// @return whether all requests succeeded in time.
    bool setContrast(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                     QList<QVariant>& reply);
    /// Sets the saturation of several inputs in parallel, all to the same value; leaves @p reply unchanged.
    /// @return whether all requests succeeded in time.
    bool setSaturation(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                       QList<QVariant>& reply);
    /// Sets the black level of several inputs in parallel, all to the same value; leaves @p reply unchanged.
    /// @return whether all requests succeeded in time.
    bool setBlackLevel(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                       QList<QVariant>& reply);

Q_SIGNALS:
    /// An event caused the list of inputs to be replaced. Emitted once per such refresh, on this object's
    /// thread, never by a read.
    /// @warning @p changeInputId is the input named by the latest event of any device, even if the refresh
    /// belongs to an earlier one.
    void signal_sendDataChanged(QString deviceKey, unsigned short changeInputId);
    // Quirk: A signal that nothing raises stays declared.
    /// Never emitted.
    void needGetAllInputsInfo();

private:
    explicit InputInfo(QObject* parent = nullptr);
    ~InputInfo() override;

    void onLogout(const QString& deviceKey);
    void onEvent(const QByteArray& data, const QString& deviceKey);
    bool putGroupSync(const QString& deviceKey, const QStringList& ids, const QMap<QString, QVariant>& body,
                      QList<QVariant>& result, const QString& routeKey);

    bool m_isWatch = true;
    // Quirk: The changed input is one for all devices.
    unsigned short m_changeInputId = 255; // of the latest accepted event
    // Quirk: A mutex that nothing locks stays a member. All access to the caches is on one thread.
    QMutex m_mutex;
    QMap<QString, QList<QVariant>> m_inputsInfo; // by device key

    static InputInfo* m_pInstance;
};

#endif
