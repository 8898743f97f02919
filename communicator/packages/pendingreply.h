// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_PACKAGES_PENDINGREPLY_H
#define COMMUNICATOR_PACKAGES_PENDINGREPLY_H

#include "communicator/httpengine.h"

#include <memory>
#include <mutex>

namespace Krelm::Communicator::HttpDevice {

class HttpJsonPackage;

/// Stores the engine's reply in @p package. On the package's thread.
void putReply(HttpJsonPackage* package, const HttpReply& reply);

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

    /// Fetches the settled reply, once. On the package's thread. @return whether there was one.
    bool take(HttpReply& reply);

private:
    std::mutex m_mutex; ///< guards all below, and the package's life between detach() and settle()
    HttpJsonPackage* m_package;
    bool m_settled = false;
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
