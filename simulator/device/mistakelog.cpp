// SPDX-License-Identifier: MIT
#include <simulator/device/mistakelog.h>

namespace Tessel::Simulator {

void MistakeLog::note(const std::string& kind, const std::string& text, Clock::time_point now)
{
    const std::lock_guard lock(m_mutex);
    ++m_count;
    if (!m_out || m_told.size() >= maxKinds || m_told.count(kind) > 0) {
        return;
    }
    if (m_lines == 0 || now - m_begin >= pause) {
        m_begin = now;
        m_lines = 0;
    }
    // What is not told now may be told when it comes again.
    if (m_lines > linesAtOnce) {
        return;
    }
    if (++m_lines > linesAtOnce) {
        std::fprintf(m_out, "tessel-sim: further mistakes are in GET /sim/requests\n");
        return;
    }
    m_told.insert(kind);
    std::fprintf(m_out, "tessel-sim: %s\n", text.c_str());
}

std::uint64_t MistakeLog::count() const
{
    const std::lock_guard lock(m_mutex);
    return m_count;
}

void MistakeLog::reset()
{
    const std::lock_guard lock(m_mutex);
    m_count = 0;
    m_told.clear();
    m_lines = 0;
}

} // namespace Tessel::Simulator
