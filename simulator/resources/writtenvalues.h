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

/// The values of properties as clients wrote them, within a bound on their memory. Not thread-safe.
class WrittenValues
{
public:
    struct Value
    {
        nlohmann::json data;
        SharedText text; ///< set: holds the value instead of data
        std::size_t cost = 0;
    };
    struct Property
    {
        std::optional<Value> all;                   ///< written to all instances at once
        std::unordered_map<std::string, Value> own; ///< by instance; "" for what belongs to no instance
    };

    /// Null when nothing of it was written.
    const Property* find(const std::string& property) const;
    /// What was written to this instance itself; null when nothing was.
    const Value* find(const std::string& property, const std::string& id) const;
    Property& operator[](const std::string& property) { return m_properties[property]; }

    /// Puts @p value into @p slot, a value of this. @return false, with the slot as it was, when there is no
    /// room.
    bool keep(Value& slot, Value value);
    void erase(const std::string& property, const std::string& id);
    void clear();

private:
    std::unordered_map<std::string, Property> m_properties;
    std::size_t m_bytes = 0;
};

} // namespace Tessel::Simulator

#endif
