// SPDX-License-Identifier: MIT
#include "communicator/packages/pendingreply.h"

#include "communicator/http/refusal.h"
#include "communicator/packages/httpjsonpackage_p.h"
#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/postedcall.h"

namespace Krelm::Communicator::HttpDevice {

PendingReply::PendingReply(HttpJsonPackage* package)
    : m_package(package)
{}

void PendingReply::detach()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_package = nullptr;
}

void PendingReply::settle(const HttpReply& reply)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_ended) {
        return;
    }
    m_ended.emplace(reply, m_started);
    if (m_package == nullptr || Lifecycle::isClosed()) {
        return;
    }
    m_reply = reply;
    // Posted while holding the lock: the package's destructor waits in detach() until the call is in its
    // event queue, and then removes it.
    postCall(m_package, [package = m_package, self = shared_from_this()] {
        HttpReply settled;
        EndedExchange ended;
        if (self->take(settled, ended)) {
            HttpJsonPackage::Private::putReply(package, settled, ended);
            Q_EMIT package->readyRead(package);
        }
    });
}

std::optional<EndedExchange> PendingReply::ended() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_ended;
}

bool PendingReply::take(HttpReply& reply, EndedExchange& ended)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_package == nullptr || Lifecycle::isClosed()) {
        return false;
    }
    reply = std::move(m_reply);
    ended = m_ended.value_or(EndedExchange());
    return true;
}

ReplyPromise::ReplyPromise(std::shared_ptr<PendingReply> pending)
    : m_pending(std::move(pending))
{}

ReplyPromise::~ReplyPromise()
{
    HttpReply reply;
    reply.state = IHttpVersionTrigger::Aborted;
    reply.reason = abortedError();
    m_pending->settle(reply);
}

void ReplyPromise::settle(const HttpReply& reply)
{
    m_pending->settle(reply);
}

} // namespace Krelm::Communicator::HttpDevice
