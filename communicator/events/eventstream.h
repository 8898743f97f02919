// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTS_EVENTSTREAM_H
#define COMMUNICATOR_EVENTS_EVENTSTREAM_H

#include "communicator/devices/deviceregistry.h"
#include "communicator/events/connectionboard.h"
#include "communicator/events/continuity.h"
#include "communicator/events/proxyeventqueue.h"
#include "communicator/events/reconnectpolicy.h"
#include "communicator/events/ssereader.h"
#include "communicator/http/connector.h"
#include "communicator/http/responseparser.h"
#include "communicator/runtime/ioloop.h"

#include <atomic>
#include <memory>
#include <optional>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// Shared by the streams of all devices. Used on the loop's thread only, except for the atomic.
struct StreamContext
{
    IoLoop& loop;
    Connector& connector;
    ProxyEventQueue& proxyEvents;
    ConnectionBoard& board;
    const EventTimings timings;
    std::atomic<int> paused{0}; ///< number of streams that wait for the queue
    /// The earliest time at which the next device is reported whose events may have been missed, so that a
    /// fleet that comes back does not read all its caches at once.
    IoLoop::Clock::time_point reportsFrom{};
};

/// The event stream of one device. Opens the stream when its policy says so, passes its events to the queue,
/// and pauses while the queue holds too many of them. Records its state on the board, and has the change
/// events reported if events may have been missed. Used on the loop's thread only.
class EventStream final : private ReconnectPolicy::Listener, private ResponseParser::Handler
{
public:
    /// What the next stream of a device must know of its last one.
    struct Past
    {
        QByteArray lastEventId; ///< the device is asked to continue after it; empty if none is known
        Continuity continuity;
        bool owesReport = false; ///< events may have been missed, and this was not reported yet
    };

    EventStream(StreamContext& context, std::shared_ptr<const Device> device, const Past& past);
    /// Closes the stream.
    ~EventStream() override;

    /// Call this when the application could not read what an event told it to read: the change events are
    /// reported later, so that it tries again.
    void readFailed();
    /// Resumes reading if the stream is paused and the queue has room again.
    void resume();
    const Device& device() const { return *m_device; }
    /// For the stream that takes the place of this one.
    Past past() const;

private:
    void openStream() override;
    void closeStream() override;
    void deviceGone() override;
    ReconnectPolicy::Clock::time_point lastAnswer() const override { return m_device->lastAnswer; }
    void failureSeen(ReconnectPolicy::Failure failure, bool first, std::chrono::milliseconds delay) override;

    void responseField(std::string_view name, std::string_view value) override;
    bool responseHead(const ResponseParser::Head& head) override;
    bool responseBody(const char* bytes, std::size_t size) override;

    void use(std::unique_ptr<Connection> connection);
    void ready(std::uint32_t events);
    void send();
    void receive();
    bool answerChallenge();
    bool awaitLogin();
    void writeHead();
    void watch();
    void finished();
    void fail(ReconnectPolicy::Failure failure);
    ReconnectPolicy::Failure failureOf() const;
    void eventCame(SseReader::Event&& event);
    void live();
    void setState(ConnectionState state, const QString& reason,
                  std::optional<std::chrono::milliseconds> next);
    QByteArray resumeId() const;
    void reportMissed();
    void tellMissed();
    void setPaused(bool paused);
    void scheduleTick();

    StreamContext& m_context;
    IoLoop& m_loop;
    const std::shared_ptr<const Device> m_device;
    ProxyEventQueue& m_proxyEvents;
    const std::shared_ptr<StreamQuota> m_quota = std::make_shared<StreamQuota>();
    std::vector<ProxyEvent> m_batch;
    SseReader m_reader;
    ReconnectPolicy m_reconnectPolicy;
    Continuity m_continuity;
    std::optional<IoLoop::TimerId> m_proofTimer;         ///< while a stream has to prove its continuity
    std::optional<IoLoop::TimerId> m_reportTimer;        ///< while a report waits for its turn
    bool m_owesReport = false;                           ///< once the device is back
    std::optional<IoLoop::Clock::time_point> m_reported; ///< last
    std::chrono::milliseconds m_untilReport{};           ///< from then to the next one
    std::optional<IoLoop::TimerId> m_repeatTimer;        ///< while a report is due because a read failed
    int m_repeats = 0;                                   ///< such reports in a row
    IoLoop::Clock::time_point m_repeatedAt{};            ///< when the last one was due
    bool m_hasDroppedEvent = false;                      ///< on this stream, and said so
    QString m_reason;                                    ///< why the last stream ended
    ResponseParser m_parser;
    Connector::Attempt m_attempt = nullptr; ///< while connecting
    std::unique_ptr<Connection> m_connection;
    QByteArray m_head; ///< the unsent part of the request
    QByteArray m_authorization;
    QString m_challenge;                         ///< from a reply that requires a login
    int m_challenges = 0;                        ///< number answered in this attempt
    std::shared_ptr<TokenLogin::Ticket> m_login; ///< while a new token is awaited
    std::optional<IoLoop::TimerId> m_timer;
    bool m_open = false; ///< or being opened
    bool m_isPaused = false;
    bool m_isStream = false; ///< whether a head that announces events was received
    bool m_isEventType = false;
    bool m_tooLarge = false;
    int m_status = 0;
    std::chrono::milliseconds m_retryAfter{}; ///< requested by the device
    size_t m_overhead = 0;                    ///< bytes of a body that is not an event stream
    Q_DISABLE_COPY_MOVE(EventStream)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
