// SPDX-License-Identifier: MIT
#include <simulator/http/eventstream.h>

#include <simulator/http/replyhead.h>

#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>

#include <algorithm>
#include <array>
#include <deque>
#include <vector>

namespace Tessel::Simulator {
namespace {

using boost::system::error_code;

// A client that reads too slowly loses its stream, and may resume it.
constexpr std::size_t maxQueuedFrames = 65536;
constexpr std::size_t maxQueuedBytes = 32U << 20;
constexpr std::size_t framesPerWrite = 64;

class EventStream : public Connection, public EventSink
{
public:
    EventStream(std::unique_ptr<Wire> wire, std::shared_ptr<ServerContext> context,
                std::shared_ptr<Peer> peer, const std::optional<Fault>& fault)
        : Connection(Kind::Stream, context->registry, std::move(peer))
        , m_context(std::move(context))
        , m_wire(std::move(wire))
        , m_timer(m_wire->get_executor())
        , m_cut(fault ? fault->cut : Fault::Cut::None)
        , m_pause(fault ? fault->pause : 0)
    {
        m_wire->setActivity(activity());
        enter(Phase::Idle);
    }

    ~EventStream() override { m_context->device.events().unsubscribe(*this); }

    void start(std::string_view lastId, bool isForPages)
    {
        const auto head =
            std::make_shared<const std::string>("HTTP/1.1 200 OK\r\n" + commonHeaders(isForPages) +
                                                "Content-Type: text/event-stream\r\n"
                                                "Cache-Control: no-store\r\n"
                                                "Connection: close\r\n\r\n"
                                                ":\n\n");
        if (m_cut == Fault::Cut::HalfHead) {
            enqueue(std::make_shared<const std::string>(head->substr(0, head->size() / 2)));
            m_isLast = true;
            return;
        }
        enqueue(head);
        read();
        m_context->device.events().subscribe(*this, lastId);
        if (m_cut == Fault::Cut::Truncate || m_cut == Fault::Cut::Reset) {
            after(m_pause, [](EventStream& self) {
                self.m_cut == Fault::Cut::Reset ? self.m_wire->reset() : self.end();
            });
        }
    }

    void deliver(const SharedText& frame) override
    {
        // The stream may be about to be destroyed: its destructor waits for the hub, which is delivering.
        net::post(m_wire->get_executor(), [self = weak_from_this(), frame] {
            if (const auto stream = self.lock()) {
                static_cast<EventStream&>(*stream).enqueue(frame);
            }
        });
    }

    void close() override
    {
        net::post(m_wire->get_executor(), [self = shared()] { self->end(); });
    }

private:
    std::shared_ptr<EventStream> shared()
    {
        return std::static_pointer_cast<EventStream>(shared_from_this());
    }

    void end()
    {
        m_timer.cancel();
        m_wire->close();
    }

    template <typename Action>
    void after(std::chrono::milliseconds pause, Action action)
    {
        // It may have been closed since the operation that calls this was done; nobody would end the wait.
        if (!m_wire->isOpen()) {
            return;
        }
        m_timer.expires_after(pause);
        m_timer.async_wait([self = shared(), action](error_code error) {
            if (!error && self->m_wire->isOpen()) {
                action(*self);
            }
        });
    }

    void enqueue(const SharedText& frame)
    {
        if (!m_wire->isOpen()) {
            return;
        }
        m_queue.push_back(frame);
        m_queuedBytes += frame->size();
        if (m_queue.size() > maxQueuedFrames || m_queuedBytes > maxQueuedBytes) {
            end();
        } else if (!m_writing) {
            write();
        }
    }

    void write()
    {
        m_writing = true;
        enter(Phase::Writing);
        m_buffers.clear();
        m_inWrite.clear();
        if (m_cut == Fault::Cut::Drip) {
            takeByte();
        } else {
            takeFrames();
        }
        net::async_write(*m_wire, m_buffers, [self = shared()](error_code error, std::size_t bytes) {
            self->m_queuedBytes -= std::min(bytes, self->m_queuedBytes);
            if (error || self->m_isLast) {
                self->end();
            } else if (self->m_cut == Fault::Cut::Drip || self->m_cut == Fault::Cut::LateBody) {
                self->after(self->m_pause, [](EventStream& stream) { stream.writeOn(); });
            } else {
                self->writeOn();
            }
        });
    }

    void takeFrames()
    {
        while (!m_queue.empty() && m_inWrite.size() < framesPerWrite) {
            m_inWrite.push_back(std::move(m_queue.front()));
            m_queue.pop_front();
            m_buffers.push_back(net::buffer(*m_inWrite.back()));
        }
    }

    void takeByte()
    {
        m_inWrite.push_back(m_queue.front());
        m_buffers.push_back(net::buffer(m_inWrite.back()->data() + m_dripped, 1));
        if (++m_dripped == m_inWrite.back()->size()) {
            m_dripped = 0;
            m_queue.pop_front();
        }
    }

    void writeOn()
    {
        if (m_cut == Fault::Cut::LateBody) {
            m_cut = Fault::Cut::None;
        }
        if (!m_queue.empty()) {
            write();
        } else {
            m_writing = false;
            enter(Phase::Idle);
        }
    }

    // Data from the client is discarded; reading detects when the client has gone.
    void read()
    {
        m_wire->async_read_some(net::buffer(m_dropped), [self = shared()](error_code error, std::size_t) {
            if (error) {
                self->end();
            } else {
                self->read();
            }
        });
    }

    const std::shared_ptr<ServerContext> m_context;
    const std::unique_ptr<Wire> m_wire;
    Timer m_timer;
    Fault::Cut m_cut;
    const std::chrono::milliseconds m_pause;
    std::deque<SharedText> m_queue;
    std::size_t m_queuedBytes = 0;
    std::vector<SharedText> m_inWrite;
    std::vector<net::const_buffer> m_buffers;
    std::array<char, 512> m_dropped{};
    std::size_t m_dripped = 0; ///< bytes sent of the first frame that waits
    bool m_writing = false;
    bool m_isLast = false; ///< the end comes after what is being written
};

} // namespace

void startEventStream(std::unique_ptr<Wire> wire, std::shared_ptr<ServerContext> context,
                      std::shared_ptr<Peer> peer, std::string_view lastId, const std::optional<Fault>& fault,
                      bool isForPages)
{
    const auto registry = context->registry;
    const auto stream =
        std::make_shared<EventStream>(std::move(wire), std::move(context), std::move(peer), fault);
    if (registry->add(stream)) {
        stream->start(lastId, isForPages);
    }
}

} // namespace Tessel::Simulator
