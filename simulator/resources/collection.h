// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_COLLECTION_H
#define SIMULATOR_RESOURCES_COLLECTION_H

#include <nlohmann/json.hpp>

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace Tessel::Simulator {

/// The records of one family, with ids counted from "1". A record is generated when it is read, and only
/// written values are stored, so that ten thousand cabinets cost nothing until they are read. Not
/// thread-safe.
class Collection
{
public:
    using Maker = std::function<nlohmann::json(std::size_t index)>;

    /// @p idMember names the member that identifies a record; it is never overwritten.
    Collection(std::size_t count, std::string idMember, Maker make);

    std::size_t size() const { return m_count; }
    const std::string& idMember() const { return m_idMember; }
    /// The index of an id such as "12"; nothing if there is no such instance.
    std::optional<std::size_t> indexOf(std::string_view id) const;

    nlohmann::json record(std::size_t index) const;
    /// The record as compact JSON.
    const std::string& text(std::size_t index);
    /// Merges @p members into one record, as far as its size limit allows.
    /// @return whether the record has changed.
    bool merge(std::size_t index, const nlohmann::json& members);
    /// Merges @p members into all records.
    /// @return whether any record has changed.
    bool mergeAll(const nlohmann::json& members);

private:
    bool fits(const nlohmann::json& written, const nlohmann::json& patch) const;

    std::size_t m_count;
    std::string m_idMember;
    Maker m_make;
    nlohmann::json m_writtenToAll;
    std::unordered_map<std::size_t, nlohmann::json> m_written;
    std::vector<std::string> m_texts;
};

} // namespace Tessel::Simulator

#endif
