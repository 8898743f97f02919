// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_DEVICESTATE_H
#define SIMULATOR_DEVICE_DEVICESTATE_H

#include <simulator/device/eventhub.h>
#include <simulator/device/reply.h>
#include <simulator/resources/cardfirmware.h>
#include <simulator/resources/coefficientstore.h>
#include <simulator/resources/resourcestore.h>
#include <simulator/routes/routetable.h>

#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// The state of a controller. Reads and writes apply the change itself, its side effects on other resources
/// and the events that it causes. Thread-safe.
class DeviceState
{
public:
    /// @p events receives the events that writes cause, and must outlive this object.
    DeviceState(const Options& options, EventHub& events);

    /// Whether the controller has @p route, which may be null.
    bool serves(const Route* route) const;

    // A match passed to the following functions must have a route that the controller serves.

    Reply read(const RouteTable::Match& match);
    /// A value that clients poll, such as the progress of an update, advances with each read.
    void advanceProgress(const Route& route);

    Reply write(const RouteTable::Match& match, nlohmann::json body);
    Reply writeJson(const RouteTable::Match& match, std::string text);
    /// @p body is the whole file or its beginning, @p bodySize the size of the whole.
    Reply writeFile(const RouteTable::Match& match, std::string_view contentType, std::string_view body,
                    std::uint64_t bodySize);

    /// Takes new measurements and pushes a warning of the type @p eventType with @p data or, if that is null,
    /// with the measurements. @return the event's id; 0 if there is no such warning.
    std::uint64_t warn(const std::string& eventType, const nlohmann::json& data);
    /// Restores the initial state.
    void reset();

    CoefficientStore& coefficients() { return m_coefficients; }
    const Wall& wall() const { return m_store.wall(); }

private:
    Reply writeText(const RouteTable::Match& match, std::string text);
    Reply writeCoefficients(const RouteTable::Match& match, std::string_view text);
    Reply outcome(const Route& route, const ResourceStore::Written& written, const nlohmann::json& body);
    void applyEffects(const RouteTable::Match& match, const ResourceStore::Written& written);
    std::vector<std::string> addressedCabinets(const RouteTable::Match& match,
                                               const ResourceStore::Written& written) const;
    void writeAt(const char* path, const std::string& id, const nlohmann::json& body);

    ResourceStore m_store;
    CoefficientStore m_coefficients;
    CardFirmware m_cardFirmware;
    EventHub& m_events;
};

} // namespace Tessel::Simulator

#endif
