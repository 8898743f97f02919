// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CURLMULTI_H
#define COMMUNICATOR_HTTP_CURLMULTI_H

#include "communicator/runtime/ioloop.h"

#include <curl/curl.h>
#include <functional>
#include <optional>
#include <unordered_map>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// Returns a new multi handle whose descriptors are not inherited by child processes; null without memory for
/// it. From any thread.
CURLM* newMulti();

/// Drives any number of libcurl transfers on an IoLoop, with a connection cache of its own. Used on the
/// loop's thread only.
class CurlMulti
{
public:
    using Finished = std::function<void(CURLcode)>;

    /// @p keptConnections bounds the connections kept for later transfers.
    CurlMulti(IoLoop& loop, long keptConnections);
    /// No transfer may be left.
    ~CurlMulti();

    /// Starts a transfer; @p finished is called once, later. The handle, and with it the connection that it
    /// opened, is kept until remove().
    /// @return false if libcurl refuses it; @p finished is then not called.
    bool add(CURL* easy, Finished finished);
    /// Removes a handle and cancels its transfer if it is still running; `finished` is then not called.
    void remove(CURL* easy);

private:
    void open();
    void drainCompletedTransfers();
    static int onSocket(CURL* easy, curl_socket_t socket, int what, void* self, void* socketData);
    static int onTimer(CURLM* multi, long milliseconds, void* self);
    void act(curl_socket_t socket);
    void actOnTimer();
    void tryNextAddresses();
    void endAll(CURLcode code);

    IoLoop& m_loop;
    const long m_keptConnections;
    CURLM* m_multi = nullptr; ///< null until libcurl has made it
    std::optional<IoLoop::TimerId> m_timer;
    std::unordered_map<CURL*, Finished> m_transfers;
    int m_failedActs = 0;               ///< in a row
    std::vector<CURL*> m_withoutSocket; ///< have a socket less; some of them have ended since
    Q_DISABLE_COPY_MOVE(CurlMulti)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
