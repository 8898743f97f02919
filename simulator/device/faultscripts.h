// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_FAULTSCRIPTS_H
#define SIMULATOR_DEVICE_FAULTSCRIPTS_H

#include <simulator/fault.h>
#include <simulator/routes/route.h>

#include <QList>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// The pending faults. May be used from any thread.
class FaultScripts
{
public:
    static constexpr std::size_t maxWaiting = 10000;

    void add(const Fault& fault);
    /// Adds all of them, or none if more than maxWaiting would wait. @return whether it did.
    bool add(const QList<Fault>& faults);
    void clear();
    /// The pending faults, with their remaining counts.
    std::vector<Fault> waiting();
    /// The fault that applies to a request, which is then counted. @p route is null if the path has none.
    std::optional<Fault> matchAndConsume(std::string_view method, const std::string& path,
                                         const Route* route);

private:
    using Clock = std::chrono::steady_clock;
    struct Script
    {
        Fault fault;
        std::string path;
        std::optional<Clock::time_point> end;
    };

    void insert(const Fault& fault);
    void removeEnded();

    static bool fits(const Script& script, std::string_view method, const std::string& path,
                     const Route* route);

    std::atomic<bool> m_any{false}; ///< saves locking while there are none
    std::mutex m_mutex;             ///< guards all members below
    std::vector<Script> m_scripts;
};

} // namespace Tessel::Simulator

#endif
