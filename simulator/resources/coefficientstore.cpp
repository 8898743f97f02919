// SPDX-License-Identifier: MIT
#include <simulator/resources/coefficientstore.h>

#include <simulator/resources/addressing.h>
#include <simulator/resources/coefficientlist.h>
#include <simulator/text/texttools.h>

#include <nlohmann/json.hpp>

#include <QByteArray>
#include <QCryptographicHash>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;
using Kind = CoefficientKind;
using Bank = CoefficientBank;

constexpr std::string_view emptyTable = "[]";

constexpr const char* bankNames[] = {"loaded", "saved", "factory", "module", "applied"};

const char* nameOf(std::size_t kind)
{
    return coefficientKindRow(static_cast<Kind>(kind)).name;
}

std::size_t indexOf(Kind kind)
{
    return static_cast<std::size_t>(kind);
}

std::size_t indexOf(Bank bank)
{
    return static_cast<std::size_t>(bank);
}

using Step = CoefficientAction::Step;

std::string_view delivered(Kind kind)
{
    switch (kind) {
    case Kind::Plain:
        return R"([{"module":0,"coefficient":""}])";
    case Kind::Multilayer:
        return R"([{"layer":0,"coefficient":""}])";
    case Kind::Adaptive:
    case Kind::Dynamic:
    case Kind::LowGray:
        break;
    }
    return emptyTable;
}

std::string_view dataOf(const std::string& reply)
{
    static const std::size_t head = successEnvelope({})->size() - 1;
    return std::string_view(reply).substr(head, reply.size() - head - 1);
}

std::string_view elementsIn(std::string_view table)
{
    const auto first = table.find('[') + 1;
    return table.substr(first, table.rfind(']') - first);
}

} // namespace

CoefficientStore::CoefficientStore(const Wall& wall, qint64 limit)
    : m_wall(wall)
    , m_limit(static_cast<std::size_t>(std::max<qint64>(limit, 0)))
    , m_bytes(std::make_shared<std::atomic<std::size_t>>(0))
{}

bool CoefficientStore::isSave(const Route& route)
{
    const auto saves = [](const CoefficientAction& action) {
        return action.step == Step::Copy && action.from == Bank::Loaded && action.to != Bank::Applied;
    };
    const auto& actions = route.coefficientActions;
    return !actions.empty() && saves(actions.front());
}

std::optional<std::size_t> CoefficientStore::numberOf(const std::string& cabinet) const
{
    if (isPlaceholder(cabinet)) {
        return 0;
    }
    const auto index = indexOfId(cabinet, m_wall.cabinets());
    return index ? std::make_optional(*index + 1) : std::nullopt;
}

CoefficientStore::Table CoefficientStore::makeTable(std::string_view json, bool namesCabinet) const
{
    const SharedText reply = successEnvelope(json);
    *m_bytes += reply->size();
    return {
        SharedText(reply.get(), [reply, bytes = m_bytes](const std::string*) { *bytes -= reply->size(); }),
        namesCabinet};
}

CoefficientStore::Table& CoefficientStore::tableOf(std::size_t number, Kind kind, Bank bank)
{
    return m_cabinets[number].tables[indexOf(kind)][indexOf(bank)];
}

// Null for the factory table.
const CoefficientStore::Table* CoefficientStore::kept(std::size_t number, Kind kind, Bank bank) const
{
    const auto cabinet = m_cabinets.find(number);
    const Table* table =
        cabinet == m_cabinets.end() ? nullptr : &cabinet->second.tables[indexOf(kind)][indexOf(bank)];
    return table && table->reply ? table : nullptr;
}

std::string_view CoefficientStore::textOf(std::size_t number, Kind kind, Bank bank) const
{
    const Table* const table = kept(number, kind, bank);
    return table ? dataOf(*table->reply) : delivered(kind);
}

SharedText CoefficientStore::read(const Route& route, const std::string& cabinet)
{
    const Kind kind = *route.coefficients;
    const std::lock_guard lock(m_mutex);
    if (route.scope != Scope::Property) {
        return listOfAll(kind);
    }
    const auto number = numberOf(cabinet);
    if (!number) {
        return nullptr;
    }
    const Table* const table = kept(*number, kind, Bank::Loaded);
    return table ? table->reply : successEnvelope(delivered(kind));
}

SharedText CoefficientStore::listOfAll(Kind kind)
{
    auto& [counts, unplaced, all] = m_uploads[indexOf(kind)];
    if (unplaced) {
        return unplaced;
    }
    if (all) {
        return all;
    }
    std::string list = "[";
    for (std::size_t number = 1; number <= m_wall.cabinets(); ++number) {
        const std::string_view table = textOf(number, kind, Bank::Loaded);
        if (table == emptyTable) {
            continue;
        }
        if (list.size() > 1) {
            list += ',';
        }
        const Table* const own = kept(number, kind, Bank::Loaded);
        if (own && own->namesCabinet) {
            list.append(elementsIn(table));
        } else {
            list.append(R"({"id":")")
                .append(std::to_string(number))
                .append(R"(","value":)")
                .append(table)
                .append("}");
        }
    }
    all = successEnvelope(list.append("]"));
    return all;
}

CoefficientStore::UploadResult CoefficientStore::upload(const Route& route, const std::string& cabinet,
                                                        std::string_view json)
{
    const Kind kind = *route.coefficients;
    const std::lock_guard lock(m_mutex);
    const auto number = route.scope == Scope::Property ? numberOf(cabinet) : std::nullopt;
    if (route.scope == Scope::Property && !number) {
        return UploadResult::NoCabinet;
    }
    if (*m_bytes + json.size() > m_limit) {
        return UploadResult::NoSpace;
    }
    auto& own = m_uploads[indexOf(kind)];
    ++own.counts.uploads;
    own.counts.bytes += json.size();
    own.unplaced = nullptr;
    own.all = nullptr;
    if (number) {
        tableOf(*number, kind, Bank::Loaded) = makeTable(json, false);
    } else {
        place(kind, json);
    }
    return UploadResult::Done;
}

void CoefficientStore::place(Kind kind, std::string_view list)
{
    std::map<std::size_t, std::string> tables;
    const bool named = forEachNamed(list, [&](const std::string& cabinet, std::string_view element) {
        // Tables for cabinets that do not exist are discarded.
        if (const auto number = numberOf(cabinet)) {
            auto& table = tables[*number];
            table.append(table.empty() ? "[" : ",").append(element);
        }
    });
    if (!named) {
        m_uploads[indexOf(kind)].unplaced = makeTable(list, false).reply;
        return;
    }
    for (auto& [number, table] : tables) {
        tableOf(number, kind, Bank::Loaded) = makeTable(table.append("]"), true);
    }
}

void CoefficientStore::act(const Route& route, const std::vector<std::string>& cabinets)
{
    const std::lock_guard lock(m_mutex);
    for (const auto& action : route.coefficientActions) {
        for (const auto& cabinet : cabinets) {
            const auto number = numberOf(cabinet);
            if (!number) {
                continue;
            }
            switch (action.step) {
            case Step::Copy:
                tableOf(*number, action.kind, action.to) = tableOf(*number, action.kind, action.from);
                break;
            case Step::Clear:
                tableOf(*number, action.kind, action.from) = makeTable(emptyTable, false);
                break;
            case Step::Show:
                m_cabinets[*number].shown = action.from;
                break;
            }
        }
        if (action.step == Step::Clear) {
            m_uploads[indexOf(action.kind)].unplaced = nullptr;
        }
        m_uploads[indexOf(action.kind)].all = nullptr;
    }
}

std::string CoefficientStore::table(const std::string& cabinet, Kind kind, Bank bank) const
{
    const std::lock_guard lock(m_mutex);
    const auto number = numberOf(cabinet);
    return number ? std::string(textOf(*number, kind, bank)) : std::string();
}

CoefficientBank CoefficientStore::shown(const std::string& cabinet) const
{
    const std::lock_guard lock(m_mutex);
    const auto number = numberOf(cabinet);
    const auto found = number ? m_cabinets.find(*number) : m_cabinets.end();
    return found == m_cabinets.end() ? Bank::Loaded : found->second.shown;
}

CoefficientCounts CoefficientStore::counts(Kind kind) const
{
    const std::lock_guard lock(m_mutex);
    return m_uploads[indexOf(kind)].counts;
}

json CoefficientStore::summary() const
{
    const std::lock_guard lock(m_mutex);
    json received = json::object();
    for (std::size_t kind = 0; kind < kinds; ++kind) {
        const auto& counts = m_uploads[kind].counts;
        received[nameOf(kind)] = {{"uploads", counts.uploads}, {"bytes", counts.bytes}};
    }
    json cabinets = json::object();
    for (const auto& [number, cabinet] : m_cabinets) {
        json& entry = cabinets[number == 0 ? "{cid}" : std::to_string(number)];
        entry["shown"] = bankNames[indexOf(cabinet.shown)];
        for (std::size_t kind = 0; kind < kinds; ++kind) {
            for (std::size_t bank = 0; bank < banks; ++bank) {
                const auto& reply = cabinet.tables[kind][bank].reply;
                if (!reply) {
                    continue;
                }
                const auto text = dataOf(*reply);
                const auto bytes = QByteArray::fromRawData(text.data(), static_cast<int>(text.size()));
                entry[nameOf(kind)][bankNames[bank]] = {
                    {"bytes", text.size()},
                    {"sha256",
                     QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex().toStdString()}};
            }
        }
    }
    return {{"received", std::move(received)}, {"cabinets", std::move(cabinets)}};
}

void CoefficientStore::resetCounts()
{
    const std::lock_guard lock(m_mutex);
    for (auto& kind : m_uploads) {
        kind.counts = {};
    }
}

void CoefficientStore::reset()
{
    const std::lock_guard lock(m_mutex);
    m_cabinets.clear();
    m_uploads = {};
}

} // namespace Tessel::Simulator
