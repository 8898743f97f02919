// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_MISTAKELOG_H
#define SIMULATOR_DEVICE_MISTAKELOG_H

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <set>
#include <string>

namespace Tessel::Simulator {

/// Counts mistakes of clients, and writes each kind of them to standard error once, in lines that do not
/// flood it. Thread-safe.
class MistakeLog
{
public:
    static constexpr int linesAtOnce = 20;           ///< in each pause
    static constexpr std::chrono::seconds pause{10}; ///< before there are further lines
    static constexpr std::size_t maxKinds = 1000;    ///< that are told, and remembered
    using Clock = std::chrono::steady_clock;

    /// Writes to @p out, or nothing if that is null.
    explicit MistakeLog(std::FILE* out)
        : m_out(out)
    {}

    /// A mistake of the kind @p kind has come. @p text is one line for a person.
    void note(const std::string& kind, const std::string& text, Clock::time_point now = Clock::now());
    /// How many have come.
    std::uint64_t count() const;
    /// Begins to count anew, and to tell.
    void reset();

private:
    std::FILE* const m_out;
    mutable std::mutex m_mutex; ///< guards what follows, and the order of the lines
    std::uint64_t m_count = 0;
    std::set<std::string> m_told;
    Clock::time_point m_begin{};
    int m_lines = 0; ///< since then
};

} // namespace Tessel::Simulator

#endif
