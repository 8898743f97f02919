// SPDX-License-Identifier: MIT
//
// What a controller in software takes from a connection. The first byte chooses how it is cut, the second
// which options the controller has; the rest is what a client sends. Client and controller share one thread.
#include "simulator/http/httpsession.h"

#include "fuzzing.h"

#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>

#include <array>
#include <string>

using namespace Tessel::Simulator;
namespace http = boost::beast::http;
using boost::system::error_code;
using namespace std::chrono_literals;

namespace {

Options options(bool control, Login login)
{
    Options options;
    options.control = control;
    options.cabinets = 2;
    options.screens = 1;
    options.headerLimit = 2048;
    options.bodyLimit = 4096;
    options.requestLog = 4;
    options.eventHistory = 8;
    options.login = login;
    options.user = QStringLiteral("u");
    options.secret = QStringLiteral("s");
    return options;
}

/// One that listens, and serves one connection at a time.
class Controller
{
public:
    Controller(bool control, Login login)
        : m_device(options(control, login))
        , m_acceptor(m_io, tcp::endpoint(net::ip::address_v4::loopback(), 0))
    {}

    /// What it answers to @p text, which comes in pieces.
    std::string answer(const QByteArray& text, unsigned seed)
    {
        m_device.reset();
        m_context = std::make_shared<ServerContext>(m_device, nullptr);
        tcp::socket client(m_io);
        Socket served(net::make_strand(m_io));
        int ends = 0;
        const auto isThere = [&](error_code error) {
            FUZZ_EXPECT(!error);
            ++ends;
        };
        client.async_connect(m_acceptor.local_endpoint(), isThere);
        m_acceptor.async_accept(served, isThere);
        m_io.restart();
        while (ends < 2) {
            m_io.run_one();
        }
        startHttpSession(std::move(served), m_context);

        std::string answer;
        bool hasEnded = false;
        std::array<char, 4096> buffer{};
        std::function<void()> receive = [&] {
            client.async_read_some(net::buffer(buffer), [&](error_code error, std::size_t size) {
                answer.append(buffer.data(), size);
                hasEnded = bool(error);
                if (!hasEnded) {
                    receive();
                }
            });
        };
        receive();
        error_code ignored;
        Fuzzing::inPieces(text, seed, [&](const char* bytes, std::size_t size) {
            std::size_t sent = 0;
            error_code error;
            while (sent < size && (!error || error == net::error::interrupted)) { // by the fuzzer's own clock
                sent += client.write_some(net::buffer(bytes + sent, size - sent), error);
            }
            m_io.restart();
            m_io.poll();
            return sent == size && !hasEnded;
        });
        client.shutdown(tcp::socket::shutdown_send, ignored);
        m_io.restart();
        // It answers what has come and closes; what waits for something else is closed by the device.
        while (!hasEnded && m_io.run_one_for(isScripted() ? 0s : 5s) > 0) {
        }
        // Only an event stream and what a script holds back are still open.
        closeAll();
        m_io.restart();
        while (!hasEnded && m_io.run_one_for(5s) > 0) {
        }
        FUZZ_EXPECT(hasEnded);
        m_io.restart();
        m_io.poll();
        // Nothing of it is left.
        FUZZ_EXPECT(m_context.use_count() == 1);
        FUZZ_EXPECT(m_context->bodyBytes == 0);
        FUZZ_EXPECT(m_device.requests().counts().inFlight == 0);
        FUZZ_EXPECT(m_device.events().streams() == 0);
        m_context->registry->closeAndWait();
        return answer;
    }

private:
    bool isScripted() { return !m_device.faults().waiting().empty() || m_device.loggedOut(); }
    void closeAll()
    {
        m_context->registry->forEach([](Connection& connection) { connection.close(); });
    }

    net::io_context m_io{1};
    Device m_device;
    net::basic_socket_acceptor<tcp> m_acceptor;
    std::shared_ptr<ServerContext> m_context;
};

// A second may pass between two answers.
std::string withoutDates(std::string text)
{
    constexpr std::string_view date = "\r\nDate: ";
    for (auto at = text.find(date); at != std::string::npos; at = text.find(date, at)) {
        text.erase(at, text.find("\r\n", at + date.size()) - at);
    }
    return text;
}

// Whole replies, each as its head says, to the end.
void expectReplies(std::string_view text)
{
    while (!text.empty()) {
        FUZZ_EXPECT(text.substr(0, 9) == "HTTP/1.1 ");
        if (text.find("\r\nContent-Type: text/event-stream\r\n") < text.find("\r\n\r\n")) {
            return; // it ends with the connection
        }
        http::response_parser<http::string_body> parser;
        parser.eager(true);
        error_code error;
        const std::size_t used = parser.put(net::const_buffer(text.data(), text.size()), error);
        FUZZ_EXPECT(!error && parser.is_header_done());
        const auto status = parser.get().result_int();
        FUZZ_EXPECT(parser.is_done() || status == 100 || status == 204);
        text.remove_prefix(status == 204 || status == 100 ? text.find("\r\n\r\n") + 4 : used);
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    static Controller plain(false, Login::None);
    static Controller locked(false, Login::Basic);
    static Controller scripted(true, Login::None);

    Fuzzing::Input input(bytes, size);
    const unsigned seed = input.byte();
    const unsigned kind = input.byte() % 3;
    const QByteArray text = input.rest();
    if (text.size() > 16384) {
        return 0;
    }
    if (kind == 2) {
        scripted.answer(text, seed);
        return 0;
    }
    Controller& controller = kind == 0 ? plain : locked;
    const std::string whole = controller.answer(text, 0);
    // A reply to HEAD has the length of the body that it does not have, and ids of events have a new epoch.
    if (!text.contains("HEAD")) {
        expectReplies(whole);
    }
    const bool mayDiffer = whole.find("text/event-stream") != std::string::npos;
    FUZZ_EXPECT(mayDiffer || withoutDates(whole) == withoutDates(controller.answer(text, seed)));
    return 0;
}
