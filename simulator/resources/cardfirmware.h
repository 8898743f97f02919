// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_CARDFIRMWARE_H
#define SIMULATOR_RESOURCES_CARDFIRMWARE_H

#include <simulator/text/envelope.h>

#include <mutex>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// The firmware file of the receiving cards: the factory file, until another one is uploaded and loaded. May
/// be used from any thread.
class CardFirmware
{
public:
    /// Stores a file for load() to put on the cards.
    void upload(std::string_view image);
    void load();
    /// The file of the card @p id of @p type.
    SharedText read(const std::string& type, const std::string& id) const;
    /// Restores the factory firmware.
    void reset();

private:
    mutable std::mutex m_mutex; ///< guards both
    SharedText m_uploaded;
    SharedText m_loaded; ///< null for the factory firmware
};

} // namespace Tessel::Simulator

#endif
