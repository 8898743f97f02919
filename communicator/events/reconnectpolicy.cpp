// SPDX-License-Identifier: MIT
#include "communicator/events/reconnectpolicy.h"

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// A stream that asks for less is ignored, since the device would be hammered.
constexpr std::chrono::milliseconds shortestDelay{100};
constexpr int maxDoublings = 20; // keeps the product in range; the longest delay is reached before

} // namespace

ReconnectPolicy::Listener::~Listener() = default;

ReconnectPolicy::ReconnectPolicy(Listener& listener, const EventTimings& timings,
                                 std::function<double()> random)
    : m_listener(listener)
    , m_timings(timings)
    , m_random(std::move(random))
    , m_firstDelay(timings.firstDelay)
{}

void ReconnectPolicy::start(Clock::time_point now)
{
    if (m_state == State::Stopped) {
        m_failures = 0;
        m_gone = false;
        m_goneAt = now + m_timings.goneAfter;
        open(now);
    }
}

void ReconnectPolicy::stop()
{
    m_state = State::Stopped;
    m_goneAt.reset();
}

void ReconnectPolicy::ended()
{
    m_gone = false;
    stop();
}

void ReconnectPolicy::open(Clock::time_point now)
{
    m_state = State::Connecting;
    m_heldBack = false;
    m_hasDelivered = false;
    m_due = now + m_timings.connect;
    m_listener.openStream();
}

void ReconnectPolicy::connected(Clock::time_point now)
{
    if (m_state == State::Connecting) {
        m_state = State::Streaming;
        m_streamingSince = now;
        m_goneAt.reset();
        m_gone = false;
        m_due = now + m_timings.silence;
    }
}

void ReconnectPolicy::heard(Clock::time_point now)
{
    if (m_state == State::Streaming) {
        m_due = now + m_timings.silence;
    }
}

void ReconnectPolicy::setHeldBack(bool heldBack, Clock::time_point now)
{
    m_heldBack = heldBack;
    heard(now);
}

void ReconnectPolicy::setFirstDelay(std::chrono::milliseconds delay)
{
    m_firstDelay = std::clamp(delay, std::min(shortestDelay, m_timings.firstDelay), m_timings.longestDelay);
}

std::chrono::milliseconds ReconnectPolicy::nextDelay()
{
    const int doublings = std::min(m_failures - 1, maxDoublings);
    const auto longest = std::max(m_timings.longestDelay, m_firstDelay);
    const auto delay =
        std::min<std::chrono::milliseconds>(m_firstDelay * (std::int64_t(1) << doublings), longest);
    const double part = 1.0 - m_timings.jitter * m_random();
    return std::chrono::duration_cast<std::chrono::milliseconds>(delay * part);
}

void ReconnectPolicy::failed(Failure failure, Clock::time_point now, std::chrono::milliseconds atLeast)
{
    if (m_state != State::Connecting && m_state != State::Streaming) {
        return;
    }
    const bool answers = failure == Failure::Refused || failure == Failure::LoginRefused;
    if (answers) {
        m_goneAt.reset();
        m_gone = false;
    } else if (!m_goneAt && !m_gone) {
        m_goneAt = now + m_timings.goneAfter;
    }
    const bool wasStable = m_state == State::Streaming && now - m_streamingSince >= m_timings.stableAfter;
    const bool wasOfUse = m_hasDelivered && (failure == Failure::Ended || failure == Failure::Silent);
    const bool isFirst = m_failures == 0 || wasStable;
    m_failures = wasStable || wasOfUse ? 1 : m_failures + 1;
    const bool login = failure == Failure::LoginRefused;
    const auto delay = std::max(login ? m_timings.loginDelay : nextDelay(), atLeast);
    m_state = login ? State::LoginRefused : State::BackingOff;
    m_due = now + delay;
    m_listener.failureSeen(failure, isFirst, delay);
}

void ReconnectPolicy::retryNow(Clock::time_point now)
{
    if (m_state == State::LoginRefused || m_state == State::BackingOff) {
        open(now);
    }
}

void ReconnectPolicy::giveUp(Failure failure, Clock::time_point now)
{
    m_listener.closeStream();
    failed(failure, now);
}

std::optional<ReconnectPolicy::Clock::time_point> ReconnectPolicy::deadline() const
{
    const bool waits = m_state != State::Stopped && !(m_state == State::Streaming && m_heldBack);
    if (waits && m_goneAt) {
        return std::min(m_due, *m_goneAt);
    }
    return waits ? std::optional(m_due) : m_goneAt;
}

void ReconnectPolicy::tick(Clock::time_point now)
{
    if (m_goneAt && now >= *m_goneAt) {
        // A device that answers requests is there, even if its stream cannot be opened.
        const auto goneAt = m_listener.lastAnswer() + m_timings.goneAfter;
        if (now < goneAt) {
            m_goneAt = goneAt;
        } else {
            m_goneAt.reset();
            m_gone = true;
            m_listener.deviceGone();
        }
    }
    if (now < m_due) {
        return;
    }
    switch (m_state) {
    case State::Stopped:
        break;
    case State::Connecting:
        giveUp(Failure::Unreachable, now);
        break;
    case State::Streaming:
        if (!m_heldBack) {
            giveUp(Failure::Silent, now);
        }
        break;
    case State::BackingOff:
    case State::LoginRefused:
        open(now);
        break;
    }
}

} // namespace Krelm::Communicator::HttpDevice
