// SPDX-License-Identifier: MIT
#include "tesselctl/requests/progresstracker.h"

#include "tesselctl/requests/requestkey.h"

#include <map>
#include <mutex>

namespace TesselCtl {

using Krelm::Communicator::HttpDevice::setProgressObserver;

struct ProgressTracker::State
{
    std::mutex mutex; // guards the rest
    std::map<RequestKey, Progress> latest;
};

ProgressTracker::ProgressTracker()
    : m_state(std::make_shared<State>())
{
    setProgressObserver([state = m_state](const Progress& progress) {
        const RequestKey key = requestKey(progress.deviceKey, progress.path);
        const std::lock_guard<std::mutex> lock(state->mutex);
        state->latest[key] = progress;
    });
}

ProgressTracker::~ProgressTracker()
{
    setProgressObserver({});
}

std::optional<ProgressTracker::Progress> ProgressTracker::progress(const QString& device,
                                                                   const QString& path) const
{
    const std::lock_guard<std::mutex> lock(m_state->mutex);
    const auto found = m_state->latest.find(requestKey(device, path));
    return found == m_state->latest.end() ? std::nullopt : std::optional<Progress>(found->second);
}

} // namespace TesselCtl
