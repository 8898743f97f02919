// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_PROXYEVENTQUEUE_H
#define COMMUNICATOR_EVENTS_PROXYEVENTQUEUE_H

#include <communicator/deviceconnections.h>

#include <QByteArray>
#include <QString>

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// How much of one event stream waits to be delivered. Shared by the stream, which pauses when it is too
/// much, and the queue.
class StreamQuota
{
public:
    /// Whether so much waits that the stream must pause.
    bool isFull() const { return m_events >= maxEvents || m_bytes >= maxBytes; }
    /// Whether so little waits that a paused stream may go on.
    bool isLow() const { return m_events <= maxEvents / 4 && m_bytes <= maxBytes / 4; }

private:
    friend class ProxyEventQueue;
    // Beyond either the stream is not read, so that TCP holds the device back and nothing is lost.
    static constexpr size_t maxEvents = 4096;
    static constexpr size_t maxBytes = 8U << 20U;
    std::atomic<size_t> m_events{0};
    std::atomic<size_t> m_bytes{0};
};

/// One thing to tell the application of a device.
struct ProxyEvent
{
    enum class Kind { DevicesChanged, Logout, Event, Connection, EventsMissed };
    Kind kind = Kind::DevicesChanged;
    QString deviceKey;
    QByteArray data;                    ///< of an event
    std::shared_ptr<StreamQuota> quota; ///< of an event
    std::shared_ptr<const DeviceConnection> connection = {};
};

/// Carries events, in their order, from any thread to the one that delivers them, as queued signals would
/// come, but with few wake-ups however many events wait.
///
/// While a receiver runs and anything waits, a wake-up is on its way: an event loop that the receiver runs
/// delivers the rest. A wake-up that finds nothing does nothing.
class ProxyEventQueue
{
public:
    /// @p wakeUp has deliver() called later on the delivering thread. From any thread.
    explicit ProxyEventQueue(std::function<void()> wakeUp);

    /// Appends an event. From any thread.
    void push(ProxyEvent event);
    /// Appends a batch, which is empty afterwards. From any thread.
    void push(std::vector<ProxyEvent>& batch);

    /// Hands what waits to @p receive, in order, even when that calls deliver() from inside. What comes
    /// meanwhile has to wait for a wake-up of its own, so that an event loop gets its turn. To be called on
    /// one thread only.
    void deliver(const std::function<void(const ProxyEvent&)>& receive);
    /// Wakes up once more if anything waits, for a thread whose event queue may have been emptied. From any
    /// thread.
    void wakeUpAnew();
    /// Drops what waits. From any thread.
    void clear();
    /// Sets what is called, on the delivering thread, after events were delivered. Before the first push.
    void onDelivered(std::function<void()> delivered) { m_delivered = std::move(delivered); }

private:
    bool takeWaiting();

    const std::function<void()> m_wakeUp;
    std::function<void()> m_delivered;
    std::mutex m_mutex; ///< guards the two below
    std::vector<ProxyEvent> m_waiting;
    bool m_wakeUpSent = false;       ///< and not come to deliver() yet
    std::vector<ProxyEvent> m_batch; ///< being delivered; on the delivering thread only
    size_t m_position = 0;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
