// SPDX-License-Identifier: MIT
#include "communicator/http/connector.h"

#include "communicator/http/curlstate.h"
#include "communicator/http/refusal.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <sys/socket.h>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr int pollMilliseconds = 1000; // libcurl returns earlier for its own timers

// libcurl writes into it as long as the handle is there, of a TLS connection to its end.
using ErrorText = std::array<char, CURL_ERROR_SIZE>;

// Like libcurl's default, except that child processes do not inherit the connection.
curl_socket_t openSocket(void* /*self*/, curlsocktype /*purpose*/, curl_sockaddr* address)
{
    return ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
}

/// A handle that opens a connection to @p device and sends nothing.
CURL* newHandle(const Device& device, std::chrono::milliseconds limit, ErrorText& error)
{
    CURL* const easy = curl_easy_init();
    curl_easy_setopt(easy, CURLOPT_CONNECT_ONLY, 1L);
    curl_easy_setopt(easy, CURLOPT_URL, device.baseUrl.constData());
    curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy, CURLOPT_NOPROXY, "*");
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_SSL_ENABLE_ALPN, 0L);
    curl_easy_setopt(easy, CURLOPT_TCP_NODELAY, 1L);
    // Without this, destroying a handle waits for a name lookup that hangs.
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);
    // 0 would mean no limit.
    const long milliseconds = std::max<long>(1, static_cast<long>(limit.count()));
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS, milliseconds);
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, error.data());

    const DeviceEndpoint& endpoint = device.endpoint;
    if (!endpoint.caFile.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_CAINFO, QFile::encodeName(endpoint.caFile).constData());
    }
    if (!endpoint.pinnedKey.isEmpty()) {
        curl_easy_setopt(easy, CURLOPT_PINNEDPUBLICKEY, endpoint.pinnedKey.toLatin1().constData());
    }
    // A pinned key identifies the device by itself, and the certificate is then usually self-signed.
    const bool pinOnly = !endpoint.pinnedKey.isEmpty() && endpoint.caFile.isEmpty();
    if (!endpoint.verifyTls || pinOnly) {
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYPEER, 0L);
        curl_easy_setopt(easy, CURLOPT_SSL_VERIFYHOST, 0L);
    }
    return easy;
}

ConnectResult failure(CURLcode code, const ErrorText& error)
{
    ConnectResult result;
    result.state = stateOfCurlCode(code);
    result.error =
        error[0] != '\0' ? QString::fromUtf8(error.data()) : QString::fromUtf8(curl_easy_strerror(code));
    return result;
}

int socketOf(CURL* easy)
{
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(easy, CURLINFO_ACTIVESOCKET, &socket);
    return socket;
}

/// The connection that @p easy has opened. @p release destroys the handle, immediately if there is no TLS.
ConnectResult opened(const Device& device, CURL* easy, std::function<void()> release)
{
    ConnectResult result;
    const int socket = socketOf(easy);
    if (!device.isTls) {
        // The connection needs only the socket; keeping no more than that saves the memory of the handle.
        const int own = ::fcntl(socket, F_DUPFD_CLOEXEC, socket);
        release();
        if (own >= 0) {
            result.connection = std::make_unique<Connection>(own);
            return result;
        }
    } else {
        result.connection = std::make_unique<Connection>(easy, socket, std::move(release));
        // This also makes libcurl treat the connection as being in use from now on.
        char byte{};
        if (result.connection->receive(&byte, sizeof byte).status == Connection::Status::Waiting) {
            return result;
        }
        result.connection.reset();
    }
    result.state = IHttpVersionTrigger::Broken;
    result.error = QStringLiteral("the connection was lost right after it was opened");
    return result;
}

} // namespace

ConnectResult BlockingConnector::connect(const Device& device, std::chrono::milliseconds limit)
{
    const auto error = std::make_shared<ErrorText>();
    CURLM* const multi = newMulti();
    CURL* const easy = newHandle(device, limit, *error);
    const auto release = [multi, easy, error] {
        curl_multi_remove_handle(multi, easy);
        curl_easy_cleanup(easy);
        curl_multi_cleanup(multi);
    };
    curl_multi_add_handle(multi, easy);
    bool aborted{};
    const auto setMulti = [&](CURLM* connecting) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_multi = connecting;
        aborted = m_aborted;
    };
    setMulti(multi);
    int running{};
    while (!aborted) {
        curl_multi_perform(multi, &running);
        if (running == 0) {
            break;
        }
        curl_multi_poll(multi, nullptr, 0, pollMilliseconds, nullptr);
        setMulti(multi);
    }
    setMulti(nullptr);
    int queued{};
    const CURLMsg* const message = curl_multi_info_read(multi, &queued);
    if (aborted || message == nullptr) {
        release();
        ConnectResult result;
        result.state = IHttpVersionTrigger::Aborted;
        result.error = abortedError();
        return result;
    }
    if (message->data.result != CURLE_OK) {
        ConnectResult result = failure(message->data.result, *error);
        release();
        return result;
    }
    return opened(device, easy, release);
}

void BlockingConnector::abort()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_aborted = true;
    if (m_multi != nullptr) {
        curl_multi_wakeup(m_multi);
    }
}

struct Connector::Pending
{
    std::shared_ptr<const Device> device;
    std::shared_ptr<ErrorText> error = std::make_shared<ErrorText>();
    Done done;
};

// libcurl must never close a connection to make room, because those that it considers idle are in use by us.
Connector::Connector(IoLoop& loop)
    : m_multi(loop, 1L << 20)
{}

Connector::~Connector()
{
    while (!m_pending.empty()) {
        cancel(m_pending.begin()->first);
    }
}

Connector::Attempt Connector::connect(const std::shared_ptr<const Device>& device,
                                      std::chrono::milliseconds limit, Done done)
{
    auto pending = std::make_unique<Pending>();
    pending->device = device;
    pending->done = std::move(done);
    CURL* const easy = newHandle(*device, limit, *pending->error);
    m_pending.emplace(easy, std::move(pending));
    m_multi.add(easy, [this, easy](CURLcode code) { finished(easy, code); });
    return easy;
}

void Connector::cancel(Attempt attempt)
{
    // libcurl may write into the text of the error until the end.
    const auto pending = m_pending.extract(attempt);
    m_multi.remove(attempt);
    curl_easy_cleanup(attempt);
}

void Connector::finished(CURL* easy, CURLcode code)
{
    auto node = m_pending.extract(easy);
    const std::unique_ptr<Pending> pending = std::move(node.mapped());
    const auto release = [this, easy, error = pending->error] {
        m_multi.remove(easy);
        curl_easy_cleanup(easy);
    };
    if (code != CURLE_OK) {
        ConnectResult result = failure(code, *pending->error);
        release();
        pending->done(std::move(result));
        return;
    }
    pending->done(opened(*pending->device, easy, release));
}

} // namespace Krelm::Communicator::HttpDevice
