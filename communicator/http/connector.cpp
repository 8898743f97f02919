// SPDX-License-Identifier: MIT
#include "communicator/http/connector.h"

#include "communicator/http/curlstate.h"
#include "communicator/http/refusal.h"

#include <QFile>

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <optional>
#include <sys/socket.h>
#include <utility>

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

ConnectResult failure(CURLcode code, const ErrorText& error)
{
    ConnectResult result;
    result.state = stateOfCurlCode(code);
    result.error =
        error[0] != '\0' ? QString::fromUtf8(error.data()) : QString::fromUtf8(curl_easy_strerror(code));
    return result;
}

// Of handles and options, which fail only for want of memory or with a libcurl that lacks something.
ConnectResult failedSetup(CURLcode code)
{
    ConnectResult result;
    result.state = IHttpVersionTrigger::Broken;
    result.error =
        QStringLiteral("libcurl cannot open a connection: ") + QString::fromUtf8(curl_easy_strerror(code));
    return result;
}

/// A handle that opens a connection to @p device and sends nothing; null, with @p code, if libcurl refuses
/// any of it: a device must not be trusted because what to trust could not be said.
CURL* newHandle(const Device& device, std::chrono::milliseconds limit, ErrorText& error, CURLcode& code)
{
    CURL* const easy = curl_easy_init();
    code = easy != nullptr ? CURLE_OK : CURLE_OUT_OF_MEMORY;
    const auto set = [easy, &code](CURLoption option, auto value) {
        if (code == CURLE_OK) {
            code = curl_easy_setopt(easy, option, value);
        }
    };
    set(CURLOPT_CONNECT_ONLY, 1L);
    set(CURLOPT_URL, device.baseUrl.constData());
    set(CURLOPT_OPENSOCKETFUNCTION, &openSocket);
    set(CURLOPT_NOSIGNAL, 1L);
    set(CURLOPT_NOPROXY, "*");
    set(CURLOPT_PROTOCOLS_STR, "http,https");
    set(CURLOPT_SSL_ENABLE_ALPN, 0L);
    set(CURLOPT_TCP_NODELAY, 1L);
    // Without this, destroying a handle waits for a name lookup that hangs.
    set(CURLOPT_QUICK_EXIT, 1L);
    // 0 would mean no limit.
    set(CURLOPT_CONNECTTIMEOUT_MS, std::max<long>(1, static_cast<long>(limit.count())));
    set(CURLOPT_ERRORBUFFER, error.data());

    const DeviceEndpoint& endpoint = device.endpoint;
    if (!endpoint.caFile.isEmpty()) {
        set(CURLOPT_CAINFO, QFile::encodeName(endpoint.caFile).constData());
    }
    if (!endpoint.pinnedKey.isEmpty()) {
        set(CURLOPT_PINNEDPUBLICKEY, endpoint.pinnedKey.toLatin1().constData());
    }
    // A pinned key identifies the device by itself, and the certificate is then usually self-signed.
    const bool pinOnly = !endpoint.pinnedKey.isEmpty() && endpoint.caFile.isEmpty();
    if (!endpoint.verifyTls || pinOnly) {
        set(CURLOPT_SSL_VERIFYPEER, 0L);
        set(CURLOPT_SSL_VERIFYHOST, 0L);
    }
    if (code == CURLE_OK) {
        return easy;
    }
    curl_easy_cleanup(easy);
    return nullptr;
}

int socketOf(CURL* easy)
{
    curl_socket_t socket = CURL_SOCKET_BAD;
    curl_easy_getinfo(easy, CURLINFO_ACTIVESOCKET, &socket);
    return socket;
}

/// The connection that @p easy has opened. @p owner keeps the handle, which goes at once if there is no TLS.
ConnectResult opened(const Device& device, CURL* easy, std::shared_ptr<void> owner)
{
    ConnectResult result;
    const int socket = socketOf(easy);
    if (!device.isTls) {
        // The connection needs only the socket; keeping no more than that saves the memory of the handle.
        result.connection = std::make_unique<Connection>(Connection::CopyOf{socket});
        if (result.connection->socket() >= 0) {
            return result;
        }
        result.connection.reset();
    } else if (socket != CURL_SOCKET_BAD) {
        result.connection = std::make_unique<Connection>(easy, socket, std::move(owner));
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
    struct Handles
    {
        ~Handles()
        {
            curl_multi_remove_handle(multi, easy);
            curl_easy_cleanup(easy);
            curl_multi_cleanup(multi);
        }
        ErrorText error{};
        CURL* easy = nullptr;
        CURLM* multi = nullptr;
    };
    const auto handles = std::make_shared<Handles>();
    CURLcode code{};
    CURL* const easy = handles->easy = newHandle(device, limit, handles->error, code);
    if (easy == nullptr) {
        return failedSetup(code);
    }
    CURLM* const multi = handles->multi = newMulti();
    CURLMcode failed = curl_multi_add_handle(multi, easy);
    bool aborted{};
    const auto setMulti = [&](CURLM* connecting) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_multi = connecting;
        aborted = m_aborted;
    };
    setMulti(multi);
    int running{};
    while (!aborted && failed == CURLM_OK) {
        failed = curl_multi_perform(multi, &running);
        if (failed != CURLM_OK || running == 0) {
            break;
        }
        failed = curl_multi_poll(multi, nullptr, 0, pollMilliseconds, nullptr);
        setMulti(multi);
    }
    setMulti(nullptr);
    int queued{};
    const CURLMsg* const message = curl_multi_info_read(multi, &queued);
    if (!aborted && message == nullptr) {
        return failedSetup(CURLE_OUT_OF_MEMORY);
    }
    if (aborted) {
        ConnectResult result;
        result.state = IHttpVersionTrigger::Aborted;
        result.error = abortedError();
        return result;
    }
    if (message->data.result != CURLE_OK) {
        return failure(message->data.result, handles->error);
    }
    return opened(device, easy, handles);
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
    std::shared_ptr<Transfer> transfer;
    std::shared_ptr<const Device> device;
    Done done;
    std::optional<IoLoop::TimerId> failing; ///< if libcurl refused to begin
};

// What libcurl works on. A TLS connection keeps it to its end.
struct Connector::Transfer
{
    explicit Transfer(CurlMulti& itsMulti)
        : multi(itsMulti)
    {}
    ~Transfer()
    {
        if (easy != nullptr) {
            multi.remove(easy);
            curl_easy_cleanup(easy); // may write into the text of the error
        }
    }

    CurlMulti& multi;
    CURL* easy = nullptr;
    ErrorText error{};
    Q_DISABLE_COPY_MOVE(Transfer)
};

// libcurl must never close a connection to make room, because those that it considers idle are in use by us.
Connector::Connector(IoLoop& loop)
    : m_loop(loop)
    , m_multi(loop, 1L << 20)
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
    auto owned = std::make_unique<Pending>();
    const Attempt attempt = owned.get();
    attempt->transfer = std::make_shared<Transfer>(m_multi);
    attempt->device = device;
    attempt->done = std::move(done);
    Transfer& transfer = *attempt->transfer;
    CURLcode code{};
    transfer.easy = newHandle(*device, limit, transfer.error, code);
    if (transfer.easy != nullptr &&
        !m_multi.add(transfer.easy, [this, attempt](CURLcode result) { finished(attempt, result); })) {
        code = CURLE_OUT_OF_MEMORY;
    }
    m_pending.emplace(attempt, std::move(owned));
    if (code != CURLE_OK) {
        attempt->failing = m_loop.startTimer(IoLoop::Clock::now(), [this, attempt, code] {
            const std::unique_ptr<Pending> failed = std::move(m_pending.extract(attempt).mapped());
            failed->done(failedSetup(code));
        });
    }
    return attempt;
}

void Connector::cancel(Attempt attempt)
{
    const auto pending = m_pending.extract(attempt);
    if (attempt->failing) {
        m_loop.stopTimer(*attempt->failing);
    }
}

void Connector::finished(Attempt attempt, CURLcode code)
{
    auto node = m_pending.extract(attempt);
    const std::unique_ptr<Pending> pending = std::move(node.mapped());
    CURL* const easy = pending->transfer->easy;
    ConnectResult result = code == CURLE_OK ? opened(*pending->device, easy, std::move(pending->transfer))
                                            : failure(code, pending->transfer->error);
    pending->transfer.reset(); // the receiver may destroy this
    pending->done(std::move(result));
}

} // namespace Krelm::Communicator::HttpDevice
