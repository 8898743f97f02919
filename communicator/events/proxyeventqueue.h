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

/// Counts the events of one stream that wait to be delivered. Shared by the queue and the stream, which
/// pauses when there are too many. May be used from any thread.
class StreamQuota
{
public:
    /// Whether so many events are waiting that the stream must pause.
    bool isFull() const { return m_events >= maxEvents || m_bytes >= maxBytes; }
    /// Whether so few events are waiting that a paused stream may resume.
    bool isLow() const { return m_events <= maxEvents / 4 && m_bytes <= maxBytes / 4; }

private:
    friend class ProxyEventQueue;
    // Beyond either the stream is not read, so that TCP holds the device back and nothing is lost.
    static constexpr size_t maxEvents = 4096;
    static constexpr size_t maxBytes = 8U << 20U;
    std::atomic<size_t> m_events{0};
    std::atomic<size_t> m_bytes{0};
};

/// Something to report to the application about a device.
struct ProxyEvent
{
    enum class Kind { DevicesChanged, Logout, Event, Connection, EventsMissed };
    /// That a channel has changed.
    static ProxyEvent of(DeviceConnection changed)
    {
        const QString key = changed.deviceKey;
        return {
            Kind::Connection, key, {}, nullptr, std::make_shared<const DeviceConnection>(std::move(changed))};
    }

    Kind kind = Kind::DevicesChanged;
    QString deviceKey;
    QByteArray data;                    ///< of an event
    std::shared_ptr<StreamQuota> quota; ///< of an event
    std::shared_ptr<const DeviceConnection> connection = {};
};

/// Passes events in order from any thread to the one that delivers them, like queued signals but with few
/// wake-ups, however many events are waiting.
///
/// While a receiver runs and events are waiting, a wake-up is always pending, so that an event loop run by
/// the receiver delivers the rest. A wake-up that finds no events does nothing.
class ProxyEventQueue
{
public:
    /// @p wakeUp must cause a later call of deliver() on the delivering thread. It is called on any thread.
    explicit ProxyEventQueue(std::function<void()> wakeUp);

    /// Appends an event. From any thread.
    void push(ProxyEvent event);
    /// Appends a batch, which is empty afterwards. From any thread.
    void push(std::vector<ProxyEvent>& batch);

    /// Passes the waiting events to @p receive, in order, even if that calls deliver() itself. Events that
    /// arrive meanwhile get a wake-up of their own, so that an event loop gets its turn. Call it on one
    /// thread only.
    void deliver(const std::function<void(const ProxyEvent&)>& receive);
    /// Sends another wake-up if events are waiting, for a thread whose event queue may have been cleared.
    /// From any thread.
    void repeatWakeUp();
    /// Discards the waiting events. From any thread.
    void clear();
    /// Sets a function that is called on the delivering thread after events were delivered. Call it before
    /// the first push.
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
