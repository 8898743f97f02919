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
/// A property of an instance shares the members that the instance's record has too: writing the weight of a
/// cabinet changes the cabinet in the list. Replies are kept as text until something of their family is
/// written. Operations may be called from any thread.
class ResourceStore
{
public:
    /// What a write did.
    struct Written
    {
        enum class Status {
            Done,
            NoInstance, ///< the path names an instance that the controller lacks
            NoSpace     ///< more than a controller keeps
        };
        Status status = Status::Done;
        bool changed = false;
        bool all = false;             ///< every instance was addressed
        std::vector<std::string> ids; ///< the instances addressed, unless it was all
    };

    explicit ResourceStore(Wall wall);

    const Wall& wall() const { return m_wall; }

    /// The reply to a GET on @p route with @p id in the place of its placeholder; null when there is no such
    /// instance.
    SharedText read(const Route& route, const std::string& id);
    /// Writes @p body. A plural route takes the instances that the body names, and all when it names none.
    Written write(const Route& route, const std::string& id, const nlohmann::json& body);
    /// Keeps @p text as it is: what is too large to be worth taking apart.
    Written writeText(const Route& route, const std::string& id, std::string text);
    /// Measures anew: temperatures and the like move on by one step. @return the step.
    std::size_t measure();
    /// Back to the starting content.
    void reset();

private:
    using Value = WrittenValues::Value;

    // All private operations are called with m_mutex held.
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
    std::mutex m_mutex; ///< guards everything below
    std::vector<Collection> m_records;
    WrittenValues m_values;
    ReplyCache m_replies;
    std::size_t m_step = 0; ///< how often it was measured anew
};

} // namespace Tessel::Simulator

#endif
