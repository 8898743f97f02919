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

thread_local bool isOver = false; // outlives the log below

struct Holder
{
    ~Holder() { isOver = true; }
    OperationLog log;
};

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
    if (isOver) {
        return nullptr;
    }
    thread_local Holder holder;
    return &holder.log;
}

void OperationLog::begin()
{
    if (m_depth == 0) {
        m_exchanges.clear();
    }
}

void OperationLog::enter()
{
    begin();
    ++m_depth;
}

void OperationLog::leave()
{
    --m_depth;
}

void OperationLog::add(LoggedExchange&& exchange)
{
    m_exchanges.push_back(std::move(exchange));
    if (m_exchanges.size() > maxExchanges) {
        m_exchanges.pop_front();
    }
}

} // namespace Krelm::Communicator::HttpDevice
