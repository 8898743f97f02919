// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICECONNECTIONS_H
#define COMMUNICATOR_DEVICECONNECTIONS_H

#include <communicator/ihttpversiontrigger.h>

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QMetaType>
#include <QObject>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// The state of a device's event stream.
enum class ConnectionState {
    Stopped,    ///< no stream: the device is unknown, events were not requested, or the device ended them
    Connecting, ///< the stream is being opened
    Live,       ///< the stream is open, and changes on the device are received
    Waiting,    ///< the stream has ended or could not be opened, and will be opened again
    Refused,    ///< the device answers, but refuses the login or has no event stream; tried again, less often
    Gone        ///< without contact for so long that deviceLogout() was emitted; tried again
};

/// The name of @p state as it is printed: `stopped`, `connecting`, `live`, `waiting`, `refused`, `gone`.
COMMUNICATOR_EXPORT QString connectionStateName(ConnectionState state);

/// The event stream of one device at one moment. A plain value.
struct COMMUNICATOR_EXPORT DeviceConnection
{
    QString deviceKey;                                ///< the key given to addDevice()
    ConnectionState state = ConnectionState::Stopped; ///< the state of the stream
    QString reason;  ///< why it is not live, as text for people, without secrets; empty while it is live
    QDateTime since; ///< when the state began, in UTC; invalid for a device without a stream
    QDateTime nextAttempt; ///< when the stream will be opened again, in UTC; invalid if nothing is planned
};

/// Reports for each device whether its events are received, and whether events may have been missed.
///
/// While a device is `Live`, caches follow the device; in every other state they may be out of date. If a
/// stream comes back without proof that nothing was missed, the transport reports each of changeEvents() by
/// HttpProxy::deviceAutoReportData, as if the device had pushed it, so that caches are read again and signals
/// are emitted.
///
/// All functions may be called from any thread and return at once. The signals are emitted on the proxy's
/// thread, in order with the signals of HttpProxy.
class COMMUNICATOR_EXPORT DeviceConnections : public QObject
{
    Q_OBJECT
public:
    /// The instance of this process, created on first use and never deleted.
    static DeviceConnections* getInstance();

    /// The current state of the stream of @p deviceKey; `Stopped` if it has none.
    DeviceConnection connection(const QString& deviceKey) const;
    /// The streams of all devices that have one, sorted by device key.
    QList<DeviceConnection> connections() const;

    /// Sets the events that are reported for a device whose events may have been missed, each as the JSON
    /// text that a device would push. Tessel's operators set the events that make them fetch their caches
    /// again; an application that reacts to further kinds of events adds those.
    void setChangeEvents(const QList<QByteArray>& events);
    /// The events that are reported for such a device, in order.
    QList<QByteArray> changeEvents() const;

Q_SIGNALS:
    /// The state of a device's stream has changed. @p connection is the state at that time, which may be
    /// older than the one that connection() returns.
    void connectionChanged(const Krelm::Communicator::HttpDevice::DeviceConnection& connection);
    /// Events of @p deviceKey may have been missed. The reports of changeEvents() follow; the application has
    /// to read anything that they do not cover itself.
    void eventsMissed(const QString& deviceKey);

private:
    friend class HttpProxy;
    DeviceConnections();
    ~DeviceConnections() override;
    Q_DISABLE_COPY_MOVE(DeviceConnections)
};

} // namespace Krelm::Communicator::HttpDevice

Q_DECLARE_METATYPE(Krelm::Communicator::HttpDevice::DeviceConnection)

#endif
