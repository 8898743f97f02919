// SPDX-License-Identifier: MIT
#include "communicator/packages/pendingreply.h"

#include "communicator/runtime/lifecycle.h"
#include "communicator/runtime/postedcall.h"

#include <communicator/httpjsonpackage.h>

namespace Krelm::Communicator::HttpDevice {

void putReply(HttpJsonPackage* package, const HttpReply& reply)
{
    package->setSimpleState(reply.state);
    package->setReceiveData(reply.body);
    package->setResponseHeader(reply.headers);
    package->replyStatus = reply.status;
}

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
    if (m_settled || m_package == nullptr || Lifecycle::isClosed()) {
        return;
    }
    m_settled = true;
    m_reply = reply;
    // Posted while holding the lock: the package's destructor waits in detach() until the call is in its
    // event queue, and then removes it.
    postCall(m_package, [package = m_package, self = shared_from_this()] {
        HttpReply settled;
        if (self->take(settled)) {
            putReply(package, settled);
            Q_EMIT package->readyRead(package);
        }
    });
}

bool PendingReply::take(HttpReply& reply)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_package == nullptr || Lifecycle::isClosed()) {
        return false;
    }
    m_package = nullptr;
    reply = std::move(m_reply);
    return true;
}

ReplyPromise::ReplyPromise(std::shared_ptr<PendingReply> pending)
    : m_pending(std::move(pending))
{}

ReplyPromise::~ReplyPromise()
{
    HttpReply reply;
    reply.state = IHttpVersionTrigger::Aborted;
    m_pending->settle(reply);
}

void ReplyPromise::settle(const HttpReply& reply)
{
    m_pending->settle(reply);
}

} // namespace Krelm::Communicator::HttpDevice
