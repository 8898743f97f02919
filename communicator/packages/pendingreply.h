// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_PACKAGES_PENDINGREPLY_H
#define COMMUNICATOR_PACKAGES_PENDINGREPLY_H

#include "communicator/httpengine.h"
#include "communicator/packages/operationlog.h"

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

class HttpJsonPackage;

/// Shared by a package in flight and the engine's completion: resolves the race between the package's
/// destruction and the reply, and passes the reply from the engine's thread to the package's.
class PendingReply : public std::enable_shared_from_this<PendingReply>
{
public:
    explicit PendingReply(HttpJsonPackage* package);

    /// The package is being destroyed or sent again; a later reply is dropped. On the package's thread.
    void detach();

    /// Posts @p reply to the package's thread, where take() fetches it. Only the first call counts. From any
    /// thread.
    void settle(const HttpReply& reply);
    /// How the exchange ended, whether the package still lives or not; none while it is under way. From any
    /// thread.
    std::optional<EndedExchange> ended() const;

    /// Fetches the settled reply, once. On the package's thread. @return whether there was one.
    bool take(HttpReply& reply, EndedExchange& ended);

private:
    const std::chrono::steady_clock::time_point m_started = std::chrono::steady_clock::now();
    mutable std::mutex m_mutex; ///< guards all below, and the package's life between detach() and settle()
    HttpJsonPackage* m_package;
    std::optional<EndedExchange> m_ended;
    HttpReply m_reply;
};

/// The engine's half of a PendingReply: if the engine destroys it without a reply, the request ends as
/// `Aborted`.
class ReplyPromise
{
public:
    explicit ReplyPromise(std::shared_ptr<PendingReply> pending);
    ~ReplyPromise();
    void settle(const HttpReply& reply);

private:
    std::shared_ptr<PendingReply> m_pending;
    Q_DISABLE_COPY_MOVE(ReplyPromise)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
