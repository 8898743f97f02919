// SPDX-License-Identifier: MIT
#include "tesselctl/requests/requestlog.h"

#include "tesselctl/requests/requestkey.h"

#include <map>
#include <mutex>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::setExchangeObserver;

struct RequestLog::State
{
    std::mutex mutex; // guards the records
    std::map<RequestKey, CallObserver::Record> records;
};

RequestLog::RequestLog(bool trace, Console& console)
    : m_state(std::make_shared<State>())
{
    setExchangeObserver([state = m_state, trace, &console](const CallObserver::Record& record) {
        if (trace)
            console.info(traceLine(record));
        const RequestKey key = requestKey(record.deviceKey, record.path);
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->records[key] = record;
    });
}

RequestLog::~RequestLog()
{
    setExchangeObserver({});
}

std::optional<CallObserver::Record> RequestLog::take(const QString& device, const QString& path)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const auto found = m_state->records.find(requestKey(device, path));
    if (found == m_state->records.end())
        return std::nullopt;
    const CallObserver::Record record = found->second;
    m_state->records.erase(found);
    return record;
}

Outcome RequestLog::takeOutcome(const QString& device, const QString& path)
{
    const std::optional<CallObserver::Record> record = take(device, path);
    return record ? outcomeOf(*record) : Outcome{Failed, QStringLiteral("no request was made")};
}

} // namespace TesselCtl
