// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_PROGRESSTRACKER_H
#define TESSELCTL_REQUESTS_PROGRESSTRACKER_H

#include <communicator/exchangeobserver.h>

#include <QString>

#include <memory>
#include <optional>

namespace TesselCtl {

/// Tells how many bytes of the exchanges under way travelled. It is the transport's progress observer while
/// it exists. May be used from any thread.
class ProgressTracker
{
public:
    using Progress = Krelm::Communicator::HttpDevice::ExchangeProgress;

    ProgressTracker();
    ~ProgressTracker();

    /// How far the latest exchange of @p device on @p path is; none when nothing of it travelled yet.
    std::optional<Progress> progress(const QString& device, const QString& path) const;

private:
    struct State;
    std::shared_ptr<State> m_state; // shared with the observer, which may outlast this object for a moment
    Q_DISABLE_COPY_MOVE(ProgressTracker)
};

} // namespace TesselCtl

#endif
