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

constexpr const char* kindNames[] = {"plain", "multilayer", "adaptive", "dynamic", "lowgray"};
constexpr const char* bankNames[] = {"loaded", "saved", "factory", "module", "applied"};

std::size_t indexOf(Kind kind)
{
    return static_cast<std::size_t>(kind);
}

std::size_t indexOf(Bank bank)
{
    return static_cast<std::size_t>(bank);
}

struct TableRoute
{
    std::string_view path; ///< below "/device/correctionop/cabinets"
    Kind kind;
};
constexpr TableRoute tableRoutes[] = {
    {"/chroma/coefficient", Kind::Plain},      {"/multilayer/coefficient", Kind::Multilayer},
    {"/adaptive/coefficient", Kind::Adaptive}, {"/dynamic/coefficient", Kind::Dynamic},
    {"/lowgray/coefficient", Kind::LowGray},
};

enum class Step { Copy, Clear, Show };
struct Action
{
    std::string_view path; ///< below "/device/correctionop"
    Step step;
    Kind kind;
    Bank from; ///< of a copy; what is cleared or shown
    Bank to;
};
constexpr Action actions[] = {
    {"/cabinets/savecoefficient", Step::Copy, Kind::Plain, Bank::Loaded, Bank::Saved},
    {"/screens/usereffectadjustcoeffsave", Step::Copy, Kind::Plain, Bank::Loaded, Bank::Saved},
    {"/cabinets/savefactorycoefficient", Step::Copy, Kind::Plain, Bank::Loaded, Bank::Factory},
    {"/cabinets/savecoefftomodule", Step::Copy, Kind::Plain, Bank::Loaded, Bank::Module},
    {"/cabinets/multilayer/save", Step::Copy, Kind::Multilayer, Bank::Loaded, Bank::Saved},
    {"/cabinets/rvcardcoefficient", Step::Copy, Kind::Adaptive, Bank::Loaded, Bank::Saved},
    {"/cabinets/lowgray/save", Step::Copy, Kind::LowGray, Bank::Loaded, Bank::Saved},
    {"/cabinets/lowgray/apply/coefficient", Step::Copy, Kind::LowGray, Bank::Loaded, Bank::Applied},
    {"/cabinets/loadcoefficient", Step::Copy, Kind::Plain, Bank::Saved, Bank::Loaded},
    {"/cabinets/clearcoefficient", Step::Clear, Kind::Plain, Bank::Loaded, {}},
    {"/cabinets/clearcoefficient", Step::Clear, Kind::Plain, Bank::Saved, {}},
    {"/cabinets/clearmodulecoefficient", Step::Clear, Kind::Plain, Bank::Module, {}},
    {"/cabinets/multilayer/clear", Step::Clear, Kind::Multilayer, Bank::Loaded, {}},
    {"/cabinets/multilayer/clear", Step::Clear, Kind::Multilayer, Bank::Saved, {}},
    {"/cabinets/lowgray/clear", Step::Clear, Kind::LowGray, Bank::Loaded, {}},
    {"/cabinets/lowgray/clear", Step::Clear, Kind::LowGray, Bank::Saved, {}},
    {"/cabinets/lowgray/clear", Step::Clear, Kind::LowGray, Bank::Applied, {}},
    {"/cabinets/showcoefficient", Step::Show, Kind::Plain, Bank::Loaded, {}},
    {"/cabinets/showfactorycoefficient", Step::Show, Kind::Plain, Bank::Factory, {}},
    {"/cabinets/showmodulecoefficient", Step::Show, Kind::Plain, Bank::Module, {}},
};

// What is left of the route's property; empty when it is no route of the correction.
std::string_view below(std::string_view prefix, const Route& route)
{
    const std::string_view property = route.property;
    return startsWith(property, prefix) ? property.substr(prefix.size()) : std::string_view();
}

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

std::optional<CoefficientKind> CoefficientStore::kindAt(const Route& route)
{
    const auto path = below("/device/correctionop/cabinets", route);
    for (const auto& entry : tableRoutes) {
        if (entry.path == path)
            return entry.kind;
    }
    return std::nullopt;
}

bool CoefficientStore::isSave(const Route& route)
{
    const auto path = below("/device/correctionop", route);
    for (const auto& action : actions) {
        if (action.path == path)
            return action.step == Step::Copy && action.from == Bank::Loaded && action.to != Bank::Applied;
    }
    return false;
}

std::optional<std::size_t> CoefficientStore::numberOf(const std::string& cabinet) const
{
    if (isPlaceholder(cabinet))
        return 0;
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

// Null where the table is the one of the delivery.
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
    const Kind kind = *kindAt(route);
    const std::lock_guard lock(m_mutex);
    if (route.scope != Scope::Property)
        return listOfAll(kind);
    const auto number = numberOf(cabinet);
    if (!number)
        return nullptr;
    const Table* const table = kept(*number, kind, Bank::Loaded);
    return table ? table->reply : successEnvelope(delivered(kind));
}

SharedText CoefficientStore::listOfAll(Kind kind)
{
    auto& [counts, unplaced, all] = m_uploads[indexOf(kind)];
    if (unplaced)
        return unplaced;
    if (all)
        return all;
    std::string list = "[";
    for (std::size_t number = 1; number <= m_wall.cabinets(); ++number) {
        const std::string_view table = textOf(number, kind, Bank::Loaded);
        if (table == emptyTable)
            continue;
        if (list.size() > 1)
            list += ',';
        const Table* const own = kept(number, kind, Bank::Loaded);
        if (own && own->namesCabinet)
            list.append(elementsIn(table));
        else
            list.append(R"({"id":")")
                .append(std::to_string(number))
                .append(R"(","value":)")
                .append(table)
                .append("}");
    }
    all = successEnvelope(list.append("]"));
    return all;
}

CoefficientStore::UploadResult CoefficientStore::upload(const Route& route, const std::string& cabinet,
                                                        std::string_view json)
{
    const Kind kind = *kindAt(route);
    const std::lock_guard lock(m_mutex);
    const auto number = route.scope == Scope::Property ? numberOf(cabinet) : std::nullopt;
    if (route.scope == Scope::Property && !number)
        return UploadResult::NoCabinet;
    if (*m_bytes + json.size() > m_limit)
        return UploadResult::NoSpace;
    auto& own = m_uploads[indexOf(kind)];
    ++own.counts.uploads;
    own.counts.bytes += json.size();
    own.unplaced = nullptr;
    own.all = nullptr;
    if (number)
        tableOf(*number, kind, Bank::Loaded) = makeTable(json, false);
    else
        place(kind, json);
    return UploadResult::Done;
}

void CoefficientStore::place(Kind kind, std::string_view list)
{
    std::map<std::size_t, std::string> tables;
    const bool named = forEachNamed(list, [&](const std::string& cabinet, std::string_view element) {
        // What is meant for a cabinet that the wall lacks goes nowhere.
        if (const auto number = numberOf(cabinet)) {
            auto& table = tables[*number];
            table.append(table.empty() ? "[" : ",").append(element);
        }
    });
    if (!named) {
        m_uploads[indexOf(kind)].unplaced = makeTable(list, false).reply;
        return;
    }
    for (auto& [number, table] : tables)
        tableOf(number, kind, Bank::Loaded) = makeTable(table.append("]"), true);
}

void CoefficientStore::act(const Route& route, const std::vector<std::string>& cabinets)
{
    const auto path = below("/device/correctionop", route);
    const std::lock_guard lock(m_mutex);
    for (const auto& action : actions) {
        if (action.path != path)
            continue;
        for (const auto& cabinet : cabinets) {
            const auto number = numberOf(cabinet);
            if (!number)
                continue;
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
        if (action.step == Step::Clear)
            m_uploads[indexOf(action.kind)].unplaced = nullptr;
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
        received[kindNames[kind]] = {{"uploads", counts.uploads}, {"bytes", counts.bytes}};
    }
    json cabinets = json::object();
    for (const auto& [number, cabinet] : m_cabinets) {
        json& told = cabinets[number == 0 ? "{cid}" : std::to_string(number)];
        told["shown"] = bankNames[indexOf(cabinet.shown)];
        for (std::size_t kind = 0; kind < kinds; ++kind) {
            for (std::size_t bank = 0; bank < banks; ++bank) {
                const auto& reply = cabinet.tables[kind][bank].reply;
                if (!reply)
                    continue;
                const auto text = dataOf(*reply);
                const auto bytes = QByteArray::fromRawData(text.data(), static_cast<int>(text.size()));
                told[kindNames[kind]][bankNames[bank]] = {
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
    for (auto& kind : m_uploads)
        kind.counts = {};
}

void CoefficientStore::reset()
{
    const std::lock_guard lock(m_mutex);
    m_cabinets.clear();
    m_uploads = {};
}

} // namespace Tessel::Simulator
