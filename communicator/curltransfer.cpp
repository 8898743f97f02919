// SPDX-License-Identifier: MIT
#include "communicator/curltransfer.h"

#include "communicator/curlstate.h"
#include "communicator/requesturl.h"
#include "communicator/transferlimits.h"

#include <QFile>

#include <algorithm>
#include <sys/socket.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

bool isControl(QChar character)
{
    return character.unicode() < 0x20 || character.unicode() == 0x7F;
}

bool hasControl(const QString& text)
{
    return std::any_of(text.cbegin(), text.cend(), isControl);
}

// RFC 9110, 5.6.2
bool isToken(const QString& text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](QChar character) {
        const ushort code = character.unicode();
        return code > 0x20 && code < 0x7F && !QStringLiteral("()<>@,;:\\\"/[]?={}").contains(character);
    });
}

// The transport frames the message itself; a second opinion on its length would break the connection's next
// exchange.
bool isFraming(const QString& name)
{
    return name.compare(QLatin1String("content-length"), Qt::CaseInsensitive) == 0 ||
           name.compare(QLatin1String("transfer-encoding"), Qt::CaseInsensitive) == 0;
}

// As libcurl does it, except that programs which the process starts do not inherit the connection.
curl_socket_t openSocket(void* /*self*/, curlsocktype /*purpose*/, curl_sockaddr* address)
{
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

} // namespace

void setTransportOptions(CURL* easy)
{
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(easy, CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_HTTP_VERSION, static_cast<long>(CURL_HTTP_VERSION_1_1));
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 0L);
    curl_easy_setopt(easy, CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(easy, CURLOPT_TCP_NODELAY, 1L);
    // Without it the end of a handle waits for a name lookup that still hangs.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
}

void setDeviceOptions(CURL* easy, const Device& device)
{
    using Login = DeviceEndpoint::Login;
    const DeviceEndpoint& endpoint = device.endpoint;
    switch (endpoint.login) {
    case Login::None:
        break;
    case Login::Basic:
    case Login::Digest:
        curl_easy_setopt(
            easy, CURLOPT_HTTPAUTH,
            static_cast<long>(endpoint.login == Login::Basic ? CURLAUTH_BASIC : CURLAUTH_DIGEST));
        curl_easy_setopt(easy, CURLOPT_USERNAME, endpoint.user.toUtf8().constData());
        curl_easy_setopt(easy, CURLOPT_PASSWORD, endpoint.secret.toUtf8().constData());
        break;
    case Login::Bearer:
        curl_easy_setopt(easy, CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BEARER));
        curl_easy_setopt(easy, CURLOPT_XOAUTH2_BEARER, endpoint.secret.toUtf8().constData());
        break;
    }
    if (!endpoint.caFile.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, QFile::encodeName(endpoint.caFile).constData());
    }
    if (!endpoint.pinnedKey.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_PINNEDPUBLICKEY, endpoint.pinnedKey.toLatin1().constData());
    }
    // A pinned key alone says which device is meant; its certificate is then commonly signed by the device
    // itself.
    const bool pinOnly = !endpoint.pinnedKey.isEmpty() && endpoint.caFile.isEmpty();
    if (!endpoint.verifyTls || pinOnly) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    }
}

QString faultOfRequest(const HttpRequest& request)
{
    if (request.path.isEmpty()) {
        return QStringLiteral("there is no path");
    }
    for (const QString& value : request.placeHolders) {
        if (hasControl(value)) {
            return QStringLiteral("a placeholder holds a control character");
        }
    }
    for (auto it = request.headers.cbegin(); it != request.headers.cend(); ++it) {
        if (it.key().size() > MaximumHeaderLength || it.value().size() > MaximumHeaderLength) {
            return QStringLiteral("a header's name or value is too long");
        }
        if (!isToken(it.key()) || isFraming(it.key()) || hasControl(it.value())) {
            return QStringLiteral("a header's name or value cannot be sent");
        }
    }
    return {};
}

CurlTransfer::CurlTransfer(const TransferLimits& limits)
    : m_easy(curl_easy_init())
    , m_reader(limits)
{}

CurlTransfer::~CurlTransfer()
{
    curl_easy_cleanup(m_easy);
    curl_slist_free_all(m_headerLines);
}

void CurlTransfer::bind(std::shared_ptr<const Device> device)
{
    curl_easy_reset(m_easy);
    m_device = std::move(device);
    m_url.clear();
    m_shape = Shape::None;
    curl_slist_free_all(m_headerLines);
    m_headerLines = nullptr;
    m_headersShape = Shape::None;
    m_tellsProgress = false;
    setTransportOptions(m_easy);
    setDeviceOptions(m_easy, *m_device);
    curl_easy_setopt(m_easy, CURLOPT_ERRORBUFFER, m_error.data());
    curl_easy_setopt(m_easy, CURLOPT_HEADERFUNCTION, &CurlTransfer::onHeader);
    curl_easy_setopt(m_easy, CURLOPT_HEADERDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_WRITEFUNCTION, &CurlTransfer::onBody);
    curl_easy_setopt(m_easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_PREREQFUNCTION, &CurlTransfer::onSend);
    curl_easy_setopt(m_easy, CURLOPT_PREREQDATA, this);
    curl_easy_setopt(m_easy, CURLOPT_XFERINFOFUNCTION, &CurlTransfer::onProgress); // while m_tellsProgress
    curl_easy_setopt(m_easy, CURLOPT_XFERINFODATA, this);
}

IHttpVersionTrigger::HttpSimpleState CurlTransfer::prepare(const HttpRequest& request,
                                                           std::shared_ptr<const Device> device,
                                                           std::chrono::milliseconds limit,
                                                           std::chrono::steady_clock::time_point started)
{
    m_request = &request;
    m_started = started;
    m_target.clear();
    m_error[0] = '\0';
    m_sent = false;
    m_resendRefused = false;
    m_sizes = {};
    m_reader.reset();
    m_fault = faultOfRequest(request);
    if (!m_fault.isEmpty()) {
        return IHttpVersionTrigger::InvalidRequest;
    }
    if (m_device != device) {
        bind(std::move(device));
    }
    const bool observed = isProgressObserved();
    if (observed != m_tellsProgress) {
        curl_easy_setopt(m_easy, CURLOPT_NOPROGRESS, observed ? 0L : 1L);
        m_tellsProgress = observed;
    }
    if (!request.downloadPath.isEmpty() && !m_reader.storeIn(request.downloadPath)) {
        m_fault = m_reader.reason();
        return IHttpVersionTrigger::FileFailure;
    }
    const auto bodyState = setBody();
    if (bodyState != IHttpVersionTrigger::Success) {
        return bodyState;
    }
    m_target = requestTarget(request.path, request.placeHolders, request.parameters);
    if (m_target.isEmpty()) {
        m_fault = QStringLiteral("the path and the query are too long together");
        return IHttpVersionTrigger::InvalidRequest;
    }
    const QByteArray url = m_device->baseUrl + m_target;
    if (url != m_url) {
        curl_easy_setopt(m_easy, CURLOPT_URL, url.constData());
        m_url = url;
    }
    // 0 would stand for no limit at all.
    curl_easy_setopt(m_easy, CURLOPT_TIMEOUT_MS, std::max<long>(1, static_cast<long>(limit.count())));
    return IHttpVersionTrigger::Success;
}

IHttpVersionTrigger::HttpSimpleState CurlTransfer::setBody()
{
    const bool carriesBody = m_request->method == HttpMethod::Put || m_request->method == HttpMethod::Post;
    if (m_request->multipart) {
        m_multipart.emplace(m_easy, m_request->parts);
        if (m_multipart->state() != IHttpVersionTrigger::Success) {
            m_fault = m_multipart->fault();
            return m_multipart->state();
        }
        setShape(Shape::Multipart);
        curl_easy_setopt(m_easy, CURLOPT_MIMEPOST, m_multipart->mime());
    } else if (carriesBody || !m_request->body.isEmpty()) {
        setShape(Shape::Body);
        curl_easy_setopt(m_easy, CURLOPT_POSTFIELDSIZE_LARGE,
                         static_cast<curl_off_t>(m_request->body.size()));
        curl_easy_setopt(m_easy, CURLOPT_POSTFIELDS, m_request->body.constData());
    } else {
        setShape(Shape::Plain);
    }
    setHeaders();
    return IHttpVersionTrigger::Success;
}

void CurlTransfer::setShape(Shape shape)
{
    if (shape == m_shape && m_request->method == m_method) {
        return;
    }
    m_shape = shape;
    m_method = m_request->method;
    if (shape == Shape::Plain) {
        curl_easy_setopt(m_easy, CURLOPT_HTTPGET, 1L);
    }
    curl_easy_setopt(m_easy, CURLOPT_CUSTOMREQUEST, verbOf(m_method));
}

void CurlTransfer::setHeaders()
{
    if (m_headersShape == m_shape && m_request->headers == m_headers) {
        return;
    }
    m_headers = m_request->headers;
    m_headersShape = m_shape;
    // Waiting for "100 Continue" stalls an upload by a second on servers that ignore it.
    curl_slist* lines = m_shape == Shape::Plain ? nullptr : curl_slist_append(nullptr, "Expect:");
    bool typed = false;
    for (auto it = m_headers.cbegin(); it != m_headers.cend(); ++it) {
        if (it.key().compare(QLatin1String("content-type"), Qt::CaseInsensitive) == 0) {
            typed = true;
            if (m_shape == Shape::Multipart) {
                continue; // its type names the boundary, which only the transport knows
            }
        }
        const QByteArray value = it->toUtf8();
        // libcurl's notation for a header without a value.
        const QByteArray line =
            it.key().toLatin1() + (value.trimmed().isEmpty() ? QByteArrayLiteral(";") : ": " + value);
        lines = curl_slist_append(lines, line.constData());
    }
    if (!typed && m_shape == Shape::Body) {
        lines = curl_slist_append(lines, "Content-Type:"); // libcurl would call it a web form
    }
    curl_easy_setopt(m_easy, CURLOPT_HTTPHEADER, lines);
    curl_slist_free_all(m_headerLines);
    m_headerLines = lines;
}

size_t CurlTransfer::onHeader(char* line, size_t size, size_t count, void* self)
{
    const size_t bytes = size * count;
    return static_cast<CurlTransfer*>(self)->m_reader.headerLine(line, static_cast<qint64>(bytes)) ? bytes
                                                                                                   : 0;
}

size_t CurlTransfer::onBody(char* bytes, size_t size, size_t count, void* self)
{
    const size_t taken = size * count;
    return static_cast<CurlTransfer*>(self)->m_reader.bodyBytes(bytes, static_cast<qint64>(taken)) ? taken
                                                                                                   : 0;
}

// libcurl calls this before each sending. The second one is either the answer to a login challenge, or the
// request once more because a reused connection ended without an answer: then the device may have acted on it
// already.
int CurlTransfer::onSend(void* self, char* /*remoteAddress*/, char* /*localAddress*/, int /*remotePort*/,
                         int /*localPort*/)
{
    auto* const transfer = static_cast<CurlTransfer*>(self);
    const bool answered = transfer->m_reader.takeFinalStatus();
    if (transfer->m_sent && !answered && transfer->m_request->method != HttpMethod::Get) {
        transfer->m_resendRefused = true;
        return CURL_PREREQFUNC_ABORT;
    }
    transfer->m_sent = true;
    return CURL_PREREQFUNC_OK;
}

// libcurl calls this many times a second, also when nothing moved, and knows no size as 0.
int CurlTransfer::onProgress(void* self, curl_off_t toReceive, curl_off_t received, curl_off_t toSend,
                             curl_off_t sent)
{
    auto* const transfer = static_cast<CurlTransfer*>(self);
    const TransferSizes sizes{sent, toSend > 0 ? toSend : -1, received, toReceive > 0 ? toReceive : -1};
    if (transfer->m_sent && !(sizes == transfer->m_sizes)) {
        transfer->m_sizes = sizes;
        reportProgress(*transfer->m_request, transfer->m_target, sizes);
    }
    return 0;
}

HttpReply CurlTransfer::finish(CURLcode code)
{
    const auto state = stateOfCurlCode(code);
    QString reason;
    if (m_resendRefused) {
        reason = QStringLiteral("the connection ended after the request was sent; it is not sent twice");
    } else if (state == IHttpVersionTrigger::TimedOut) {
        reason = timeOutReason(*m_request);
    } else if (code != CURLE_OK) {
        reason = m_error[0] != '\0' ? QString::fromUtf8(m_error.data())
                                    : QString::fromUtf8(curl_easy_strerror(code));
    }
    return finish(state, reason);
}

HttpReply CurlTransfer::finish(IHttpVersionTrigger::HttpSimpleState outcome, const QString& reason)
{
    ExchangeSummary summary;
    summary.bytesSent = m_sent ? m_request->body.size() : 0;
    if (m_multipart) {
        curl_off_t uploaded = 0;
        curl_easy_getinfo(m_easy, CURLINFO_SIZE_UPLOAD_T, &uploaded);
        summary.bytesSent = uploaded;
        curl_easy_setopt(m_easy, CURLOPT_MIMEPOST, nullptr);
        m_multipart.reset();
        m_shape = Shape::None;
    }
    HttpReply reply = m_reader.finish(outcome);
    summary.started = m_started;
    summary.target = m_target;
    summary.status = reply.status;
    summary.state = reply.state;
    summary.bytesReceived = m_reader.received();
    summary.reply = reply.body;
    summary.reason = m_reader.reason().isEmpty() ? reason : m_reader.reason();
    if (summary.reason.isEmpty()) {
        summary.reason = m_fault;
    }
    reportExchange(*m_request, summary);
    m_request = nullptr;
    return reply;
}

} // namespace Krelm::Communicator::HttpDevice
