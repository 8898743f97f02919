// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_RESOURCESTORE_H
#define SIMULATOR_RESOURCES_RESOURCESTORE_H

#include <simulator/resources/collection.h>
#include <simulator/resources/replycache.h>
#include <simulator/resources/wall.h>
#include <simulator/resources/writtenvalues.h>

#include <nlohmann/json.hpp>

#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Tessel::Simulator {

/// The state of one controller: the records of its instances and the values of their properties.
///
/// A property of an instance shares the members that are also in the instance's record: writing the weight of
/// a cabinet changes the cabinet in the list. Replies are cached as text until something of their family is
/// written. May be used from any thread.
class ResourceStore
{
public:
    /// The outcome of a write.
    struct Written
    {
        enum class Status {
            Done,
            NoInstance, ///< the path names an instance that does not exist
            NoSpace     ///< the limit of stored values is exceeded
        };
        Status status = Status::Done;
        bool changed = false;
        bool all = false;             ///< whether all instances were addressed
        std::vector<std::string> ids; ///< the addressed instances, unless all were
    };

    explicit ResourceStore(Wall wall);

    const Wall& wall() const { return m_wall; }

    /// The reply to a GET on @p route with @p id for its placeholder; null if there is no such instance.
    SharedText read(const Route& route, const std::string& id);
    /// Writes @p body. A plural route addresses the instances that the body names, or all if it names none.
    Written write(const Route& route, const std::string& id, const nlohmann::json& body);
    /// Stores @p text unchanged, because it is too large to be parsed.
    Written writeText(const Route& route, const std::string& id, std::string text);
    /// Takes new measurements: temperatures and the like advance by one step. @return the step.
    std::size_t measure();
    /// Restores the initial state.
    void reset();

private:
    using Value = WrittenValues::Value;

    // All private functions are called with m_mutex held.
    Collection& records(Family family) { return m_records[static_cast<std::size_t>(family)]; }
    bool hasInstance(const Route& route, const std::string& id) const;
    std::optional<std::size_t> indexOf(Family family, const std::string& id) const;
    std::string idOf(Family family, std::size_t index);

    std::string readText(const Route& route, const std::string& id);
    std::string listText(Family family);
    std::string pluralText(const Route& route);
    nlohmann::json current(const Route& route, const std::string& id);

    Written writeProperty(const Route& route, const std::string& id, const nlohmann::json& body);
    Written writePlural(const Route& route, const nlohmann::json& body);
    Written writeRecords(const Route& route, const nlohmann::json& body);
    Written writeToAll(const Route& route, const nlohmann::json& body);
    static std::vector<Collection> makeRecords(const Wall& wall);

    const Wall m_wall;
    std::mutex m_mutex; ///< guards all members below
    std::vector<Collection> m_records;
    WrittenValues m_values;
    ReplyCache m_replies;
    std::size_t m_step = 0; ///< the number of measurements taken
};

} // namespace Tessel::Simulator

#endif
