// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_RESOURCES_WALL_H
#define SIMULATOR_RESOURCES_WALL_H

#include <simulator/options.h>
#include <simulator/routes/route.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace Tessel::Simulator {

/// The structure of a simulated wall: the number of its parts and how they are connected. Indexes start at 0,
/// ids at 1.
class Wall
{
public:
    static constexpr int cabinetPixels = 192;      ///< width and height of a cabinet
    static constexpr int cabinetMillimetres = 500; ///< width and height of a cabinet

    /// Uses the default counts where @p options leave them open, and clamps the others to their ranges.
    explicit Wall(const Options& options);

    bool multiScreen() const { return m_multiScreen; }
    std::size_t screens() const { return m_screens; }
    std::size_t cabinets() const { return m_cabinets; }
    std::size_t cardsPerCabinet() const { return m_cards; }
    std::size_t inputs() const { return m_inputs; }
    std::size_t outputs() const { return m_outputs; }
    std::size_t pipelines() const { return m_multiScreen ? 4 : 1; }

    /// The number of instances of a family.
    std::size_t count(Family family) const;

    std::size_t screenOf(std::size_t cabinet) const;
    std::size_t outputOf(std::size_t cabinet) const;
    /// The first cabinet of a screen, and the one after its last.
    std::pair<std::size_t, std::size_t> cabinetsOf(std::size_t screen) const;
    /// Cabinets side by side on a screen.
    std::size_t columnsOf(std::size_t screen) const;
    std::size_t rowsOf(std::size_t screen) const;

    /// A number from @p low to @p high that depends only on the seed, @p what and @p index.
    int vary(std::uint32_t what, std::size_t index, int low, int high) const;

    const std::string& name() const { return m_name; }
    const std::string& customName() const { return m_customName; }
    const std::string& ip() const { return m_ip; }
    std::uint32_t seed() const { return m_seed; }

private:
    bool m_multiScreen;
    std::size_t m_screens;
    std::size_t m_cabinets;
    std::size_t m_cards;
    std::size_t m_inputs;
    std::size_t m_outputs;
    std::uint32_t m_seed;
    std::string m_name;
    std::string m_customName;
    std::string m_ip;
};

} // namespace Tessel::Simulator

#endif
