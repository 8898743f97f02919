// SPDX-License-Identifier: MIT
#include <simulator/resources/writtenvalues.h>

namespace Tessel::Simulator {
namespace {

// Clients must not be able to exhaust the memory of the simulator's machine.
constexpr std::size_t maxBytes = 512U << 20;

} // namespace

const WrittenValues::Property* WrittenValues::find(const std::string& property) const
{
    const auto found = m_properties.find(property);
    return found == m_properties.end() ? nullptr : &found->second;
}

const WrittenValues::Value* WrittenValues::find(const std::string& property, const std::string& id) const
{
    const Property* const values = find(property);
    if (!values) {
        return nullptr;
    }
    const auto own = values->own.find(id);
    return own == values->own.end() ? nullptr : &own->second;
}

bool WrittenValues::keep(Value& slot, Value value)
{
    if (m_bytes - slot.cost + value.cost > maxBytes) {
        return false;
    }
    m_bytes = m_bytes - slot.cost + value.cost;
    slot = std::move(value);
    return true;
}

void WrittenValues::erase(const std::string& property, const std::string& id)
{
    auto& own = m_properties[property].own;
    const auto found = own.find(id);
    if (found != own.end()) {
        m_bytes -= found->second.cost;
        own.erase(found);
    }
}

void WrittenValues::clear()
{
    m_properties.clear();
    m_bytes = 0;
}

} // namespace Tessel::Simulator
