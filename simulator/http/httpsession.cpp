// SPDX-License-Identifier: MIT
#include <simulator/http/httpsession.h>

#include <simulator/http/eventstream.h>
#include <simulator/http/framing.h>
#include <simulator/http/replyhead.h>
#include <simulator/http/wire.h>

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/read_size.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/parser.hpp>

#include <array>
#include <optional>

namespace Tessel::Simulator {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;
using Parser = http::request_parser<http::buffer_body>;

constexpr std::size_t readChunk = 64U << 10;

std::string_view view(beast::string_view text)
{
    return {text.data(), text.size()};
}

Method methodOf(http::verb verb)
{
    switch (verb) {
    case http::verb::get:
        return Method::Get;
    case http::verb::head:
        return Method::Head;
    case http::verb::put:
        return Method::Put;
    case http::verb::post:
        return Method::Post;
    case http::verb::delete_:
        return Method::Delete;
    case http::verb::options:
        return Method::Options;
    default:
        return Method::Other;
    }
}

class HttpSession : public Connection
{
public:
    HttpSession(std::unique_ptr<Wire> wire, std::shared_ptr<ServerContext> context,
                std::shared_ptr<Peer> peer)
        : Connection(Kind::Session, context->registry, std::move(peer))
        , m_context(std::move(context))
        , m_wire(std::move(wire))
        , m_delay(m_wire->get_executor())
        , m_buffer(maxBuffer())
    {
        m_wire->setActivity(activity());
    }

    ~HttpSession() override { finishRequest(0); }

    void start()
    {
        net::dispatch(m_wire->get_executor(), [self = shared()] { self->beginRequest(); });
    }

    void close() override
    {
        post([](HttpSession& self) { self.end(); });
    }

    void closeForLogout() override
    {
        post([](HttpSession& self) {
            if (!self.m_isControl) {
                self.end();
            }
        });
    }

private:
    std::shared_ptr<HttpSession> shared()
    {
        return std::static_pointer_cast<HttpSession>(shared_from_this());
    }
    Device& device() { return m_context->device; }

    template <typename Action>
    void post(Action action)
    {
        net::post(m_delay.get_executor(), [self = shared(), action] { action(*self); });
    }

    std::size_t maxBuffer() const
    {
        return static_cast<std::size_t>(std::max(1024, m_context->device.options().headerLimit)) + readChunk;
    }

    // The wire is gone when the connection has become an event stream.
    void end()
    {
        m_delay.cancel();
        if (m_wire) {
            m_wire->close();
        }
    }

    // The client sees a broken connection instead of a reply.
    void cut()
    {
        m_delay.cancel();
        m_wire->reset();
    }

    void beginRequest()
    {
        if (!m_wire->isOpen()) {
            return;
        }
        m_parser.emplace();
        m_parser->header_limit(static_cast<std::uint32_t>(std::max(1024, device().options().headerLimit)));
        m_parser->body_limit(static_cast<std::uint64_t>(std::max<qint64>(0, device().options().bodyLimit)));
        if (m_buffer.size() > 0) {
            enter(Phase::Head);
            parseHead();
        } else {
            fill([](HttpSession& self) {
                if (self.phase() == Phase::Idle) {
                    self.enter(Phase::Head);
                }
                self.parseHead();
            });
        }
    }

    // Reads what has come, and goes on with @p next.
    template <typename Next>
    void fill(Next next)
    {
        const std::size_t room = beast::read_size(m_buffer, readChunk);
        if (room == 0) {
            refuse(431, "the head is too large");
            return;
        }
        m_wire->async_read_some(m_buffer.prepare(room),
                                [self = shared(), next](error_code error, std::size_t bytes) {
                                    if (error) {
                                        self->end();
                                        return;
                                    }
                                    self->m_buffer.commit(bytes);
                                    next(*self);
                                });
    }

    void parseHead()
    {
        error_code error;
        while (!error && !m_parser->is_header_done()) {
            const auto used = m_parser->put(m_buffer.data(), error);
            const std::string_view lines(static_cast<const char*>(m_buffer.data().data()), used);
            if (const char* const mistake = lineMistake(lines)) {
                refuse(400, mistake);
                return;
            }
            m_buffer.consume(used);
        }
        if (error == http::error::need_more) {
            fill([](HttpSession& self) { self.parseHead(); });
        } else if (error) {
            refuse(error);
        } else if (const char* const mistake = framingMistake(m_parser->get())) {
            refuse(400, mistake);
        } else {
            onHead();
        }
    }

    void onHead()
    {
        const auto& request = m_parser->get();
        m_exchange.emplace(device().open(methodOf(request.method()), view(request.method_string()),
                                         view(request.target()), view(request[http::field::content_type])));
        if (m_exchange->kind == Device::Exchange::Kind::Refused) {
            cut();
            return;
        }
        if (m_parser->is_done()) {
            onRequest();
            return;
        }
        m_parser->eager(true);
        enter(Phase::Body);
        if (beast::iequals(request[http::field::expect], "100-continue")) {
            sendContinue();
        } else {
            readBody();
        }
    }

    void sendContinue()
    {
        static constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
        net::async_write(*m_wire, net::buffer(text.data(), text.size()),
                         [self = shared()](error_code error, std::size_t) {
                             if (!error) {
                                 self->readBody();
                             }
                         });
    }

    void readBody()
    {
        m_chunk.resize(readChunk);
        while (m_buffer.size() > 0 && !m_parser->is_done()) {
            auto& body = m_parser->get().body();
            body.data = m_chunk.data();
            body.size = m_chunk.size();
            error_code error;
            const auto used = m_parser->put(m_buffer.data(), error);
            m_buffer.consume(used);
            if (!keepBody(m_chunk.size() - body.size)) {
                refuse(503, "too many request bodies at once");
                return;
            }
            if (error == http::error::need_more || (!error && used == 0)) {
                break;
            }
            if (error && error != http::error::need_buffer) {
                refuse(error);
                return;
            }
        }
        if (m_parser->is_done()) {
            onRequest();
        } else {
            fill([](HttpSession& self) { self.readBody(); });
        }
    }

    // Takes the first @p received bytes of the chunk. @return whether there was memory for them.
    bool keepBody(std::size_t received)
    {
        const auto wanted =
            m_exchange->keepsBody ? received : std::min(received, RequestLog::bodyBytes - m_body.size());
        const auto limit = static_cast<std::uint64_t>(std::max<qint64>(0, device().options().bodyMemory));
        countBody(received);
        m_bodySize += received;
        m_heldBytes += wanted;
        peer()->bodyBytes += wanted;
        m_context->bodyBytes += wanted;
        m_body.append(m_chunk.data(), wanted);
        return m_context->bodyBytes <= limit && peer()->bodyBytes <= limit / 2;
    }

    // Invalid HTTP and exceeded limits are answered with their status, and the connection is closed.
    void refuse(error_code error)
    {
        if (error == http::error::body_limit) {
            refuse(413, "the body is too large");
        } else if (error == http::error::header_limit || error == http::error::buffer_overflow) {
            refuse(431, "the head is too large");
        } else {
            refuse(400, "not a valid HTTP request");
        }
    }

    void refuse(int status, std::string_view message)
    {
        m_keepAlive = false;
        send(failureReply(status, message));
    }

    void onRequest()
    {
        const auto& request = m_parser->get();
        m_keepAlive = request.keep_alive();
        m_http10 = request.version() < 11;
        enter(Phase::Serving);
        const auto& fault = m_exchange->fault;
        if (fault && fault->cut == Fault::Cut::Stall) {
            waitForEnd();
            return;
        }
        if (m_exchange->delay.count() > 0) {
            m_delay.expires_after(m_exchange->delay);
            m_delay.async_wait([self = shared()](error_code error) {
                if (!error) {
                    self->serve();
                }
            });
            return;
        }
        serve();
    }

    void waitForEnd()
    {
        m_chunk.resize(readChunk);
        m_wire->async_read_some(net::buffer(m_chunk), [self = shared()](error_code error, std::size_t) {
            if (error) {
                self->end();
            } else {
                self->waitForEnd();
            }
        });
    }

    void serve()
    {
        const auto& fault = m_exchange->fault;
        if (fault && fault->cut == Fault::Cut::Close) {
            finishRequest(0);
            cut();
            return;
        }
        if (m_exchange->kind == Device::Exchange::Kind::EventStream) {
            const std::string lastId(view(m_parser->get()["Last-Event-ID"]));
            finishRequest(200);
            startEventStream(std::move(m_wire), m_context, peer(), lastId);
            return;
        }
        std::string logged =
            device().requests().keepsEntries() ? m_body.substr(0, RequestLog::bodyBytes) : std::string();
        releaseBody();
        Reply reply = device().respond(*m_exchange, std::move(m_body), m_bodySize);
        m_body = std::move(logged);
        m_truncate = fault && fault->cut == Fault::Cut::Truncate;
        send(std::move(reply));
    }

    void send(Reply reply)
    {
        m_reply = std::move(reply);
        const std::size_t size = m_reply.body ? m_reply.body->size() : 0;
        const bool bodiless = m_reply.status == 204 || m_reply.status == 304;
        const bool headOnly = m_exchange && m_exchange->method == Method::Head;
        m_keepAlive = m_keepAlive && !m_truncate;
        m_head = headOf(m_reply, size,
                        !m_keepAlive ? KeepAlive::No
                        : m_http10   ? KeepAlive::Told
                                     : KeepAlive::Implied);
        const std::size_t sent = headOnly || bodiless ? 0 : m_truncate ? size / 2 : size;
        const std::array<net::const_buffer, 2> buffers{
            net::buffer(m_head), sent > 0 ? net::buffer(m_reply.body->data(), sent) : net::const_buffer()};
        // A client that has the reply must find its request in the log.
        m_isControl = m_exchange && m_exchange->kind == Device::Exchange::Kind::Control;
        finishRequest(m_reply.status);
        enter(Phase::Writing);
        net::async_write(*m_wire, buffers,
                         [self = shared()](error_code error, std::size_t) { self->onSent(error); });
    }

    void onSent(error_code error)
    {
        m_isControl = false;
        m_reply = {};
        enter(Phase::Idle);
        if (error || m_truncate) {
            end();
        } else if (m_keepAlive) {
            beginRequest();
        } else {
            // The client may still be sending; closing at once would destroy the reply in transit.
            // The time is that of a head.
            m_wire->endWriting();
            enter(Phase::Head);
            drain(0);
        }
    }

    void drain(std::size_t drained)
    {
        // A client that does not stop sending has not read the refusal and never will.
        constexpr std::size_t limit = 8U << 20;
        if (drained > limit) {
            end();
            return;
        }
        m_chunk.resize(readChunk);
        m_wire->async_read_some(net::buffer(m_chunk),
                                [self = shared(), drained](error_code error, std::size_t bytes) {
                                    if (error) {
                                        self->end();
                                    } else {
                                        self->drain(drained + bytes);
                                    }
                                });
    }

    void releaseBody()
    {
        m_context->bodyBytes -= m_heldBytes;
        peer()->bodyBytes -= m_heldBytes;
        m_heldBytes = 0;
    }

    void finishRequest(int status)
    {
        releaseBody();
        if (m_exchange) {
            device().log(*m_exchange, std::move(m_body), m_bodySize, status);
        }
        m_body.clear();
        m_bodySize = 0;
        m_exchange.reset();
    }

    const std::shared_ptr<ServerContext> m_context;
    std::unique_ptr<Wire> m_wire;
    Timer m_delay;
    beast::flat_buffer m_buffer;
    std::optional<Parser> m_parser;
    std::optional<Device::Exchange> m_exchange;
    bool m_isControl = false; ///< the current reply is one of the control interface
    std::string m_chunk;
    std::string m_body;
    std::uint64_t m_bodySize = 0;
    std::uint64_t m_heldBytes = 0; ///< its share of ServerContext::bodyBytes
    Reply m_reply;
    std::string m_head;
    bool m_keepAlive = true;
    bool m_http10 = false;
    bool m_truncate = false;
};

} // namespace

void startHttpSession(Socket socket, std::shared_ptr<ServerContext> context)
{
    const auto registry = context->registry;
    const Options& options = context->device.options();
    error_code error;
    const tcp::endpoint remote = socket.remote_endpoint(error);
    if (error) {
        return;
    }
    const auto limit = [](int count) { return static_cast<std::size_t>(std::max(1, count)); };
    const ConnectionLimits limits{limit(options.maxConnections), limit(options.maxConnectionsPerPeer),
                                  limit(options.maxHalfOpen), limit(options.maxHalfOpenPerPeer)};
    const auto session = std::make_shared<HttpSession>(
        std::make_unique<Wire>(std::move(socket)), std::move(context), registry->peerAt(remote.address()));
    if (registry->admit(session, limits)) {
        session->start();
    }
}

} // namespace Tessel::Simulator
