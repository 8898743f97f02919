// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_RECONNECTPOLICY_H
#define COMMUNICATOR_EVENTS_RECONNECTPOLICY_H

#include <chrono>
#include <functional>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// How long the push channel waits for what.
struct EventTimings
{
    std::chrono::milliseconds connect{10000}; ///< for the stream's head
    std::chrono::milliseconds firstDelay{
        1000}; ///< before the first attempt after a failure; doubles each time
    std::chrono::milliseconds longestDelay{60000}; ///< where doubling ends
    std::chrono::milliseconds loginDelay{300000};  ///< before the next attempt when the login was refused
    std::chrono::milliseconds stableAfter{
        30000}; ///< how long a stream must last for the delays to start anew
    std::chrono::milliseconds silence{
        45000}; ///< without a byte, heartbeats included, a stream counts as dead
    std::chrono::milliseconds goneAfter{60000}; ///< without contact a device counts as gone
    std::chrono::milliseconds proof{5000}; ///< for a stream opened again to say after which event it goes on
    std::chrono::milliseconds reportGap{
        20};             ///< between the reports of two devices whose events may have been missed
    double jitter = 0.3; ///< by which part a delay may be shorter, so that a fleet spreads
};

/// Decides when one device's event stream is opened, given up and opened again. It does nothing itself and
/// knows no clock: it is told what happened and when, and calls its listener. Used by one thread at a time.
class ReconnectPolicy
{
public:
    using Clock = std::chrono::steady_clock;

    enum class State {
        Stopped,     ///< before start() and after stop()
        Connecting,  ///< a stream was opened, its head has not come
        Streaming,   ///< the stream's head came; events may follow
        BackingOff,  ///< waits before the next attempt
        LoginRefused ///< waits, longest of all, because the device refused the login
    };

    enum class Failure {
        Unreachable,  ///< no connection or no reply
        Ended,        ///< the stream ended
        Silent,       ///< no byte came for too long
        Refused,      ///< the device answers, but not with a stream
        LoginRefused, ///< the device refused the login
        TooLarge      ///< an event beyond the limit
    };

    /// What the policy has done. Its operations may not call back.
    class Listener
    {
    public:
        virtual ~Listener();
        virtual void openStream() = 0;
        /// Gives up the stream that is open or being opened.
        virtual void closeStream() = 0;
        /// The device has stayed away too long: once until it is back.
        virtual void deviceGone() = 0;
        /// When the device last answered an exchange; the clock's beginning if it never did.
        virtual Clock::time_point lastAnswer() const = 0;
        /// A failure; @p first when it is the first since the last stable stream.
        virtual void failureSeen(Failure failure, bool first, std::chrono::milliseconds delay) = 0;
    };

    /// @p random gives numbers from 0 to below 1.
    ReconnectPolicy(Listener& listener, const EventTimings& timings, std::function<double()> random);

    void start(Clock::time_point now);
    /// The stream, if any, has been closed by the caller.
    void stop();
    /// The stream's head came.
    void connected(Clock::time_point now);
    /// Bytes came on the stream.
    void heard(Clock::time_point now);
    /// An event came on the stream: the stream is of use, however short it lasts.
    void delivered() { m_hasDelivered = true; }
    /// The device ended the stream for good.
    void ended();
    /// The stream is held back by this side, or goes on: silence means nothing meanwhile.
    void setHeldBack(bool heldBack, Clock::time_point now);
    /// The stream asked for another delay before the first attempt.
    void setFirstDelay(std::chrono::milliseconds delay);
    /// The stream ended or could not be opened. The next attempt comes @p atLeast later.
    void failed(Failure failure, Clock::time_point now, std::chrono::milliseconds atLeast = {});
    /// Does what is due. To be called at deadline(), earlier calls do nothing.
    void tick(Clock::time_point now);

    /// When tick() has something to do next; none while stopped.
    std::optional<Clock::time_point> deadline() const;
    State state() const { return m_state; }
    /// Whether the device has stayed away too long.
    bool isGone() const { return m_gone; }

private:
    void open(Clock::time_point now);
    void giveUp(Failure failure, Clock::time_point now);
    std::chrono::milliseconds nextDelay();

    Listener& m_listener;
    const EventTimings m_timings;
    const std::function<double()> m_random;
    std::chrono::milliseconds m_firstDelay;
    State m_state = State::Stopped;
    bool m_heldBack = false;
    Clock::time_point m_due; ///< of the state's own step
    Clock::time_point m_streamingSince;
    std::optional<Clock::time_point>
        m_goneAt; ///< when the device counts as gone; none while in contact or announced
    bool m_gone = false;
    bool m_hasDelivered = false; ///< on this stream
    int m_failures = 0;          ///< in a row, without a stable stream between
};

} // namespace Krelm::Communicator::HttpDevice

#endif
