// SPDX-License-Identifier: MIT
#include "communicator/http/curlmulti.h"

#include <fcntl.h>
#include <linux/sockios.h>
#include <mutex>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

// How far above the lowest free descriptor to search for the two of a new handle.
constexpr int descriptorsLookedAt = 64;

// When to have libcurl look again after a look that failed.
constexpr std::chrono::milliseconds retryInterval{100};
constexpr int maxFailedActs = 3;

/// Whether a local socket that child processes inherit holds bytes: bytes to read (FIONREAD) or bytes that
/// its peer has not read (SIOCOUTQ). Nothing for any other descriptor and for none.
std::optional<bool> holdsBytes(int descriptor, unsigned long request)
{
    int domain = 0;
    socklen_t size = sizeof domain;
    int bytes = 0;
    if (::getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) != 0 || domain != AF_UNIX ||
        (::fcntl(descriptor, F_GETFD) & FD_CLOEXEC) != 0 || ::ioctl(descriptor, request, &bytes) != 0) {
        return std::nullopt;
    }
    return bytes > 0;
}

} // namespace

// libcurl does not tell which socket pair wakes a handle up. A wake-up reveals it: a byte waits in the pair,
// until the handle has processed the wake-up.
CURLM* newMulti()
{
    static std::mutex oneAtATime; // guards the search, so that no other new handle is woken up meanwhile
    const std::lock_guard<std::mutex> lock(oneAtATime);
    const int lowest = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    ::close(lowest);
    CURLM* const multi = curl_multi_init();
    if (curl_multi_wakeup(multi) != CURLM_OK) {
        return multi;
    }
    int reader = -1;
    int writer = -1;
    for (int i = lowest; i < lowest + descriptorsLookedAt && (reader == -1 || writer == -1); ++i) {
        if (reader == -1 && holdsBytes(i, FIONREAD) == true) {
            reader = i;
        } else if (writer == -1 && holdsBytes(i, SIOCOUTQ) == true) {
            writer = i;
        }
    }
    curl_multi_poll(multi, nullptr, 0, 0, nullptr);
    if (holdsBytes(reader, FIONREAD) == false && holdsBytes(writer, SIOCOUTQ) == false) {
        ::fcntl(reader, F_SETFD, FD_CLOEXEC);
        ::fcntl(writer, F_SETFD, FD_CLOEXEC);
    }
    return multi;
}

CurlMulti::CurlMulti(IoLoop& loop, long keptConnections)
    : m_loop(loop)
    , m_keptConnections(keptConnections)
{
    open();
}

void CurlMulti::open()
{
    CURLM* const multi = newMulti();
    CURLMcode code = multi != nullptr ? CURLM_OK : CURLM_OUT_OF_MEMORY;
    const auto set = [multi, &code](CURLMoption option, auto value) {
        if (code == CURLM_OK) {
            code = curl_multi_setopt(multi, option, value);
        }
    };
    // The default is four per running transfer, which would cause a reconnect at every access when many
    // devices are accessed in turn.
    set(CURLMOPT_MAXCONNECTS, m_keptConnections);
    set(CURLMOPT_SOCKETFUNCTION, &CurlMulti::onSocket);
    set(CURLMOPT_SOCKETDATA, this);
    set(CURLMOPT_TIMERFUNCTION, &CurlMulti::onTimer);
    set(CURLMOPT_TIMERDATA, this);
    if (code == CURLM_OK) {
        m_multi = multi;
    } else {
        curl_multi_cleanup(multi);
    }
}

CurlMulti::~CurlMulti()
{
    curl_multi_cleanup(m_multi);
    if (m_timer) { // of a look that failed; libcurl has none without a transfer
        m_loop.stopTimer(*m_timer);
    }
}

bool CurlMulti::add(CURL* easy, Finished finished)
{
    if (m_multi == nullptr) {
        open(); // what was missing may be there now
    }
    m_transfers[easy] = std::move(finished);
    if (curl_multi_add_handle(m_multi, easy) == CURLM_OK) {
        return true;
    }
    m_transfers.erase(easy);
    return false;
}

void CurlMulti::remove(CURL* easy)
{
    m_transfers.erase(easy);
    curl_multi_remove_handle(m_multi, easy);
}

int CurlMulti::onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* /*socketData*/)
{
    auto* const multi = static_cast<CurlMulti*>(self);
    if (what == CURL_POLL_REMOVE) {
        // libcurl may have closed it just now, when it has given up an address.
        multi->m_loop.unwatch(socket);
        multi->m_withoutSocket.push_back(easy);
        return 0;
    }
    const std::uint32_t in = (what & CURL_POLL_IN) != 0 ? IoLoop::Readable : 0U;
    const std::uint32_t out = (what & CURL_POLL_OUT) != 0 ? IoLoop::Writable : 0U;
    multi->m_loop.watch(socket, in | out, [multi, socket](std::uint32_t /*events*/) { multi->act(socket); });
    return 0;
}

int CurlMulti::onTimer(CURLM* /*multi*/, long milliseconds, void* self)
{
    auto* const multi = static_cast<CurlMulti*>(self);
    if (multi->m_timer) {
        multi->m_loop.stopTimer(*multi->m_timer);
        multi->m_timer.reset();
    }
    if (milliseconds >= 0) {
        multi->m_timer = multi->m_loop.startTimer(
            IoLoop::Clock::now() + std::chrono::milliseconds(milliseconds), [multi] { multi->actOnTimer(); });
    }
    return 0;
}

void CurlMulti::actOnTimer()
{
    m_timer.reset();
    act(CURL_SOCKET_TIMEOUT);
}

// libcurl looks at the socket itself.
void CurlMulti::act(curl_socket_t socket)
{
    int running{};
    if (curl_multi_socket_action(m_multi, socket, 0, &running) == CURLM_OK) {
        m_failedActs = 0;
    } else if (++m_failedActs > maxFailedActs) {
        m_failedActs = 0;
        endAll(CURLE_OUT_OF_MEMORY);
    } else if (!m_timer) {
        // It may have done nothing, and would then set no timer again.
        m_timer = m_loop.startTimer(IoLoop::Clock::now() + retryInterval, [this] { actOnTimer(); });
    }
    drainCompletedTransfers();
    tryNextAddresses();
}

// A transfer that has lost its socket and has not ended has more addresses. libcurl tries the next one when
// it next processes the transfer, but sets no timer for that: without help this happens only when half the
// time limit or all of it has passed.
void CurlMulti::tryNextAddresses()
{
    for (CURL* const easy : std::exchange(m_withoutSocket, {})) {
        if (m_transfers.find(easy) != m_transfers.end()) {
            curl_easy_pause(easy, CURLPAUSE_ALL);
            curl_easy_pause(easy, CURLPAUSE_CONT);
        }
    }
}

void CurlMulti::endAll(CURLcode code)
{
    std::vector<CURL*> all;
    for (const auto& transfer : m_transfers) {
        all.push_back(transfer.first);
    }
    for (CURL* const easy : all) { // an end may remove others
        auto transfer = m_transfers.extract(easy);
        if (!transfer.empty()) {
            transfer.mapped()(code);
        }
    }
}

void CurlMulti::drainCompletedTransfers()
{
    int queued{};
    while (const CURLMsg* const message = curl_multi_info_read(m_multi, &queued)) {
        // There is only one kind of message: a transfer is done.
        CURL* const easy = message->easy_handle;
        const CURLcode code = message->data.result;
        auto transfer = m_transfers.extract(easy);
        if (!transfer.empty()) {
            transfer.mapped()(code);
        }
    }
}

} // namespace Krelm::Communicator::HttpDevice
