// SPDX-License-Identifier: MIT
#include <simulator/http/httpsession.h>

#include <simulator/http/eventstream.h>

#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/buffer_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/serializer.hpp>
#include <boost/beast/http/span_body.hpp>
#include <boost/beast/http/write.hpp>

#include <charconv>
#include <optional>

namespace Tessel::Simulator {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;
using Parser = http::request_parser<http::buffer_body>;
using Response = http::response<http::span_body<const char>>;

constexpr std::size_t readChunk = 64U << 10;
// The limit of all bodies being received together.
constexpr std::uint64_t maxBodyBytes = 1ULL << 30;

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
    HttpSession(Socket socket, std::shared_ptr<ServerContext> context)
        : Connection(Kind::Session, context->registry)
        , m_context(std::move(context))
        , m_socket(std::move(socket))
        , m_delay(m_socket.get_executor())
        , m_buffer(maxBuffer())
    {}

    ~HttpSession() override
    {
        finishRequest(0);
        error_code ignored;
        m_socket.close(ignored);
    }

    void start()
    {
        net::dispatch(m_socket.get_executor(), [self = shared()] { self->readHead(); });
    }

    void close() override
    {
        net::post(m_socket.get_executor(), [self = shared()] { self->end(); });
    }

    void closeForLogout() override
    {
        net::post(m_socket.get_executor(), [self = shared()] {
            if (!self->m_isControl) {
                self->end();
            }
        });
    }

private:
    std::shared_ptr<HttpSession> shared()
    {
        return std::static_pointer_cast<HttpSession>(shared_from_this());
    }
    Device& device() { return m_context->device; }

    std::size_t maxBuffer() const
    {
        return static_cast<std::size_t>(std::max(1024, m_context->device.options().headerLimit)) + readChunk;
    }

    void end()
    {
        error_code ignored;
        m_delay.cancel();
        m_socket.close(ignored);
    }

    // The client sees a broken connection instead of a reply.
    void cut()
    {
        error_code ignored;
        m_socket.set_option(net::socket_base::linger(true, 0), ignored);
        end();
    }

    void readHead()
    {
        if (!m_socket.is_open()) {
            return;
        }
        m_parser.emplace();
        m_parser->header_limit(static_cast<std::uint32_t>(std::max(1024, device().options().headerLimit)));
        m_parser->body_limit(static_cast<std::uint64_t>(std::max<qint64>(0, device().options().bodyLimit)));
        http::async_read_header(m_socket, m_buffer, *m_parser,
                                [self = shared()](error_code error, std::size_t) { self->onHead(error); });
    }

    void onHead(error_code error)
    {
        touch();
        if (error) {
            refuse(error);
            return;
        }
        const auto& request = m_parser->get();
        m_exchange.emplace(device().open(methodOf(request.method()), view(request.method_string()),
                                         view(request.target()), view(request[http::field::content_type])));
        if (m_exchange->kind == Device::Exchange::Kind::Refused) {
            cut();
            return;
        }
        const bool waits =
            beast::iequals(request[http::field::expect], "100-continue") && !m_parser->is_done();
        if (waits) {
            sendContinue();
        } else {
            readBody();
        }
    }

    void sendContinue()
    {
        static constexpr std::string_view text = "HTTP/1.1 100 Continue\r\n\r\n";
        net::async_write(m_socket, net::buffer(text.data(), text.size()),
                         [self = shared()](error_code error, std::size_t) {
                             if (!error) {
                                 self->readBody();
                             }
                         });
    }

    void readBody()
    {
        if (m_parser->is_done()) {
            onRequest();
            return;
        }
        if (m_chunk.empty()) {
            m_chunk.resize(readChunk);
        }
        auto& body = m_parser->get().body();
        body.data = m_chunk.data();
        body.size = m_chunk.size();
        http::async_read(m_socket, m_buffer, *m_parser,
                         [self = shared()](error_code error, std::size_t) { self->onBody(error); });
    }

    void onBody(error_code error)
    {
        touch();
        if (error && error != http::error::need_buffer) {
            refuse(error);
            return;
        }
        const auto received = m_chunk.size() - m_parser->get().body().size;
        const auto wanted =
            m_exchange->keepsBody ? received : std::min(received, RequestLog::bodyBytes - m_body.size());
        m_bodySize += received;
        m_heldBytes += wanted;
        m_context->bodyBytes += wanted;
        m_body.append(m_chunk.data(), wanted);
        if (m_context->bodyBytes > maxBodyBytes) {
            m_keepAlive = false;
            send(failureReply(503, "too many request bodies at once"));
            return;
        }
        readBody();
    }

    // Invalid HTTP and exceeded limits are answered with their status, and the connection is closed.
    void refuse(error_code error)
    {
        m_keepAlive = false;
        if (error == http::error::body_limit) {
            send(failureReply(413, "the body is too large"));
        } else if (error == http::error::header_limit || error == http::error::buffer_overflow) {
            send(failureReply(431, "the head is too large"));
        } else if (error == http::error::end_of_stream || error == http::error::partial_message ||
                   error.category() == boost::system::system_category() || error == net::error::eof) {
            end();
        } else {
            send(failureReply(400, "not a valid HTTP request"));
        }
    }

    void onRequest()
    {
        const auto& request = m_parser->get();
        m_keepAlive = request.keep_alive();
        m_http10 = request.version() < 11;
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
        m_socket.async_read_some(net::buffer(m_chunk), [self = shared()](error_code error, std::size_t) {
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
            startEventStream(std::move(m_socket), m_context, lastId);
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
        Response& response = m_response.emplace();
        response.version(11);
        response.result(static_cast<unsigned>(m_reply.status));
        if (!bodiless) {
            response.set(http::field::content_type,
                         beast::string_view(m_reply.contentType.data(), m_reply.contentType.size()));
            response.content_length(size);
        }
        if (!m_reply.allow.empty()) {
            response.set(http::field::allow, m_reply.allow);
        }
        if (!m_keepAlive) {
            response.set(http::field::connection, "close");
        } else if (m_http10) {
            response.set(http::field::connection, "keep-alive");
        }
        const std::size_t sent = headOnly || bodiless ? 0 : m_truncate ? size / 2 : size;
        if (sent > 0) {
            response.body() = {m_reply.body->data(), sent};
        }
        m_serializer.emplace(response);
        // A client that has the reply must find its request in the log.
        m_isControl = m_exchange && m_exchange->kind == Device::Exchange::Kind::Control;
        finishRequest(m_reply.status);
        http::async_write(m_socket, *m_serializer,
                          [self = shared()](error_code error, std::size_t) { self->onSent(error); });
    }

    void onSent(error_code error)
    {
        touch();
        m_isControl = false;
        m_reply = {};
        if (error || m_truncate) {
            end();
        } else if (m_keepAlive) {
            readHead();
        } else {
            // The client may still be sending; closing at once would destroy the reply in transit.
            error_code ignored;
            m_socket.shutdown(tcp::socket::shutdown_send, ignored);
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
        m_socket.async_read_some(net::buffer(m_chunk),
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
    Socket m_socket;
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
    std::optional<Response> m_response;
    std::optional<http::response_serializer<Response::body_type, Response::fields_type>> m_serializer;
    bool m_keepAlive = true;
    bool m_http10 = false;
    bool m_truncate = false;
};

} // namespace

void startHttpSession(Socket socket, std::shared_ptr<ServerContext> context)
{
    const auto registry = context->registry;
    const auto session = std::make_shared<HttpSession>(std::move(socket), std::move(context));
    if (registry->add(session)) {
        session->start();
    }
}

} // namespace Tessel::Simulator
