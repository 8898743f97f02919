// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_PACKAGES_OPERATIONLOG_H
#define COMMUNICATOR_PACKAGES_OPERATIONLOG_H

#include "communicator/httpengine.h"

#include <chrono>
#include <memory>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

class PendingReply;

/// How an exchange ended. Nothing is decoded, so that it costs no more than some copied pointers.
struct EndedExchange
{
    EndedExchange() = default;
    EndedExchange(const HttpReply& ended, std::chrono::steady_clock::time_point started);

    IHttpVersionTrigger::HttpSimpleState state = IHttpVersionTrigger::Success;
    int status = 0;
    qint64 milliseconds = 0;
    qint64 retryAfter = -1; ///< milliseconds that the device asked to wait, or -1
    QString reason;
    QByteArray reply; ///< empty if it is too long for one that says why something failed
};

/// An exchange that an operation began.
struct LoggedExchange
{
    LoggedExchange() = default;
    /// Takes from @p request what names the exchange.
    explicit LoggedExchange(HttpRequest&& request);

    ExchangeId id = 0;
    HttpMethod method = HttpMethod::Get;
    QString deviceKey;
    QString path;
    QMap<QString, QString> placeHolders;
    QMap<QString, QString> parameters;
    EndedExchange ended;                         ///< unless it is pending
    std::shared_ptr<const PendingReply> pending; ///< of one that does not block: knows how it ended
};

/// The exchanges of the latest operation of a thread. Used by that thread only.
class OperationLog
{
public:
    /// The log of the calling thread; null while the thread ends.
    static OperationLog* ofThread();

    /// Begins an operation, unless the thread is inside one.
    void begin()
    {
        if (m_depth == 0 && !m_exchanges.empty()) {
            m_exchanges.clear();
        }
    }
    /// Begins an operation that consists of all that the thread does until leave(); calls can be nested.
    void enter()
    {
        begin();
        ++m_depth;
    }
    void leave() { --m_depth; }
    void add(LoggedExchange&& exchange);

    /// The latest exchanges, in the order in which they were added.
    const std::vector<LoggedExchange>& exchanges() const { return m_exchanges; }

private:
    std::vector<LoggedExchange> m_exchanges;
    int m_depth = 0;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
