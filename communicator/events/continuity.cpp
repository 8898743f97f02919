// SPDX-License-Identifier: MIT
#include "communicator/events/continuity.h"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

namespace Krelm::Communicator::HttpDevice {

namespace {

struct Position
{
    std::string_view epoch;
    std::uint64_t sequence = 0;
};

std::optional<Position> positionOf(const QByteArray& id)
{
    const std::string_view text(id.constData(), static_cast<std::size_t>(id.size()));
    const std::size_t colon = text.rfind(':');
    if (colon == std::string_view::npos || colon == 0) {
        return std::nullopt;
    }
    Position position{text.substr(0, colon)};
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, position.sequence);
    return error == std::errc() && rest == end ? std::optional(position) : std::nullopt;
}

enum class Step { Continues, Jumps, Unknown };

Step stepBetween(const QByteArray& before, const QByteArray& after)
{
    if (before == after) {
        return Step::Continues;
    }
    const auto from = positionOf(before);
    const auto to = positionOf(after);
    if (!from || !to) {
        return Step::Unknown;
    }
    const bool follows = from->epoch == to->epoch && from->sequence + 1 == to->sequence;
    return follows ? Step::Continues : Step::Jumps;
}

} // namespace

bool Continuity::opened(const QByteArray& lastId)
{
    const bool isFirst = !m_wasOpen && !m_isInterrupted && lastId.isEmpty();
    const bool cannotBeProven = !isFirst && (lastId.isEmpty() || m_isInterrupted);
    m_wasOpen = true;
    m_isInterrupted = false;
    m_isUnproven = !isFirst && !cannotBeProven;
    m_lastId = lastId;
    return cannotBeProven;
}

bool Continuity::idCame(const QByteArray& id)
{
    const QByteArray before = std::exchange(m_lastId, id);
    const bool mustProve = std::exchange(m_isUnproven, false);
    if (before.isEmpty()) {
        return mustProve;
    }
    const Step step = stepBetween(before, id);
    return step == Step::Jumps || (mustProve && step == Step::Unknown);
}

bool Continuity::nothingProven()
{
    return std::exchange(m_isUnproven, false);
}

bool Continuity::gapCame()
{
    m_isUnproven = false;
    return true;
}

} // namespace Krelm::Communicator::HttpDevice
