// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_RECONNECTPOLICY_H
#define COMMUNICATOR_EVENTS_RECONNECTPOLICY_H

#include <chrono>
#include <functional>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// The time limits of an event stream.
struct EventTimings
{
    /// Until the stream's response head must arrive.
    std::chrono::milliseconds connect{10000};
    /// Before the first attempt after a failure; doubles each time.
    std::chrono::milliseconds firstDelay{1000};
    /// The upper limit of the doubling.
    std::chrono::milliseconds longestDelay{60000};
    /// Before the next attempt after the login was refused.
    std::chrono::milliseconds loginDelay{300000};
    /// How long a stream must last for the delays to start over.
    std::chrono::milliseconds stableAfter{30000};
    /// Without a byte, heartbeats included, a stream counts as dead.
    std::chrono::milliseconds silence{45000};
    /// Without contact a device counts as gone.
    std::chrono::milliseconds goneAfter{60000};
    /// For a reopened stream to say after which event it continues.
    std::chrono::milliseconds proof{5000};
    /// Between the reports of two devices whose events may have been missed.
    std::chrono::milliseconds reportGap{20};
    /// Between two such reports of one device. Doubles with each report, and starts over after a pause of
    /// four times as long.
    std::chrono::milliseconds reportAgain{100};
    /// The upper limit of the doubling.
    std::chrono::milliseconds longestReportAgain{10000};
    /// The fraction by which a delay may be shorter, so that a fleet does not reconnect all at once.
    double jitter = 0.3;
};

/// Decides when the event stream of a device is opened, given up and reopened. It has no clock and performs
/// no I/O: its caller reports what happened and when, and it calls its listener. Used by one thread at a
/// time.
class ReconnectPolicy
{
public:
    using Clock = std::chrono::steady_clock;

    enum class State {
        Stopped,     ///< before start() and after stop()
        Connecting,  ///< a stream was opened, but its head has not been received
        Streaming,   ///< the stream's head was received; events may follow
        BackingOff,  ///< waiting before the next attempt
        LoginRefused ///< waiting longest of all, because the device refused the login
    };

    enum class Failure {
        Unreachable,  ///< no connection or no reply
        Ended,        ///< the stream ended
        Silent,       ///< no byte was received for too long
        Refused,      ///< the device answered, but not with an event stream
        LoginRefused, ///< the device refused the login
        TooLarge      ///< an event exceeded the limit
    };

    /// Carries out the policy's decisions. Its functions must not call back.
    class Listener
    {
    public:
        virtual ~Listener();
        virtual void openStream() = 0;
        /// Gives up the stream that is open or being opened.
        virtual void closeStream() = 0;
        /// The device has been unreachable for too long; called once until it is back.
        virtual void deviceGone() = 0;
        /// When the device last answered an exchange; the clock's beginning if it never did.
        virtual Clock::time_point lastAnswer() const = 0;
        /// A failure; @p first when it is the first since the last stable stream.
        virtual void failureSeen(Failure failure, bool first, std::chrono::milliseconds delay) = 0;
    };

    /// @p random returns numbers from 0 to below 1.
    ReconnectPolicy(Listener& listener, const EventTimings& timings, std::function<double()> random);

    void start(Clock::time_point now);
    /// The stream, if any, has been closed by the caller.
    void stop();
    /// Call this when the stream's head was received.
    void connected(Clock::time_point now);
    /// Call this when bytes were received on the stream.
    void heard(Clock::time_point now);
    /// Call this when an event was received: the stream is useful, however short it lasts.
    void delivered() { m_hasDelivered = true; }
    /// Call this when the device has ended the stream permanently.
    void ended();
    /// Call this when reading the stream is paused or resumed; while it is paused, silence is not an error.
    void setHeldBack(bool heldBack, Clock::time_point now);
    /// Call this when the stream has set the delay before the first attempt (its `retry` field).
    void setFirstDelay(std::chrono::milliseconds delay);
    /// Call this when the stream has ended or could not be opened. The next attempt is at least @p atLeast
    /// later.
    void failed(Failure failure, Clock::time_point now, std::chrono::milliseconds atLeast = {});
    /// Call this when a refused login was renewed: the next attempt begins at once.
    void retryNow(Clock::time_point now);
    /// Does what is due. Call it at deadline(); earlier calls do nothing.
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
    Clock::time_point m_due; ///< when the current state's next step is due
    Clock::time_point m_streamingSince;
    std::optional<Clock::time_point>
        m_goneAt; ///< when the device counts as gone; none while in contact or announced
    bool m_gone = false;
    bool m_hasDelivered = false; ///< on this stream
    int m_failures = 0;          ///< in a row, without a stable stream between
};

} // namespace Krelm::Communicator::HttpDevice

#endif
