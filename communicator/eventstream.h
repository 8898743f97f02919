// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_EVENTSTREAM_H
#define COMMUNICATOR_EVENTSTREAM_H

#include "communicator/curlmulti.h"
#include "communicator/deviceregistry.h"
#include "communicator/eventsupervisor.h"
#include "communicator/noticequeue.h"
#include "communicator/ssereader.h"

#include <atomic>
#include <curl/curl.h>
#include <memory>
#include <optional>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// The event stream of one device: opens it when its supervisor says so, reads events from it, hands them to
/// the queue and pauses while the queue holds too many of them. Used on the loop's thread only.
class EventStream final : private EventSupervisor::Listener
{
public:
    /// @p paused counts the streams that wait for the queue.
    EventStream(IoLoop& loop, CurlMulti& multi, std::shared_ptr<const Device> device, NoticeQueue& notices,
                std::atomic<int>& paused, const EventTimings& timings);
    /// Closes the stream.
    ~EventStream() override;

    /// Goes on if the stream is paused and the queue has room again.
    void resume();

private:
    void openStream() override;
    void closeStream() override;
    void deviceGone() override;
    void failureSeen(EventSupervisor::Failure failure, bool first, std::chrono::milliseconds delay) override;

    static size_t onHeader(char* line, size_t size, size_t count, void* self);
    static size_t onBody(char* bytes, size_t size, size_t count, void* self);
    bool headerLine(const QByteArray& line);
    size_t body(const char* bytes, size_t size);
    void finished();
    void fail(EventSupervisor::Failure failure);
    EventSupervisor::Failure failureOf() const;
    void setPaused(bool paused);
    void scheduleTick();

    IoLoop& m_loop;
    CurlMulti& m_multi;
    const std::shared_ptr<const Device> m_device;
    NoticeQueue& m_notices;
    std::atomic<int>& m_pausedStreams;
    const std::shared_ptr<StreamBacklog> m_backlog = std::make_shared<StreamBacklog>();
    std::vector<Notice> m_batch;
    SseReader m_reader;
    EventSupervisor m_supervisor;
    CURL* m_easy;
    curl_slist* m_headerLines = nullptr;
    std::optional<IoLoop::TimerId> m_timer;
    bool m_open = false;
    bool m_isPaused = false;
    bool m_isStream = false; ///< a head came that announces events
    bool m_isEventType = false;
    bool m_tooLarge = false;
    int m_status = 0;
    size_t m_overhead = 0; ///< bytes of header lines, and of a body that is no stream
    Q_DISABLE_COPY_MOVE(EventStream)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
