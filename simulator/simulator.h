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

/// A request that the simulator has received.
struct RequestRecord
{
    QByteArray method;      ///< `GET`, `PUT` and so on
    QString path;           ///< decoded, without the query
    QByteArray query;       ///< as received, without the question mark
    QByteArray contentType; ///< empty if the request had none
    QByteArray body;        ///< the first 64 KiB of the body
    qint64 bodySize = 0;    ///< size of the whole body in bytes
    int status = 0;         ///< HTTP status of the reply, or 0 if none was sent
    QString mistake; ///< what in the body is not as the description of the device API says; empty if all is
};

/// A simulated controller of an LED wall: serves the device API over HTTP/1.1 (RFC 9112) and pushes events on
/// the stream "/api/v1/events".
///
/// Written values are stored and returned by later reads, and a write that changes something pushes the same
/// event as a real controller. All functions may be called from any thread, except that start() and stop()
/// must not overlap. A process can run several simulators.
class Simulator
{
public:
    /// A controller with an I/O thread of its own.
    explicit Simulator(const Options& options = {});
    /// A controller that shares @p threads with others, used for fleets.
    Simulator(const Options& options, std::shared_ptr<IoThreads> threads);
    /// Stops the simulator.
    ~Simulator();

    /// Binds the port and starts serving.
    /// @return whether it is listening; if not, errorString() says why.
    bool start();
    /// Closes all connections and waits until their work has ended. Does nothing if it is already stopped.
    /// After a later start() the state is unchanged.
    void stop();
    /// Whether it listens.
    bool isRunning() const;
    /// Why start() failed; empty after success.
    QString errorString() const;

    /// The address, such as "127.0.0.1:41234", which can be used as a device key; empty unless running.
    QString address() const;
    /// "http://", or "https://" with TLS, followed by address(). With TLS this is the device key.
    QString baseUrl() const;
    /// Its certificate as PEM, which a client may trust as an authority; empty without TLS or before the
    /// first start(). It stays the same for as long as the simulator exists.
    QByteArray certificate() const;
    /// `sha256//` and the base64 SHA-256 hash of its public key, for clients that pin it; empty like that.
    QString pinnedKey() const;
    /// The port that it listens on; 0 unless running.
    quint16 port() const;
    /// The options that it runs with.
    Options options() const;

    /// Pushes @p event, unchanged, to all streams and into the history.
    /// @return its id.
    quint64 pushEvent(const QByteArray& event);
    /// Pushes a monitoring warning: "fanSpeed", "temperature", "voltage", "outputChange" or "cabinet". @p
    /// data is its data as JSON; if it is empty, measured values are used.
    /// @return the event's id; 0 if there is no such warning or @p data is not valid JSON.
    quint64 pushWarning(const QString& eventType, const QByteArray& data = {});
    /// The number of open event streams.
    int eventStreams() const;
    /// Waits until at least @p count streams are open, for the given time at most.
    /// @return whether they are open.
    bool waitForEventStreams(int count, int milliseconds = 5000) const;
    /// Closes all event streams; clients may reconnect at once.
    void disconnectStreams();
    /// Restarts the device: event ids get a new epoch, earlier events are discarded, and all event streams
    /// are closed. Written values are kept.
    void restartDevice();
    /// Discards the stored events, so that a stream which missed some cannot have them any more.
    void forgetEvents();
    /// Stores the latest @p events from now on, instead of Options::eventHistory.
    void setEventMemory(int events);
    /// Makes the device disappear: closes all connections, and every later request without a reply, until
    /// loginDevice() is called.
    void logoutDevice();
    /// The device is back: requests are served again.
    void loginDevice();

    /// Replaces the token of a bearer login by @p token, or by a random one if that is empty, and begins its
    /// lifetime; the token before is not accepted any more. Open event streams stay.
    /// @return the token.
    QString replaceToken(const QString& token = {});
    /// Ends the lifetime of the token at once.
    void expireToken();

    /// Adds a fault.
    void addFault(const Fault& fault);
    /// Removes all faults; requests that already stall continue to do so until their connection ends.
    void clearFaults();

    /// Reads a resource like a GET on @p path, but without being counted.
    /// @return its `data` as compact JSON; empty if there is no such resource.
    QByteArray value(const QString& path) const;
    /// Writes a resource like a PUT on @p path, including the event.
    /// @return whether it was accepted.
    bool setValue(const QString& path, const QByteArray& json);

    /// The coefficients of a cabinet, as the text that was uploaded; empty if there is no such cabinet.
    QByteArray coefficients(const QString& cabinet, CoefficientKind kind,
                            CoefficientBank bank = CoefficientBank::Loaded) const;
    /// The bank of coefficients that a cabinet shows; initially the loaded ones.
    CoefficientBank shownCoefficients(const QString& cabinet) const;
    /// The uploads of @p kind received so far.
    CoefficientCounts coefficientCounts(CoefficientKind kind) const;

    /// The number of requests with a complete head, except for those to the control interface.
    quint64 requestCount() const;
    /// The same for one decoded path.
    quint64 requestCount(const QString& path) const;
    /// The number of requests between their head and the end of their reply, without event streams.
    int requestsInFlight() const;
    /// The most that there were at once, since the start or resetCounts().
    int peakRequestsInFlight() const;
    /// The latest requests, oldest first, limited by Options::requestLog.
    QList<RequestRecord> requests() const;
    /// Clears all counts, including those of coefficients, the peak and the log.
    void resetCounts();
    /// Restores the initial state, removes faults, clears counts and logs the device in. Streams stay open,
    /// and event ids continue.
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
