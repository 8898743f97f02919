// SPDX-License-Identifier: MIT
#include <simulator/http/httpsession.h>

#include <simulator/http/eventstream.h>
#include <simulator/http/framing.h>
#include <simulator/http/replyscript.h>
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
#include <limits>
#include <optional>

namespace Tessel::Simulator {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;
using Parser = http::request_parser<http::buffer_body>;

constexpr std::size_t readChunk = 64U << 10;

/// The number of bytes of a chunk's frame that the parser can judge, given the first of them: once the line
/// of the last chunk is whole, it assumes that the shortest end of a body is there. With the end of data
/// before it, that line is as long.
std::size_t judgedFrameBytes(std::string_view frame)
{
    constexpr std::size_t shortestEnd = 5;
    const bool isLast =
        frame.substr(0, 1) == "0" && frame.substr(0, shortestEnd).find('\n') != std::string_view::npos;
    return isLast ? shortestEnd : 1;
}

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
        net::dispatch(m_wire->get_executor(), [self = shared()] {
            if (self->m_wire->isEncrypted()) {
                self->shakeHands();
            } else {
                self->beginRequest();
            }
        });
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

    std::size_t maxBuffer() const { return headLimit() + readChunk; }

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

    // It has to be done in the time of a head.
    void shakeHands()
    {
        m_wire->shakeHands([self = shared()](error_code error) {
            if (error) {
                self->end();
            } else {
                self->beginRequest();
            }
        });
    }

    void beginRequest()
    {
        if (!m_wire->isOpen()) {
            return;
        }
        m_parser.emplace();
        m_headScan = {};
        m_isForPages = false;
        m_hasPartOfFrame = false;
        m_parser->header_limit(std::numeric_limits<std::uint32_t>::max()); // it gets whole heads only
        m_parser->body_limit(static_cast<std::uint64_t>(std::max<qint64>(0, device().options().bodyLimit)));
        if (m_buffer.size() > 0) {
            enter(Phase::Head);
            parseHead();
        } else {
            fill([](HttpSession& self) {
                if (self.phase() != Phase::Opening) {
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
        // A head begins small. Of a body, the system gives memory only for what comes.
        const std::size_t room = m_parser->is_header_done()
                                     ? std::min(readChunk, m_buffer.max_size() - m_buffer.size())
                                     : beast::read_size(m_buffer, readChunk);
        if (room == 0) {
            refuse(431, "the head is too large");
            return;
        }
        m_isReading = true;
        m_wire->async_read_some(m_buffer.prepare(room),
                                [self = shared(), next](error_code error, std::size_t bytes) {
                                    self->m_isReading = false;
                                    if (error || !self->m_wire->isOpen()) {
                                        self->end();
                                        return;
                                    }
                                    if (self->m_isEnding) {
                                        self->drain(bytes);
                                        return;
                                    }
                                    self->m_delay.cancel();
                                    self->m_buffer.commit(bytes);
                                    next(*self);
                                });
    }

    std::size_t headLimit() const
    {
        return static_cast<std::size_t>(std::max(1024, m_context->device.options().headerLimit));
    }
    std::string_view received() const
    {
        return {static_cast<const char*>(m_buffer.data().data()), m_buffer.size()};
    }

    // The head is judged when it is whole or too large, so that the pieces in which it comes say nothing.
    void parseHead()
    {
        const std::string_view text = received().substr(0, headLimit());
        switch (m_headScan.scan(text)) {
        case HeadScan::Found::Mistake:
            refuseRequest();
            return;
        case HeadScan::Found::Nothing:
            if (text.size() == headLimit()) {
                refuse(431, "the head is too large");
            } else {
                fill([](HttpSession& self) { self.parseHead(); });
            }
            return;
        case HeadScan::Found::End:
            takeHead(text.substr(0, m_headScan.length()));
            break;
        }
    }

    void takeHead(std::string_view head)
    {
        if (const char* const mistake = lineMistake(head)) {
            refuse(400, mistake);
            return;
        }
        error_code error;
        std::size_t used = 0;
        while (!error && !m_parser->is_header_done()) {
            used += m_parser->put(net::buffer(head.data() + used, head.size() - used), error);
        }
        m_buffer.consume(used);
        if (error) {
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
        const bool isForPages = request.count(http::field::origin) > 0;
        const bool isPreflight = isForPages && request.method() == http::verb::options &&
                                 request.count(http::field::access_control_request_method) > 0;
        m_exchange.emplace(device().open(methodOf(request.method()), view(request.method_string()),
                                         view(request.target()), view(request[http::field::content_type]),
                                         view(request[http::field::authorization]), isPreflight));
        // A page must not steer what the test that it belongs to relies on.
        m_isForPages = isForPages && m_exchange->kind != Device::Exchange::Kind::Control;
        if (m_exchange->kind == Device::Exchange::Kind::Refused) {
            cut();
            return;
        }
        if (m_parser->is_done()) {
            onRequest();
            return;
        }
        const bool waits = beast::iequals(request[http::field::expect], "100-continue");
        if (waits && m_exchange->kind == Device::Exchange::Kind::LoggedOff) {
            m_keepAlive = false;
            m_isBodyLeft = true;
            send(device().respond(*m_exchange, {}, 0));
            return;
        }
        m_parser->eager(true);
        enter(Phase::Body);
        if (waits) {
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
        const std::size_t least = m_hasPartOfFrame ? judgedFrameBytes(received()) : 1;
        while (m_buffer.size() >= least && !m_parser->is_done()) {
            m_chunk.resize(std::max(m_chunk.size(), m_buffer.size())); // no more than has come
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
            m_hasPartOfFrame = error == http::error::need_more && m_buffer.size() > 0;
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
        } else {
            refuseRequest();
        }
    }

    void refuseRequest() { refuse(400, "not a valid HTTP request"); }

    void refuse(int status, std::string_view message)
    {
        m_keepAlive = false;
        m_isBodyLeft = status == 413 || (m_parser->is_header_done() && !m_parser->is_done());
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
            later(m_exchange->delay, [](HttpSession& self) { self.serve(); });
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
        if (fault && (fault->cut == Fault::Cut::Close || fault->cut == Fault::Cut::End)) {
            const bool breaks = fault->cut == Fault::Cut::Close;
            finishRequest(0);
            breaks ? cut() : end();
            return;
        }
        if (m_exchange->kind == Device::Exchange::Kind::EventStream) {
            const std::string lastId(view(m_parser->get()["Last-Event-ID"]));
            const std::optional<Fault> streamFault = fault;
            finishRequest(200);
            startEventStream(std::move(m_wire), m_context, peer(), lastId, streamFault, m_isForPages);
            return;
        }
        std::string logged =
            device().requests().keepsEntries() ? m_body.substr(0, RequestLog::bodyBytes) : std::string();
        releaseBody();
        Reply reply = device().respond(*m_exchange, std::move(m_body), m_bodySize);
        m_body = std::move(logged);
        reply.isForPages = m_isForPages;
        if (fault && needsScript(fault->cut)) {
            sendScripted(*fault, reply);
        } else {
            send(std::move(reply));
        }
    }

    KeepAlive keepAlive() const
    {
        return !m_keepAlive ? KeepAlive::No : m_http10 ? KeepAlive::Told : KeepAlive::Implied;
    }
    bool answersHead() const { return m_exchange && m_exchange->method == Method::Head; }

    void send(Reply reply)
    {
        m_reply = std::move(reply);
        m_reply.isForPages = m_isForPages;
        const std::size_t size = m_reply.body ? m_reply.body->size() : 0;
        const bool bodiless = m_reply.status == 204 || m_reply.status == 304 || answersHead();
        m_head = headOf(m_reply, size, keepAlive());
        const std::array<net::const_buffer, 2> buffers{
            net::buffer(m_head), bodiless || size == 0 ? net::const_buffer() : net::buffer(*m_reply.body)};
        beginWriting(m_reply.status);
        net::async_write(*m_wire, buffers,
                         [self = shared()](error_code error, std::size_t) { self->onSent(error); });
    }

    void beginWriting(int status)
    {
        // A client that has the reply must find its request in the log.
        m_isControl = m_exchange && m_exchange->kind == Device::Exchange::Kind::Control;
        finishRequest(status);
        enter(Phase::Writing);
    }

    void sendScripted(const Fault& fault, const Reply& reply)
    {
        m_script = scriptFor(fault, reply, answersHead(), keepAlive());
        beginWriting(reply.status);
        sendPiece(0, m_script.first);
    }

    void sendPiece(std::size_t from, std::size_t size)
    {
        const auto piece = net::buffer(m_script.bytes.data() + from, size);
        net::async_write(*m_wire, piece,
                         [self = shared(), next = from + size](error_code error, std::size_t) {
                             if (error) {
                                 self->end();
                             } else if (next < self->m_script.bytes.size()) {
                                 self->later(self->m_script.pause, [next](HttpSession& session) {
                                     session.sendPiece(next, std::min(session.m_script.step,
                                                                      session.m_script.bytes.size() - next));
                                 });
                             } else {
                                 self->endScript();
                             }
                         });
    }

    void endScript()
    {
        if (m_script.end == ReplyScript::End::Close) {
            end();
            return;
        }
        if (m_script.end == ReplyScript::End::Reset) {
            later(m_script.pause, [](HttpSession& self) { self.cut(); });
            return;
        }
        if (!m_script.notice.empty() && m_keepAlive) {
            later(m_script.pause, [](HttpSession& self) { self.sendNotice(); });
        }
        onSent({});
    }

    template <typename Action>
    void later(std::chrono::milliseconds pause, Action action)
    {
        // It may have been closed since the operation that calls this was done; nobody would end the wait.
        if (!m_wire->isOpen()) {
            return;
        }
        enter(Phase::Serving);
        m_delay.expires_after(pause);
        m_delay.async_wait([self = shared(), action](error_code error) {
            if (!error) {
                action(*self);
            }
        });
    }

    void sendNotice()
    {
        if (phase() != Phase::Idle) {
            return;
        }
        m_isEnding = true;
        net::async_write(*m_wire, net::buffer(m_script.notice),
                         [self = shared()](error_code, std::size_t) { self->finishConnection(); });
    }

    void onSent(error_code error)
    {
        m_isControl = false;
        m_reply = {};
        enter(Phase::Idle);
        if (error) {
            end();
        } else if (m_keepAlive) {
            beginRequest();
        } else {
            m_isEnding = true;
            finishConnection();
        }
    }

    // The client may still be sending; closing at once would destroy the reply in transit. It has the time of
    // a head for it.
    void finishConnection()
    {
        enter(Phase::Head);
        // With TLS the end cannot be told while the client sends. It knows from the head how long the reply
        // is.
        if (m_wire->isEncrypted() && m_isBodyLeft) {
            drain(0);
            return;
        }
        m_wire->endWriting([self = shared()] {
            if (self->m_wire->isEncrypted()) {
                self->end();
            } else if (!self->m_isReading) {
                self->drain(0);
            }
        });
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
    HeadScan m_headScan;
    std::optional<Device::Exchange> m_exchange;
    bool m_isForPages = false; ///< a page of another origin may read the reply
    bool m_isControl = false;  ///< the current reply is one of the control interface
    std::string m_chunk;
    std::string m_body;
    std::uint64_t m_bodySize = 0;
    std::uint64_t m_heldBytes = 0; ///< its share of ServerContext::bodyBytes
    Reply m_reply;
    std::string m_head;
    bool m_keepAlive = true;
    bool m_http10 = false;
    bool m_hasPartOfFrame = false; ///< the buffer begins with an incomplete frame of a chunk
    bool m_isReading = false;      ///< for a request or a part of it
    bool m_isBodyLeft = false;     ///< the client may be sending a body that was refused
    bool m_isEnding = false;       ///< no further request is taken
    ReplyScript m_script;
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
    net::ssl::context* const tls = context->certificate ? &context->certificate->context() : nullptr;
    const auto session =
        std::make_shared<HttpSession>(std::make_unique<Wire>(std::move(socket), tls), std::move(context),
                                      registry->peerAt(remote.address()));
    if (registry->admit(session, limits)) {
        session->start();
    }
}

} // namespace Tessel::Simulator
