// SPDX-License-Identifier: MIT
#include <simulator/resources/resourcestore.h>

#include <simulator/resources/addressing.h>
#include <simulator/resources/fixtures.h>
#include <simulator/resources/screenlist.h>
#include <simulator/text/jsontools.h>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

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
    std::vector<Collection> records;
    for (std::size_t number = 0; number < familyCount; ++number) {
        const auto family = static_cast<Family>(number);
        records.emplace_back(
            wall.count(family), family == Family::Screen ? "screenID" : "id",
            [&wall, family](std::size_t index) { return Fixtures::record(family, wall, index); });
    }
    return records;
}

void ResourceStore::reset()
{
    const std::lock_guard lock(m_mutex);
    m_records = makeRecords(m_wall);
    m_values.clear();
    m_replies.clear();
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
    if (SharedText reply = m_replies.find(route, id)) {
        return reply;
    }
    if (!hasInstance(route, id)) {
        return nullptr;
    }
    auto reply = successEnvelope(readText(route, id));
    if (!isMeasured(route.value)) {
        m_replies.insert(route, id, reply);
    }
    return reply;
}

std::string ResourceStore::readText(const Route& route, const std::string& id)
{
    const Value* value = m_values.find(route.property, id);
    if (value && value->text) {
        return *value->text;
    }
    switch (route.scope) {
    case Scope::Collection:
        if (route.family == Family::Screen) {
            return screenList(m_wall, records(Family::Screen), records(Family::Cabinet),
                              route.multiScreenOnly);
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

json ResourceStore::current(const Route& route, const std::string& id)
{
    const auto found = route.scope == Scope::Value ? std::nullopt : indexOf(route.family, id);
    const std::size_t index = found.value_or(0);
    const auto* values = m_values.find(route.property);
    const bool toAll = values && values->all && route.scope != Scope::Value;
    json value;
    if (const Value* own = m_values.find(route.property, id)) {
        if (own->text) {
            return {{"size", own->text->size()}};
        }
        value = own->data;
    } else if (toAll) {
        value = values->all->data;
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
        m_replies.invalidate(route.family);
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
    if (!m_values.keep(m_values[route.property].own[id], std::move(value))) {
        return failed(Written::Status::NoSpace);
    }
    m_replies.invalidate(route.family);
    Written result;
    result.changed = true;
    result.ids = {id};
    return result;
}

ResourceStore::Written ResourceStore::writeProperty(const Route& route, const std::string& id,
                                                    const json& body)
{
    const Value* own = m_values.find(route.property, id);
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
    if (!m_values.keep(m_values[route.property].own[id], std::move(value))) {
        result.status = Written::Status::NoSpace;
    }
    return result;
}

ResourceStore::Written ResourceStore::writePlural(const Route& route, const json& body)
{
    const auto addressees = addressed(route.family, records(route.family).size(), body);
    if (!addressees) {
        // A body that addresses no instance is stored and returned by the route itself.
        Written result = writeProperty(route, {}, body);
        result.ids.clear();
        return result;
    }
    m_values.erase(route.property, {});
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
        if (!m_values.keep(slot, std::move(value))) {
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
    const auto addressees = addressed(route.family, records(route.family).size(), body);
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

} // namespace Tessel::Simulator
