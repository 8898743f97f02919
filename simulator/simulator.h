// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_SIMULATOR_H
#define SIMULATOR_SIMULATOR_H

#include <simulator/coefficients.h>
#include <simulator/fault.h>
#include <simulator/options.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include <memory>

namespace Tessel::Simulator {

class IoThreads;

/// One request as the simulator saw it.
struct RequestRecord
{
    QByteArray method;      ///< `GET`, `PUT` and so on
    QString path;           ///< decoded, without the query
    QByteArray query;       ///< as it came, without the question mark
    QByteArray contentType; ///< empty when the request had none
    QByteArray body;        ///< the first 64 KiB
    qint64 bodySize = 0;    ///< bytes of the whole body
    int status = 0;         ///< 0: no reply was sent
};

/// The controller of an LED wall in software: serves the device API on HTTP/1.1 and pushes events on the
/// stream at
/// "/api/v1/events".
///
/// It keeps what is written and gives it back on reading, and a write that changes something pushes the event
/// that a controller pushes. All operations may be called from any thread, except that start() and stop()
/// must not overlap. Several simulators run side by side in one process.
class Simulator
{
public:
    /// A controller with an I/O thread of its own.
    explicit Simulator(const Options& options = {});
    /// A controller that shares @p threads with others, for fleets.
    Simulator(const Options& options, std::shared_ptr<IoThreads> threads);
    /// Stops.
    ~Simulator();

    /// Binds and serves. @return whether it listens now; otherwise errorString() tells why.
    bool start();
    /// Closes every connection and waits until nothing of it runs any more. Stopping twice is harmless;
    /// start() may follow, with the state as it was.
    void stop();
    /// Whether it listens.
    bool isRunning() const;
    /// Why start() failed; empty after a success.
    QString errorString() const;

    /// "127.0.0.1:41234": a device key that reads as an address; empty unless running.
    QString address() const;
    /// "http://" and address().
    QString baseUrl() const;
    /// The port that it listens on; 0 unless running.
    quint16 port() const;
    /// The options that it runs with.
    Options options() const;

    /// Pushes @p event, sent as it is, to all streams and into the history. @return its id.
    quint64 pushEvent(const QByteArray& event);
    /// Pushes a warning of the monitoring: "fanSpeed", "temperature", "voltage", "outputChange" or "cabinet".
    /// @p data is what it tells as JSON; empty: what was measured. @return the event's id; 0 when the
    /// controller does not warn of that or @p data is no JSON.
    quint64 pushWarning(const QString& eventType, const QByteArray& data = {});
    /// Number of open event streams.
    int eventStreams() const;
    /// Waits until at least @p count streams are open. @return whether they are.
    bool waitForEventStreams(int count, int milliseconds = 5000) const;
    /// Closes all event streams; clients may come back at once.
    void disconnectStreams();
    /// The device starts anew: event ids get another epoch, earlier events are forgotten and all event
    /// streams are closed. What was written stays.
    void restartDevice();
    /// The device is gone: closes all connections and cuts every request without a reply, until
    /// loginDevice().
    void logoutDevice();
    /// The device is back: requests are served again.
    void loginDevice();

    /// Adds a fault script.
    void addFault(const Fault& fault);
    /// Drops all fault scripts; requests that stall stay so until their connection ends.
    void clearFaults();

    /// Reads a resource as GET on @p path would, without being counted. @return its `data` as compact JSON;
    /// empty when there is none.
    QByteArray value(const QString& path) const;
    /// Writes a resource as PUT on @p path would, event included. @return whether it was taken.
    bool setValue(const QString& path, const QByteArray& json);

    /// The coefficients of a cabinet as the text that was uploaded; empty when there is no such cabinet.
    QByteArray coefficients(const QString& cabinet, CoefficientKind kind,
                            CoefficientBank bank = CoefficientBank::Loaded) const;
    /// Whose coefficients a cabinet shows: the loaded ones until it is told otherwise.
    CoefficientBank shownCoefficients(const QString& cabinet) const;
    /// What came in uploads of @p kind.
    CoefficientCounts coefficientCounts(CoefficientKind kind) const;

    /// Requests whose head came whole, those of the control interface left out.
    quint64 requestCount() const;
    /// The same for one decoded path.
    quint64 requestCount(const QString& path) const;
    /// Requests between their head and the end of their reply; event streams do not count.
    int requestsInFlight() const;
    /// The most that there were at once, since the start or resetCounts().
    int peakRequestsInFlight() const;
    /// The latest requests, oldest first, as many as Options::requestLog keeps.
    QList<RequestRecord> requests() const;
    /// Forgets counts, those of coefficients too, peak and log.
    void resetCounts();
    /// Back to the starting content: state, faults, counts, login. Streams stay open, event ids go on.
    void reset();

    /// The ids of its screens, as they are in paths.
    QStringList screenIds() const;
    /// The ids of its cabinets, as they are in paths.
    QStringList cabinetIds() const;

private:
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY(Simulator)
};

} // namespace Tessel::Simulator

#endif
