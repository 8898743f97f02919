// SPDX-License-Identifier: MIT
#include <simulator/resources/wall.h>

#include <algorithm>
#include <cmath>

namespace Tessel::Simulator {
namespace {

std::size_t bounded(int asked, int usual, int low, int high)
{
    return static_cast<std::size_t>(std::clamp(asked < 0 ? usual : asked, low, high));
}

std::string orDefault(const QString& text, const char* usual)
{
    return text.isEmpty() ? usual : text.toStdString();
}

} // namespace

Wall::Wall(const Options& options)
    : m_multiScreen(options.protocol == Protocol::MultiScreen)
    , m_screens(m_multiScreen ? bounded(options.screens, 2, 1, 64) : 1)
    , m_cabinets(bounded(options.cabinets, m_multiScreen ? 240 : 16, 0, 10000))
    , m_cards(bounded(options.receivingCards, 1, 1, 16))
    , m_inputs(bounded(options.inputs, m_multiScreen ? 4 : 2, 1, 256))
    , m_outputs(std::max<std::size_t>(m_multiScreen ? 16 : 4, (m_cabinets + 15) / 16))
    , m_seed(options.seed)
    , m_name(orDefault(options.name, m_multiScreen ? "Wall Controller 16P" : "Wall Controller 4P"))
    , m_customName(orDefault(options.customName, m_multiScreen ? "Main Hall" : "Lobby"))
    , m_ip(options.bindAddress.toStdString())
{}

std::size_t Wall::count(Family family) const
{
    switch (family) {
    case Family::Screen:
        return screens();
    case Family::Cabinet:
        return cabinets();
    case Family::Input:
        return inputs();
    case Family::Output:
        return outputs();
    case Family::Pipeline:
    case Family::Channel:
        return pipelines();
    case Family::Device:
        break;
    }
    return 1;
}

std::size_t Wall::screenOf(std::size_t cabinet) const
{
    // The inverse of cabinetsOf(): the last screen that starts at or before the cabinet.
    return ((cabinet + 1) * m_screens - 1) / m_cabinets;
}

std::size_t Wall::outputOf(std::size_t cabinet) const
{
    return cabinet * m_outputs / m_cabinets;
}

std::pair<std::size_t, std::size_t> Wall::cabinetsOf(std::size_t screen) const
{
    return {screen * m_cabinets / m_screens, (screen + 1) * m_cabinets / m_screens};
}

std::size_t Wall::columnsOf(std::size_t screen) const
{
    const auto [first, last] = cabinetsOf(screen);
    const auto columns = std::ceil(std::sqrt(static_cast<double>(last - first) * 16 / 9));
    return std::max<std::size_t>(1, static_cast<std::size_t>(columns));
}

std::size_t Wall::rowsOf(std::size_t screen) const
{
    const auto [first, last] = cabinetsOf(screen);
    const auto columns = columnsOf(screen);
    return (last - first + columns - 1) / columns;
}

int Wall::vary(std::uint32_t what, std::size_t index, int low, int high) const
{
    // splitmix64
    std::uint64_t z = (static_cast<std::uint64_t>(m_seed) << 32 ^ what) + (index + 1) * 0x9e3779b97f4a7c15ULL;
    z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
    z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
    z ^= z >> 31;
    return low + static_cast<int>(z % static_cast<std::uint64_t>(high - low + 1));
}

} // namespace Tessel::Simulator
