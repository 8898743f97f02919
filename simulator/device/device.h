// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_DEVICE_H
#define SIMULATOR_DEVICE_DEVICE_H

#include <simulator/device/devicestate.h>
#include <simulator/device/faultscripts.h>
#include <simulator/device/logingate.h>
#include <simulator/device/requestlog.h>
#include <simulator/routes/target.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// The connections of a device, as the device may act on them. Operations may be called from any thread.
class Connections
{
public:
    virtual ~Connections() = default;
    /// Closes all event streams.
    virtual void closeStreams() = 0;
    /// Closes everything but what serves the control interface at the moment.
    virtual void closeAll() = 0;
};

/// What a controller does with requests, apart from the network: which it takes, faults, counts, log.
/// Operations may be called from any thread.
class Device
{
public:
    /// One request from its head on.
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
        std::optional<Target> target; ///< nothing: the request target is malformed
        RouteTable::Match match;
        std::optional<Fault> fault;
        LoginGate::Verdict verdict;
        std::chrono::milliseconds delay{0}; ///< before the reply
        bool keepsBody = false;             ///< the whole body is needed, not just its beginning and its size

        /// Ends the count of the request in flight with the exchange.
        std::shared_ptr<RequestLog> inFlight;

        Exchange() = default;
        Exchange(Exchange&&) = default;
        Exchange& operator=(Exchange&&) = delete;
        ~Exchange();
    };

    explicit Device(const Options& options);

    /// Takes the head of a request; counts it and draws its fault.
    Exchange open(Method method, std::string_view methodName, std::string_view target,
                  std::string_view contentType, std::string_view authorization);
    /// Serves it. @p body is the whole one or its beginning, as the exchange asked; @p bodySize counts all of
    /// it.
    Reply respond(Exchange& exchange, std::string body, std::uint64_t bodySize);
    /// Logs a served request. @p status is 0 when no reply went out.
    void log(const Exchange& exchange, std::string body, std::uint64_t bodySize, int status);

    /// Serves a GET outside the network.
    SharedText read(const std::string& path);
    /// Serves a PUT outside the network.
    bool write(const std::string& path, std::string_view json);

    /// Closes everything and refuses what comes, until login().
    void logout();
    void login() { m_loggedOut = false; }
    void disconnectStreams();
    /// Begins another life: event ids get another epoch, no event is kept, streams are closed.
    void restart();
    /// Back to the starting content.
    void reset();

    EventHub& events() { return m_events; }
    FaultScripts& faults() { return m_faults; }
    LoginGate& loginGate() { return m_loginGate; }
    RequestLog& requests() { return *m_log; }
    DeviceState& state() { return m_state; }
    const Wall& wall() const { return m_state.wall(); }
    const Options& options() const { return m_options; }
    bool loggedOut() const { return m_loggedOut; }
    /// Connections to act on; null while there are none.
    void setConnections(Connections* connections);

private:
    Reply ownReply(Exchange& exchange, std::string body, std::uint64_t bodySize);
    Reply write(const Exchange& exchange, std::string body, std::uint64_t bodySize);

    const Options m_options;
    EventHub m_events;
    DeviceState m_state; ///< after m_events, which it uses
    FaultScripts m_faults;
    LoginGate m_loginGate;
    std::shared_ptr<RequestLog> m_log;
    std::atomic<bool> m_loggedOut{false};
    std::mutex m_connectionsMutex; ///< guards m_connections, also while it is in use
    Connections* m_connections = nullptr;
};

} // namespace Tessel::Simulator

#endif
