// SPDX-License-Identifier: MIT
#include "tesselctl/requests/requestlog.h"

#include "tesselctl/requests/requestkey.h"

#include <map>
#include <mutex>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::setExchangeObserver;

struct ExchangeLedger::State
{
    std::mutex mutex; // guards the records
    std::map<ExchangeKey, Exchanges::Record> records;
};

ExchangeLedger::ExchangeLedger(bool trace, Console& console)
    : m_state(std::make_shared<State>())
{
    setExchangeObserver([state = m_state, trace, &console](const Exchanges::Record& record) {
        if (trace)
            console.remark(traceLine(record));
        const ExchangeKey key = exchangeKey(record.deviceKey, record.path);
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->records[key] = record;
    });
}

ExchangeLedger::~ExchangeLedger()
{
    setExchangeObserver({});
}

std::optional<Exchanges::Record> ExchangeLedger::take(const QString& device, const QString& path)
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const auto found = m_state->records.find(exchangeKey(device, path));
    if (found == m_state->records.end())
        return std::nullopt;
    const Exchanges::Record record = found->second;
    m_state->records.erase(found);
    return record;
}

Outcome ExchangeLedger::takeOutcome(const QString& device, const QString& path)
{
    const std::optional<Exchanges::Record> record = take(device, path);
    return record ? outcomeOf(*record) : Outcome{Failed, QStringLiteral("no request was made")};
}

} // namespace TesselCtl
