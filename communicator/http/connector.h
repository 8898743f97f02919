// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CONNECTOR_H
#define COMMUNICATOR_HTTP_CONNECTOR_H

#include "communicator/devices/deviceregistry.h"
#include "communicator/http/connection.h"
#include "communicator/http/curlmulti.h"

#include <communicator/ihttpversiontrigger.h>

#include <QString>

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>

namespace Krelm::Communicator::HttpDevice {

/// A connection, or why there is none.
struct ConnectResult
{
    std::unique_ptr<Connection> connection; ///< null after a failure
    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success;
    QString error;
};

/// Opens a connection on the calling thread. libcurl finds the name's addresses, tries them, and sees to TLS
/// and to whom to trust; it sends nothing.
class BlockingConnector
{
public:
    /// Returns when the connection is open, has failed, or @p limit has passed. Call it on one thread at a
    /// time.
    ConnectResult connect(const Device& device, std::chrono::milliseconds limit);
    /// Ends a running or later connect() with `Aborted`. From any thread.
    void abort();

private:
    std::mutex m_mutex;       ///< guards the two below
    CURLM* m_multi = nullptr; ///< while connecting
    bool m_aborted = false;
};

/// The same on a loop's thread, for any number of connections at once; none of them waits for another's name
/// lookup or handshake. Used on the loop's thread only; must outlive the connections that it opened.
class Connector
{
public:
    using Done = std::function<void(ConnectResult)>;
    struct Pending;
    using Attempt = Pending*;

    explicit Connector(IoLoop& loop);
    /// Cancels all attempts.
    ~Connector();

    /// Starts opening a connection; @p done is called once, later.
    Attempt connect(const std::shared_ptr<const Device>& device, std::chrono::milliseconds limit, Done done);
    /// Cancels an attempt; its `done` is not called.
    void cancel(Attempt attempt);

private:
    struct Transfer;
    void finished(Attempt attempt, CURLcode code);

    IoLoop& m_loop;
    CurlMulti m_multi;
    std::unordered_map<Attempt, std::unique_ptr<Pending>> m_pending;
    Q_DISABLE_COPY_MOVE(Connector)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
