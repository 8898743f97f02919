// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_FAULTSCRIPTS_H
#define SIMULATOR_DEVICE_FAULTSCRIPTS_H

#include <simulator/fault.h>
#include <simulator/routes/route.h>

#include <atomic>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

/// The fault scripts that are still to strike. Operations may be called from any thread.
class FaultScripts
{
public:
    void add(const Fault& fault);
    void clear();
    /// The scripts that wait, with what is left of their counts.
    std::vector<Fault> waiting() const;
    /// The fault that strikes a request, counted as done. @p route is null when the path has none.
    std::optional<Fault> matchAndConsume(std::string_view method, const std::string& path,
                                         const Route* route);

private:
    struct Script
    {
        Fault fault;
        std::string path;
    };

    static bool fits(const Script& script, std::string_view method, const std::string& path,
                     const Route* route);

    std::atomic<bool> m_any{false}; ///< spares the lock while there is nothing to do
    mutable std::mutex m_mutex;     ///< guards everything below
    std::vector<Script> m_scripts;
};

} // namespace Tessel::Simulator

#endif
