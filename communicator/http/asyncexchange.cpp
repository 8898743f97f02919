// SPDX-License-Identifier: MIT
#include "communicator/http/asyncexchange.h"

#include <array>
#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

// How much one connection may deliver before the others get their turn; chunks of one byte make much work of
// it.
constexpr size_t bytesPerTurn = 16 << 10;
static_assert(bytesPerTurn >= largestTlsRecord, "a turn must read all that TLS may have buffered");

} // namespace

AsyncExchange::AsyncExchange(IoLoop& loop, Connector& connector, const TransferLimits& limits)
    : m_loop(loop)
    , m_connector(connector)
    , m_exchange(limits)
{}

AsyncExchange::~AsyncExchange() = default;

void AsyncExchange::start(const HttpRequest& request, const std::shared_ptr<const Device>& device,
                          std::unique_ptr<Connection> kept, std::chrono::steady_clock::time_point started,
                          std::chrono::steady_clock::time_point deadline, Finished finished)
{
    m_deadline = deadline;
    m_finished = std::move(finished);
    const auto prepared = m_exchange.prepare(request, device, started);
    if (prepared != IHttpVersionTrigger::Success) {
        end(prepared, {});
    } else if (kept && kept->isQuiet()) {
        use(std::move(kept), true);
    } else {
        kept.reset();
        connect();
    }
}

void AsyncExchange::connect()
{
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(m_deadline - std::chrono::steady_clock::now());
    m_attempt = m_connector.connect(m_exchange.device(), left, [this](ConnectResult opened) {
        m_attempt = nullptr;
        if (opened.connection) {
            use(std::move(opened.connection), false);
        } else {
            end(opened.state, opened.error);
        }
    });
}

void AsyncExchange::use(std::unique_ptr<Connection> connection, bool isReused)
{
    m_connection = std::move(connection);
    m_isReused = isReused;
    ready(IoLoop::Writable);
}

void AsyncExchange::ready(std::uint32_t events)
{
    Exchange::Step step = Exchange::Step::GoOn;
    if ((events & IoLoop::Writable) != 0) {
        step = m_exchange.send(*m_connection);
    }
    const bool mayHaveReply = (events & IoLoop::Readable) != 0 || m_exchange.hasSendFailed();
    if (step == Exchange::Step::GoOn && mayHaveReply) {
        std::array<char, bytesPerTurn> buffer;
        const Connection::Result result = m_connection->receive(buffer.data(), buffer.size());
        step = m_exchange.received(result, buffer.data(), m_isReused);
    }
    go(step);
}

void AsyncExchange::go(Exchange::Step step)
{
    switch (step) {
    case Exchange::Step::GoOn:
        watch();
        break;
    case Exchange::Step::AgainHere:
        use(std::move(m_connection), true);
        break;
    case Exchange::Step::AgainFresh:
        m_connection.reset();
        connect();
        break;
    case Exchange::Step::AwaitLogin:
        awaitLogin();
        break;
    case Exchange::Step::Ended:
        end(IHttpVersionTrigger::Success, {});
        break;
    }
}

void AsyncExchange::awaitLogin()
{
    m_connection->unwatch();
    auto login = std::make_shared<TokenLogin::Ticket>();
    const auto waiter = [this, &loop = m_loop, awaited = std::weak_ptr(login)](bool renewed) {
        loop.post([this, awaited, renewed] {
            if (awaited.expired()) {
                return;
            }
            m_login.reset();
            Exchange::Step step = renewed ? m_exchange.repeatWithNewLogin() : Exchange::Step::Ended;
            if (step == Exchange::Step::AgainHere && !m_connection->isQuiet()) {
                step = Exchange::Step::AgainFresh;
            }
            go(step);
        });
    };
    const Exchange::Step step = m_exchange.awaitLogin(*login, waiter);
    if (step == Exchange::Step::AwaitLogin) {
        m_login = std::move(login);
    } else {
        go(step);
    }
}

void AsyncExchange::watch()
{
    const std::uint32_t wanted =
        m_exchange.mayReceive() ? IoLoop::Readable : IoLoop::Readable | IoLoop::Writable;
    m_connection->watch(m_loop, wanted, [this](std::uint32_t events) { ready(events); });
}

void AsyncExchange::end(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error)
{
    const Finished finished = std::move(m_finished);
    const HttpReply reply = breakOff(outcome, error);
    finished(reply);
}

HttpReply AsyncExchange::breakOff(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error)
{
    if (m_attempt != nullptr) {
        m_connector.cancel(m_attempt);
        m_attempt = nullptr;
    }
    if (std::exchange(m_login, nullptr) && outcome == IHttpVersionTrigger::TimedOut) {
        outcome = IHttpVersionTrigger::Success; // the refusal is a whole reply
    }
    if (outcome == IHttpVersionTrigger::Success && m_connection && m_exchange.keepsConnection()) {
        m_connection->unwatch();
    } else {
        m_connection.reset();
    }
    m_finished = nullptr;
    return m_exchange.finish(outcome, error);
}

} // namespace Krelm::Communicator::HttpDevice
