// SPDX-License-Identifier: MIT
#include <simulator/resources/resourcestore.h>

#include <simulator/resources/addressing.h>
#include <simulator/resources/fixtures.h>
#include <simulator/text/jsontools.h>

#include <algorithm>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

constexpr std::size_t maxKeptBytes = 512U << 20;
constexpr std::size_t maxReplyBytes = 256U << 20;
constexpr std::size_t maxReplies = 8192;

json sharedMembers(const json& record, const json& body)
{
    json shared = json::object();
    if (body.is_object()) {
        for (const auto& member : body.items()) {
            if (record.contains(member.key())) {
                shared[member.key()] = member.value();
            }
        }
    }
    return shared;
}

ResourceStore::Written failed(ResourceStore::Written::Status status)
{
    ResourceStore::Written written;
    written.status = status;
    return written;
}

std::string joined(const std::vector<std::string>& texts)
{
    std::string list = "[";
    for (const auto& text : texts) {
        if (list.size() > 1) {
            list += ',';
        }
        list += text;
    }
    return list + "]";
}

} // namespace

ResourceStore::ResourceStore(Wall wall)
    : m_wall(std::move(wall))
    , m_records(makeRecords(m_wall))
{}

std::vector<Collection> ResourceStore::makeRecords(const Wall& wall)
{
    const std::pair<Family, std::size_t> counts[] = {
        {Family::Device, 1},
        {Family::Screen, wall.screens()},
        {Family::Cabinet, wall.cabinets()},
        {Family::Input, wall.inputs()},
        {Family::Output, wall.outputs()},
        {Family::Pipeline, wall.pipelines()},
        {Family::Channel, wall.pipelines()},
    };
    std::vector<Collection> records;
    for (const auto& entry : counts) {
        const Family family = entry.first;
        records.emplace_back(
            entry.second, family == Family::Screen ? "screenID" : "id",
            [&wall, family](std::size_t index) { return Fixtures::record(family, wall, index); });
    }
    return records;
}

void ResourceStore::reset()
{
    const std::lock_guard lock(m_mutex);
    m_records = makeRecords(m_wall);
    m_values.clear();
    for (auto& replies : m_replies) {
        replies.clear();
    }
    m_replyBytes = 0;
    m_keptBytes = 0;
    m_step = 0;
}

std::size_t ResourceStore::measure()
{
    const std::lock_guard lock(m_mutex);
    return ++m_step;
}

std::optional<std::size_t> ResourceStore::indexOf(Family family, const std::string& id) const
{
    if (family == Family::Device) {
        return 0;
    }
    return m_records[static_cast<std::size_t>(family)].indexOf(id);
}

bool ResourceStore::hasInstance(const Route& route, const std::string& id) const
{
    if (route.scope != Scope::Instance && route.scope != Scope::Property) {
        return true;
    }
    if (isPlaceholder(id)) {
        return route.scope == Scope::Property;
    }
    return indexOf(route.family, id).has_value();
}

std::string ResourceStore::idOf(Family family, std::size_t index)
{
    return family == Family::Device ? std::string() : std::to_string(index + 1);
}

SharedText ResourceStore::read(const Route& route, const std::string& id)
{
    const std::lock_guard lock(m_mutex);
    auto& replies = m_replies[static_cast<std::size_t>(route.family)];
    std::string key = route.pattern;
    key.append(1, '\n').append(id);
    const auto it = replies.find(key);
    if (it != replies.end()) {
        return it->second;
    }
    if (!hasInstance(route, id)) {
        return nullptr;
    }
    auto reply = successEnvelope(readText(route, id));
    if (isMeasured(route.value)) {
        return reply;
    }
    if (replies.size() >= maxReplies || m_replyBytes + reply->size() > maxReplyBytes) {
        for (auto& other : m_replies) {
            other.clear();
        }
        m_replyBytes = 0;
    }
    m_replyBytes += reply->size();
    replies.emplace(std::move(key), reply);
    return reply;
}

std::string ResourceStore::readText(const Route& route, const std::string& id)
{
    const Value* value = written(route.property, id);
    if (value && value->text) {
        return *value->text;
    }
    switch (route.scope) {
    case Scope::Collection:
        if (route.family == Family::Screen) {
            return screensText(route);
        }
        return value ? value->data.dump() : listText(route.family);
    case Scope::Instance:
        return records(route.family).text(*indexOf(route.family, id));
    case Scope::Plural:
        return value ? value->data.dump() : pluralText(route);
    case Scope::Value:
    case Scope::Property:
    case Scope::Firmware:
        break;
    }
    return current(route, id).dump();
}

const ResourceStore::Value* ResourceStore::written(const std::string& property, const std::string& id) const
{
    const auto values = m_values.find(property);
    if (values == m_values.end()) {
        return nullptr;
    }
    const auto own = values->second.own.find(id);
    return own == values->second.own.end() ? nullptr : &own->second;
}

json ResourceStore::current(const Route& route, const std::string& id)
{
    const auto found = route.scope == Scope::Value ? std::nullopt : indexOf(route.family, id);
    const std::size_t index = found.value_or(0);
    const auto values = m_values.find(route.property);
    const bool toAll = values != m_values.end() && values->second.all && route.scope != Scope::Value;
    json value;
    if (const Value* own = written(route.property, id)) {
        if (own->text) {
            return {{"size", own->text->size()}};
        }
        value = own->data;
    } else if (toAll) {
        value = values->second.all->data;
    } else if (route.scope == Scope::Value && route.value == SpecialValue::ReceivingCards) {
        value = Fixtures::allReceivingCards(m_wall);
    } else {
        value = Fixtures::value(route, m_wall, index, m_step);
    }
    if (found && value.is_object()) {
        value.update(sharedMembers(value, records(route.family).record(index)));
    }
    return value;
}

std::string ResourceStore::listText(Family family)
{
    auto& list = records(family);
    std::vector<std::string> texts;
    texts.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        texts.push_back(list.text(i));
    }
    return joined(texts);
}

std::string ResourceStore::pluralText(const Route& route)
{
    if (route.family == Family::Screen) {
        return current(route, idOf(Family::Screen, 0)).dump();
    }
    const auto& list = records(route.family);
    std::vector<std::string> texts;
    texts.reserve(list.size());
    for (std::size_t i = 0; i < list.size(); ++i) {
        json value = current(route, idOf(route.family, i));
        json element = value.is_object() ? std::move(value) : json::object({{"value", std::move(value)}});
        element["id"] = route.family == Family::Cabinet ? json(idOf(route.family, i)) : json(i + 1);
        texts.push_back(element.dump());
    }
    return joined(texts);
}

json ResourceStore::screenRecord(std::size_t index)
{
    json screen = records(Family::Screen).record(index);
    if (screen.contains("subScreens")) {
        return screen;
    }
    // A multi-screen controller feeds the upper and the lower half of a screen from an input each.
    const auto [first, last] = m_wall.cabinetsOf(index);
    const auto columns = m_wall.columnsOf(index);
    const auto rows = m_wall.rowsOf(index);
    const std::size_t parts = m_wall.multiScreen() && rows > 1 ? 2 : 1;
    json subScreens = json::array();
    for (std::size_t part = 0; part < parts; ++part) {
        const auto top = part * rows / parts;
        const auto bottom = (part + 1) * rows / parts;
        json cabinets = json::array();
        for (auto i = first + top * columns; i < std::min(last, first + bottom * columns); ++i) {
            const json cabinet = records(Family::Cabinet).record(i);
            json entry = json::object();
            for (const char* member :
                 {"id", "version", "outputId", "moduleCount", "weight", "power", "voltage", "position"}) {
                entry[member] = cabinet.at(member);
            }
            cabinets.push_back(std::move(entry));
        }
        subScreens.push_back(
            {{"subScreenID", std::to_string(index + 1) + "-" + std::to_string(part + 1)},
             {"inputID", std::to_string(part + 1)},
             {"postion", {{"x", 0}, {"y", top * Wall::cabinetPixels}}},
             {"size",
              {{"width", columns * Wall::cabinetPixels}, {"height", (bottom - top) * Wall::cabinetPixels}}},
             {"cabinets", std::move(cabinets)}});
    }
    screen["subScreens"] = std::move(subScreens);
    return screen;
}

std::string ResourceStore::screensText(const Route& route)
{
    // The single-screen route describes one screen at the top level; the multi-screen route lists them.
    json reply = route.multiScreenOnly ? json::object() : screenRecord(0);
    if (m_wall.multiScreen()) {
        json screens = json::array();
        for (std::size_t i = 0; i < m_wall.screens(); ++i) {
            screens.push_back(screenRecord(i));
        }
        reply["screens"] = std::move(screens);
    }
    return reply.dump();
}

ResourceStore::Written ResourceStore::write(const Route& route, const std::string& id, const json& body)
{
    const std::lock_guard lock(m_mutex);
    if (!hasInstance(route, id)) {
        return failed(Written::Status::NoInstance);
    }
    Written result;
    switch (route.scope) {
    case Scope::Collection:
        result = writeRecords(route, body);
        break;
    case Scope::Instance:
        result.changed = body.is_object() && records(route.family).merge(*indexOf(route.family, id), body);
        result.ids = {id};
        break;
    case Scope::Plural:
        result = writePlural(route, body);
        break;
    case Scope::Value:
    case Scope::Property:
    case Scope::Firmware:
        result = writeProperty(route, id, body);
        break;
    }
    if (result.changed) {
        invalidate(route.family);
    }
    return result;
}

ResourceStore::Written ResourceStore::writeText(const Route& route, const std::string& id, std::string text)
{
    const std::lock_guard lock(m_mutex);
    if (!hasInstance(route, id)) {
        return failed(Written::Status::NoInstance);
    }
    Value value;
    value.text = std::make_shared<const std::string>(std::move(text));
    value.cost = value.text->size();
    if (!keep(m_values[route.property].own[id], std::move(value))) {
        return failed(Written::Status::NoSpace);
    }
    invalidate(route.family);
    Written result;
    result.changed = true;
    result.ids = {id};
    return result;
}

ResourceStore::Written ResourceStore::writeProperty(const Route& route, const std::string& id,
                                                    const json& body)
{
    const Value* own = written(route.property, id);
    const json before = current(route, id);
    json after = before;
    if (own && own->text) {
        after = body;
    } else {
        mergeInto(after, body);
    }
    Written result;
    result.ids = {id};
    result.changed = before != after;
    if (!result.changed) {
        return result;
    }

    const auto index = route.scope == Scope::Value ? std::nullopt : indexOf(route.family, id);
    if (index) {
        auto& list = records(route.family);
        list.merge(*index, sharedMembers(list.record(*index), body));
    }
    Value value;
    value.cost = footprint(after);
    value.data = std::move(after);
    if (!keep(m_values[route.property].own[id], std::move(value))) {
        result.status = Written::Status::NoSpace;
    }
    return result;
}

ResourceStore::Written ResourceStore::writePlural(const Route& route, const json& body)
{
    const auto addressees = addressed(route.family, body);
    if (!addressees) {
        // A shape that names nobody: the route itself keeps it and gives it back.
        Written result = writeProperty(route, {}, body);
        result.ids.clear();
        return result;
    }
    auto& own = m_values[route.property].own;
    const auto kept = own.find(std::string());
    if (kept != own.end()) {
        m_keptBytes -= kept->second.cost;
        own.erase(kept);
    }
    if (addressees->all) {
        return writeToAll(route, body);
    }
    Written result;
    for (const auto& [index, members] : addressees->instances) {
        const auto one = writeProperty(route, idOf(route.family, index), members);
        result.changed = result.changed || one.changed;
        result.ids.push_back(idOf(route.family, index));
        if (one.status != Written::Status::Done) {
            result.status = one.status;
        }
    }
    return result;
}

ResourceStore::Written ResourceStore::writeToAll(const Route& route, const json& body)
{
    Written result;
    result.all = true;
    auto& list = records(route.family);
    if (list.size() == 0) {
        return result;
    }
    result.changed = list.mergeAll(sharedMembers(list.record(0), body));
    if (isGenerated(route.value)) {
        return result;
    }

    const auto mergeValue = [&](Value& slot) {
        json after = slot.data;
        mergeInto(after, body);
        if (slot.text || after == slot.data) {
            return;
        }
        Value value;
        // A list of all instances repeats what was written to all.
        value.cost = footprint(after) * (&slot == &*m_values[route.property].all ? list.size() : 1);
        value.data = std::move(after);
        result.changed = true;
        if (!keep(slot, std::move(value))) {
            result.status = Written::Status::NoSpace;
        }
    };
    auto& values = m_values[route.property];
    if (!values.all) {
        values.all = Value{Fixtures::plainValue(route.property), nullptr, 0};
    }
    mergeValue(*values.all);
    for (auto& entry : values.own) {
        mergeValue(entry.second);
    }
    return result;
}

ResourceStore::Written ResourceStore::writeRecords(const Route& route, const json& body)
{
    const auto addressees = addressed(route.family, body);
    Written result;
    if (!addressees) {
        return writeProperty(route, {}, body);
    }
    auto& list = records(route.family);
    if (addressees->all && route.family != Family::Screen) {
        result.all = true;
        result.changed = list.mergeAll(body);
        return result;
    }
    if (addressees->all) {
        // The description of one screen, as a single-screen controller has it.
        result.ids = {"1"};
        result.changed = list.merge(0, body);
        return result;
    }
    for (const auto& [index, members] : addressees->instances) {
        result.changed = list.merge(index, members) || result.changed;
        result.ids.push_back(idOf(route.family, index));
    }
    return result;
}

std::optional<ResourceStore::Addressed> ResourceStore::addressed(Family family, const json& body)
{
    constexpr std::size_t limit = 20000;
    Addressed result;
    const auto address = [&](const json& object, const char* member) {
        json members = object;
        members.erase(member);
        const json& ids = object.at(member);
        const auto add = [&](const json& id) {
            if (const auto index = indexOf(family, idText(id))) {
                result.instances.emplace_back(*index, members);
            }
        };
        if (ids.is_array()) {
            for (std::size_t i = 0; i < ids.size() && result.instances.size() <= limit; ++i) {
                add(ids[i]);
            }
        } else {
            add(ids);
        }
    };
    if (body.is_object()) {
        const char* const listMember = family == Family::Screen ? "screens" : "cabinets";
        if (const char* member = addressMember(family, body)) {
            address(body, member);
        } else if (body.contains(listMember) && body[listMember].is_array()) {
            return addressed(family, body[listMember]);
        } else {
            result.all = true;
        }
    } else if (body.is_array()) {
        for (const auto& element : body) {
            const char* member = addressMember(family, element);
            if (!member || result.instances.size() > limit) {
                return std::nullopt;
            }
            address(element, member);
        }
    } else {
        return std::nullopt;
    }
    return result.instances.size() > limit ? std::nullopt : std::make_optional(std::move(result));
}

bool ResourceStore::keep(Value& slot, Value value)
{
    if (m_keptBytes - slot.cost + value.cost > maxKeptBytes) {
        return false;
    }
    m_keptBytes = m_keptBytes - slot.cost + value.cost;
    slot = std::move(value);
    return true;
}

void ResourceStore::invalidate(Family family)
{
    const auto drop = [this](Family dropped) {
        auto& replies = m_replies[static_cast<std::size_t>(dropped)];
        for (const auto& reply : replies) {
            m_replyBytes -= reply.second->size();
        }
        replies.clear();
    };
    drop(family);
    // Screens list their cabinets.
    if (family == Family::Cabinet) {
        drop(Family::Screen);
    }
}

} // namespace Tessel::Simulator
