// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_DEVICE_H
#define SIMULATOR_DEVICE_DEVICE_H

#include <simulator/device/devicestate.h>
#include <simulator/device/faultscripts.h>
#include <simulator/device/logingate.h>
#include <simulator/device/mistakelog.h>
#include <simulator/device/requestlog.h>
#include <simulator/routes/target.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// Gives the device control over its connections. Thread-safe.
class Connections
{
public:
    virtual ~Connections() = default;
    /// Closes all event streams.
    virtual void closeStreams() = 0;
    /// Closes all connections except those that are serving the control interface.
    virtual void closeAll() = 0;
};

/// A controller without its network: accepts or refuses requests, applies faults, and keeps counts and a log.
/// Thread-safe.
class Device
{
public:
    /// A request whose head has been received.
    struct Exchange
    {
        enum class Kind {
            Normal,
            EventStream,
            Control,
            LoggedOff, ///< its login is missing or wrong
            Refused    ///< the device is logged out
        };
        Kind kind = Kind::Normal;
        Method method = Method::Get;
        std::string methodName;
        std::string contentType;
        std::optional<Target> target; ///< none if the request target is malformed
        RouteTable::Match match;
        std::optional<Fault> fault;
        LoginGate::Verdict verdict;
        std::string mistake; ///< what in the body is not as described, once it is served; empty: nothing
        std::chrono::milliseconds delay{0}; ///< before the reply
        bool isPreflight = false;           ///< asked by a browser, not by a page
        bool keepsBody = false;             ///< the whole body is needed, not only its beginning and size

        /// Counts the request as in flight while the exchange exists.
        std::shared_ptr<RequestLog> inFlight;

        Exchange() = default;
        Exchange(Exchange&&) = default;
        Exchange& operator=(Exchange&&) = delete;
        ~Exchange();
    };

    explicit Device(const Options& options);

    /// Receives the head of a request: counts it and selects its fault. @p isPreflight: a browser asks which
    /// requests a page may send, for which it has no login.
    Exchange open(Method method, std::string_view methodName, std::string_view target,
                  std::string_view contentType, std::string_view authorization, bool isPreflight = false);
    /// Serves it. @p body is the whole body or its beginning, depending on `keepsBody`; @p bodySize is the
    /// size of the whole.
    Reply respond(Exchange& exchange, std::string body, std::uint64_t bodySize);
    /// Logs a served request. @p status is 0 if no reply was sent.
    void log(const Exchange& exchange, std::string body, std::uint64_t bodySize, int status);

    /// Serves a GET without the network.
    SharedText read(const std::string& path);
    /// Serves a PUT without the network.
    bool write(const std::string& path, std::string_view text);

    /// Closes all connections and refuses new ones until login().
    void logout();
    void login() { m_loggedOut = false; }
    void disconnectStreams();
    /// Restarts: event ids get a new epoch, stored events are discarded, streams are closed.
    void restart();
    /// Restores the initial state.
    void reset();

    EventHub& events() { return m_events; }
    FaultScripts& faults() { return m_faults; }
    LoginGate& loginGate() { return m_loginGate; }
    RequestLog& requests() { return *m_log; }
    MistakeLog& mistakes() { return m_mistakes; }
    DeviceState& state() { return m_state; }
    const Wall& wall() const { return m_state.wall(); }
    const Options& options() const { return m_options; }
    bool loggedOut() const { return m_loggedOut; }
    /// Sets the connections to control; null if there are none.
    void setConnections(Connections* connections);

private:
    Reply ownReply(Exchange& exchange, std::string body, std::uint64_t bodySize);
    Reply write(const Exchange& exchange, std::string body, std::uint64_t bodySize);
    std::string mistakeIn(const Exchange& exchange, std::string_view body, std::uint64_t bodySize);

    const Options m_options;
    EventHub m_events;
    DeviceState m_state; ///< after m_events, which it uses
    FaultScripts m_faults;
    LoginGate m_loginGate;
    std::shared_ptr<RequestLog> m_log;
    MistakeLog m_mistakes;
    std::atomic<bool> m_loggedOut{false};
    std::mutex m_connectionsMutex; ///< guards m_connections, and is held while it is used
    Connections* m_connections = nullptr;
};

} // namespace Tessel::Simulator

#endif
