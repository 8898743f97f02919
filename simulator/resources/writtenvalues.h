// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_WRITTENVALUES_H
#define SIMULATOR_RESOURCES_WRITTENVALUES_H

#include <simulator/text/envelope.h>

#include <nlohmann/json.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>

namespace Tessel::Simulator {

/// Property values written by clients, up to a limit on their memory. Not thread-safe.
class WrittenValues
{
public:
    struct Value
    {
        nlohmann::json data;
        SharedText text; ///< the value, if it is not stored as data
        std::size_t cost = 0;
    };
    struct Property
    {
        std::optional<Value> all;                   ///< written to all instances at once
        std::unordered_map<std::string, Value> own; ///< by instance; "" for values that belong to no instance
    };

    /// Null if nothing has been written to the property.
    const Property* find(const std::string& property) const;
    /// The value written to this instance itself; null if there is none.
    const Value* find(const std::string& property, const std::string& id) const;
    Property& operator[](const std::string& property) { return m_properties[property]; }

    /// Stores @p value in @p slot, which must belong to this object. @return false, with the slot unchanged,
    /// if the limit would be exceeded.
    bool keep(Value& slot, Value value);
    void erase(const std::string& property, const std::string& id);
    void clear();

private:
    std::unordered_map<std::string, Property> m_properties;
    std::size_t m_bytes = 0;
};

} // namespace Tessel::Simulator

#endif
