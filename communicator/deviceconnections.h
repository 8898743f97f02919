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

/// Where the push channel of a device is.
enum class ConnectionState {
    Stopped,    ///< there is none: the device is unknown, events were not asked for, or the device ended them
    Connecting, ///< the stream is being opened
    Live,       ///< the stream is open: what changes on the device is heard
    Waiting,    ///< the stream ended or could not be opened, and will be opened again
    Refused,    ///< the device answers, but refuses the login or offers no events; tried again, less often
    Gone        ///< without contact for so long that deviceLogout() was raised; tried again
};

/// The name of @p state as it is printed: `stopped`, `connecting`, `live`, `waiting`, `refused`, `gone`.
COMMUNICATOR_EXPORT QString connectionStateName(ConnectionState state);

/// The push channel of one device, at one moment.
struct COMMUNICATOR_EXPORT DeviceConnection
{
    QString deviceKey;                                ///< as addDevice() was given it
    ConnectionState state = ConnectionState::Stopped; ///< where the channel is
    QString reason;        ///< why it is not live, for people, without a secret; empty while it is live
    QDateTime since;       ///< when the state began, UTC; invalid for a device that has no channel
    QDateTime nextAttempt; ///< when the stream will be opened again, UTC; invalid when nothing is planned
};

/// Tells for each device whether its events are heard, and which may have been missed.
///
/// An application shows from it what it knows: while a device is `Live`, caches follow the device; in every
/// other state they may be out of date. When a stream comes back and does not prove that nothing was missed,
/// the transport reports each of changeEvents() by HttpProxy::deviceAutoReportData, as the device would, so
/// that caches are read anew and signals are raised.
///
/// All functions may be called from any thread and return at once. The signals are raised on the proxy's
/// thread, in one order with the signals of HttpProxy.
class COMMUNICATOR_EXPORT DeviceConnections : public QObject
{
    Q_OBJECT
public:
    /// The one of this process, created on first use and never deleted.
    static DeviceConnections* getInstance();

    /// The channel of @p deviceKey now; `Stopped` when it has none.
    DeviceConnection connection(const QString& deviceKey) const;
    /// The channels of all devices that have one, sorted by device key.
    QList<DeviceConnection> connections() const;

    /// Sets what is reported of a device whose events may have been missed, each as the JSON text that a
    /// device would push. Tessel's operators set the events that make them read their caches anew; an
    /// application that acts on further kinds of events adds those.
    void setChangeEvents(const QList<QByteArray>& events);
    /// What is reported of such a device, in this order.
    QList<QByteArray> changeEvents() const;

Q_SIGNALS:
    /// Where the channel of a device is has changed; @p connection is what it was then, which may be older
    /// than what connection() returns.
    void connectionChanged(const Krelm::Communicator::HttpDevice::DeviceConnection& connection);
    /// Events of @p deviceKey may have been missed. The reports of changeEvents() follow; what they do not
    /// cover, the application has to read itself.
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
