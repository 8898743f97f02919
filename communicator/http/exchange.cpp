// SPDX-License-Identifier: MIT
#include "communicator/http/exchange.h"

#include "communicator/exchangeobserver.h"
#include "communicator/http/headername.h"

#include "communicator/http/readrepeat.h"
#include "communicator/http/requesthead.h"
#include "communicator/http/requesturl.h"
#include "communicator/http/retryafter.h"

#include <algorithm>
#include <new>

namespace Krelm::Communicator::HttpDevice {

namespace {

// How much one exchange may send before the others, and its time limit, get their turn.
constexpr std::size_t bytesPerTurn = 256 << 10;

// Whether the head of @p request depends on its path and on @p device only.
bool isPlainRead(const HttpRequest& request, const Device& device)
{
    return request.method == HttpMethod::Get && request.placeHolders.isEmpty() &&
           request.parameters.isEmpty() && request.headers.isEmpty() && request.body.isEmpty() &&
           !request.multipart && device.endpoint.login == DeviceEndpoint::Login::None;
}

} // namespace

QString errorOfRequest(const HttpRequest& request)
{
    if (request.path.isEmpty()) {
        return QStringLiteral("the request has no path");
    }
    for (const QString& value : request.placeHolders) {
        if (hasAsciiControl(value)) {
            return QStringLiteral("a placeholder contains a control character");
        }
    }
    return errorOfHeaders(request.headers);
}

Exchange::Exchange(const TransferLimits& limits)
    : m_reader(limits)
{}

IHttpVersionTrigger::HttpSimpleState Exchange::prepare(const HttpRequest& request,
                                                       const std::shared_ptr<const Device>& device,
                                                       std::chrono::steady_clock::time_point started)
{
    m_request = &request;
    m_device = device;
    m_started = started;
    m_target.clear();
    m_head.clear();
    m_headSent = 0;
    m_sendFailed = false;
    const auto connectionHeader = findHeader(request.headers, QLatin1String("connection"));
    m_asksToClose = connectionHeader != request.headers.cend() &&
                    connectionHeader->contains(QLatin1String("close"), Qt::CaseInsensitive);
    m_challenges = 0;
    m_hasNewLogin = false;
    m_wasRepeated = false;
    m_bytesSent = 0;
    m_lastProgress = {};
    m_reader.reset();
    m_error = errorOfRequest(request);
    if (!m_error.isEmpty()) {
        return IHttpVersionTrigger::InvalidRequest;
    }
    if (!request.downloadPath.isEmpty() && !m_reader.storeIn(request.downloadPath)) {
        return IHttpVersionTrigger::FileFailure;
    }
    if (request.multipart) {
        const auto state = m_body.setForm(request.parts);
        if (state != IHttpVersionTrigger::Success) {
            m_error = m_body.error();
            return state;
        }
    } else {
        m_body.setBytes(request.body);
    }
    const bool isPlain = isPlainRead(request, *device);
    if (isPlain && m_plainRead.device == device && m_plainRead.path == request.path) {
        m_target = m_plainRead.target;
        m_head = m_plainRead.head;
        m_authorization.clear();
        return IHttpVersionTrigger::Success;
    }
    m_target = requestTarget(request.path, request.placeHolders, request.parameters);
    if (m_target.isEmpty()) {
        m_error = QStringLiteral("path and query together are too long");
        return IHttpVersionTrigger::InvalidRequest;
    }
    writeHead();
    if (isPlain) {
        m_plainRead = {device, request.path, m_target, m_head};
    }
    return IHttpVersionTrigger::Success;
}

void Exchange::writeHead()
{
    const bool carriesBody = m_request->method == HttpMethod::Put || m_request->method == HttpMethod::Post;
    RequestHead head;
    head.method = verbOf(m_request->method);
    head.target = m_target;
    head.headers = m_request->headers;
    head.contentType = m_body.contentType();
    head.contentLength = carriesBody || m_body.size() > 0 ? m_body.size() : -1;
    m_head = HttpDevice::writeHead(head, *m_device, m_authorization);
}

// A caller's header may ask the device to close the connection, which it may then do at any moment.
bool Exchange::keepsConnection() const
{
    return isSent() && m_reader.keepsConnection() && !m_asksToClose;
}

void Exchange::startAnew()
{
    m_bytesSent += m_body.sent();
    m_body.rewind();
    m_headSent = 0;
    m_sendFailed = false;
    m_reader.restart();
}

Exchange::Step Exchange::send(Connection& connection)
{
    for (std::size_t sent = 0; !mayReceive() && sent < bytesPerTurn;) {
        const Bytes head{m_head.constData() + m_headSent,
                         static_cast<std::size_t>(m_head.size() - m_headSent)};
        Bytes body = m_body.next();
        body.size = std::min(body.size, bytesPerTurn);
        if (m_body.hasFailed()) {
            m_error = m_body.error();
            return Step::Ended;
        }
        const bool more = m_body.sent() + static_cast<qint64>(body.size) < m_body.size();
        const Connection::Result result = connection.send(head, body, more);
        if (result.status == Connection::Status::Waiting) {
            return Step::GoOn;
        }
        if (result.status != Connection::Status::Moved) {
            if (m_headSent == 0 && !m_wasRepeated) {
                m_wasRepeated =
                    true; // nothing of it was sent, so it may be sent elsewhere, whatever its effect
                return Step::AgainFresh;
            }
            m_sendFailed = true; // the device may have replied before it closed the connection
            m_sendError = result.error;
        }
        const std::size_t ofHead = std::min(result.bytes, head.size);
        m_headSent += static_cast<int>(ofHead);
        m_body.consume(result.bytes - ofHead);
        sent += result.bytes;
        tellProgress();
    }
    return Step::GoOn;
}

Exchange::Step Exchange::received(const Connection::Result& result, const char* bytes, bool isReused)
{
    if (result.status == Connection::Status::Waiting) {
        if (!m_sendFailed) {
            return Step::GoOn;
        }
        // The connection lives, but the device would wait for the rest of the request.
        m_error = QStringLiteral("the request cannot be sent");
        if (m_sendError != 0) {
            m_error += QStringLiteral(": ") + qt_error_string(m_sendError);
        }
        return Step::Ended;
    }
    if (result.status == Connection::Status::Moved) {
        const ResponseParser::State state = m_reader.feed(bytes, result.bytes);
        tellProgress();
        if (state == ResponseParser::State::Reading) {
            return Step::GoOn;
        }
        return state == ResponseParser::State::Complete ? completed() : Step::Ended;
    }
    if (!m_reader.hasBegun()) {
        return lost(isReused);
    }
    // A connection reset may have discarded the end of the reply.
    if (result.status == Connection::Status::Closed && m_reader.end() == ResponseParser::State::Complete) {
        return completed();
    }
    return Step::Ended;
}

// The connection ended without a byte of a reply. If it was reused, the device may have closed it just as the
// request was sent. Repeating a read is harmless, but a write may have been carried out.
Exchange::Step Exchange::lost(bool isReused)
{
    if (isReused && !m_wasRepeated && m_request->method == HttpMethod::Get) {
        m_wasRepeated = true;
        startAnew();
        return Step::AgainFresh;
    }
    if (isReused && m_request->method != HttpMethod::Get) {
        m_error =
            QStringLiteral("the connection ended after the request was sent; the request is not repeated");
    }
    return Step::Ended;
}

Exchange::Step Exchange::completed()
{
    const std::shared_ptr<TokenLogin>& token = m_device->token;
    if (token && !m_authorization.isEmpty()) {
        if (m_reader.status() != 401) {
            token->accepted(m_authorization);
        } else if (!m_hasNewLogin && !m_request->renewsLogin && !TokenLogin::isRenewingHere(m_device->key)) {
            return Step::AwaitLogin;
        }
    }
    if (m_reader.status() != 401 ||
        !takeChallenge(*m_device, m_reader.status(), m_reader.header(QStringLiteral("www-authenticate")),
                       m_authorization, m_challenges)) {
        return Step::Ended;
    }
    return again();
}

Exchange::Step Exchange::awaitLogin(TokenLogin::Ticket& ticket, TokenLogin::Waiter waiter)
{
    switch (m_device->token->refused(m_authorization, ticket, std::move(waiter))) {
    case TokenLogin::Verdict::Waiting:
        return Step::AwaitLogin;
    case TokenLogin::Verdict::Renewed:
        return repeatWithNewLogin();
    case TokenLogin::Verdict::Refused:
        break;
    }
    return Step::Ended;
}

Exchange::Step Exchange::repeatWithNewLogin()
{
    m_hasNewLogin = true;
    return again();
}

// The reply says that the device has done nothing; the request follows once more, with another login.
Exchange::Step Exchange::again()
{
    const bool here = keepsConnection();
    startAnew();
    writeHead();
    return here ? Step::AgainHere : Step::AgainFresh;
}

void Exchange::tellProgress()
{
    if (!isProgressObserved()) {
        return;
    }
    const TransferSizes sizes{m_body.sent(), m_body.size() > 0 ? m_body.size() : -1, m_reader.received(),
                              m_reader.expected()};
    if (!(sizes == m_lastProgress)) {
        m_lastProgress = sizes;
        reportProgress(*m_request, m_target, sizes);
    }
}

void Exchange::report(const HttpReply& reply)
{
    ExchangeSummary summary;
    summary.started = m_started;
    summary.target = m_target;
    summary.status = reply.status;
    summary.state = reply.state;
    summary.bytesSent = m_bytesSent + m_body.sent();
    summary.bytesReceived = m_reader.received();
    summary.reply = reply.body;
    summary.error = reply.reason;
    if (const auto wait = retryAfterOf(reply)) {
        summary.retryAfter = wait->count();
    }
    m_repeatAfter = HttpDevice::repeatAfter(*m_request, reply, m_started);
    summary.isRepeated = m_repeatAfter.has_value();
    reportExchange(*m_request, summary);
}

HttpReply Exchange::finish(IHttpVersionTrigger::HttpSimpleState outcome, const QString& error)
{
    if (m_body.hasFailed()) {
        outcome = IHttpVersionTrigger::FileFailure;
    }
    HttpReply reply = m_reader.finish(outcome);
    if (reply.status != 0 && m_device) {
        m_device->lastAnswer = std::chrono::steady_clock::now();
    }
    if (reply.state != IHttpVersionTrigger::Success) {
        reply.reason = !m_error.isEmpty() ? m_error : m_reader.error().isEmpty() ? error : m_reader.error();
    }
    m_repeatAfter.reset();
    try {
        report(reply);
    } catch (const std::bad_alloc&) { // the reply is there, and a file may have been replaced
    }
    m_body.clear();
    m_request = nullptr;
    m_device.reset();
    return reply;
}

} // namespace Krelm::Communicator::HttpDevice
