// SPDX-License-Identifier: MIT
#include "communicator/packages/operationlog.h"

#include "communicator/http/retryafter.h"

#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

// An operation that sends more forgets its first exchanges.
constexpr std::size_t maxExchanges = 256;
// A reply that says why something failed is short; longer ones are not kept.
constexpr int maxKeptBytes = 16 << 10;

// Whether the thread has not begun, lives, or ends. Two variables that need no construction, so that the log
// is found with a look.
enum class Stage { New, Living, Ending };
thread_local Stage stage = Stage::New;
thread_local OperationLog* logOfThread = nullptr;

struct LogHolder
{
    LogHolder() { logOfThread = &log; }
    ~LogHolder()
    {
        logOfThread = nullptr;
        stage = Stage::Ending;
    }
    OperationLog log;
    Q_DISABLE_COPY_MOVE(LogHolder)
};

OperationLog* createLog()
{
    if (stage == Stage::Ending) {
        return nullptr;
    }
    thread_local LogHolder holder;
    stage = Stage::Living;
    return &holder.log;
}

} // namespace

EndedExchange::EndedExchange(const HttpReply& ended, std::chrono::steady_clock::time_point started)
    : state(ended.state)
    , status(ended.status)
    , milliseconds(
          std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - started)
              .count())
    , reason(ended.reason)
{
    if (ended.body.size() <= maxKeptBytes) {
        reply = ended.body;
    }
    if (const auto wait = retryAfterOf(ended)) {
        retryAfter = wait->count();
    }
}

LoggedExchange::LoggedExchange(HttpRequest&& request)
    : id(request.id)
    , method(request.method)
    , deviceKey(std::move(request.deviceKey))
    , path(std::move(request.path))
    , placeHolders(std::move(request.placeHolders))
    , parameters(std::move(request.parameters))
{}

OperationLog* OperationLog::ofThread()
{
    return logOfThread != nullptr ? logOfThread : createLog();
}

void OperationLog::add(LoggedExchange&& exchange)
{
    m_exchanges.push_back(std::move(exchange));
    if (m_exchanges.size() > maxExchanges) {
        m_exchanges.erase(m_exchanges.begin());
    }
}

} // namespace Krelm::Communicator::HttpDevice
