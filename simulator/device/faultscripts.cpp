// SPDX-License-Identifier: MIT
#include <simulator/device/faultscripts.h>

#include <algorithm>

namespace Tessel::Simulator {

void FaultScripts::add(const Fault& fault)
{
    const std::lock_guard lock(m_mutex);
    insert(fault);
}

bool FaultScripts::add(const QList<Fault>& faults)
{
    const std::lock_guard lock(m_mutex);
    removeEnded();
    if (m_scripts.size() + static_cast<std::size_t>(faults.size()) > maxWaiting) {
        return false;
    }
    for (const auto& fault : faults) {
        insert(fault);
    }
    return true;
}

void FaultScripts::insert(const Fault& fault)
{
    if (fault.times == 0) {
        return;
    }
    std::optional<Clock::time_point> end;
    if (fault.duration > 0) {
        end = Clock::now() + std::chrono::milliseconds(fault.duration);
    }
    m_scripts.push_back({fault, fault.path.toStdString(), end});
    m_any = true;
}

void FaultScripts::removeEnded()
{
    const auto now = Clock::now();
    m_scripts.erase(std::remove_if(m_scripts.begin(), m_scripts.end(),
                                   [now](const Script& script) { return script.end && *script.end <= now; }),
                    m_scripts.end());
    m_any = !m_scripts.empty();
}

void FaultScripts::clear()
{
    const std::lock_guard lock(m_mutex);
    m_scripts.clear();
    m_any = false;
}

std::vector<Fault> FaultScripts::waiting()
{
    const std::lock_guard lock(m_mutex);
    removeEnded();
    std::vector<Fault> faults;
    for (const auto& script : m_scripts) {
        faults.push_back(script.fault);
    }
    return faults;
}

std::optional<Fault> FaultScripts::matchAndConsume(std::string_view method, const std::string& path,
                                                   const Route* route)
{
    if (!m_any) {
        return std::nullopt;
    }
    const std::lock_guard lock(m_mutex);
    removeEnded();
    for (auto it = m_scripts.begin(); it != m_scripts.end(); ++it) {
        if (!fits(*it, method, path, route)) {
            continue;
        }
        if (it->fault.after > 0) {
            --it->fault.after;
            continue;
        }
        Fault fault = it->fault;
        if (it->fault.times > 0 && --it->fault.times == 0) {
            m_scripts.erase(it);
        }
        m_any = !m_scripts.empty();
        return fault;
    }
    return std::nullopt;
}

bool FaultScripts::fits(const Script& script, std::string_view method, const std::string& path,
                        const Route* route)
{
    const auto& wanted = script.fault.method;
    if (!wanted.isEmpty() &&
        method != std::string_view(wanted.constData(), static_cast<std::size_t>(wanted.size()))) {
        return false;
    }
    if (script.path == "*" || script.path == path) {
        return true;
    }
    return route && (script.path == route->pattern ||
                     std::find(route->keys.begin(), route->keys.end(), script.path) != route->keys.end());
}

} // namespace Tessel::Simulator
