// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_CARDFIRMWARE_H
#define SIMULATOR_RESOURCES_CARDFIRMWARE_H

#include <simulator/text/envelope.h>

#include <mutex>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// The firmware file of the receiving cards: the one that they were delivered with until another was uploaded
/// and loaded. Operations may be called from any thread.
class CardFirmware
{
public:
    /// Takes a file that load() puts on the cards.
    void upload(std::string_view image);
    void load();
    /// The file of the card @p id of @p type.
    SharedText read(const std::string& type, const std::string& id) const;
    /// Back to the firmware of the delivery.
    void reset();

private:
    mutable std::mutex m_mutex; ///< guards both
    SharedText m_uploaded;
    SharedText m_loaded; ///< null: the one of the delivery
};

} // namespace Tessel::Simulator

#endif
