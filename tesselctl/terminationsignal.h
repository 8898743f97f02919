// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINATIONSIGNAL_H
#define TESSELCTL_TERMINATIONSIGNAL_H

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace TesselCtl {

/// Turns SIGINT and SIGTERM into a call from the event loop while it exists.
///
/// To be created before other threads are: they inherit that the two signals are blocked.
class TerminationSignal
{
public:
    explicit TerminationSignal(std::function<void()> received);
    ~TerminationSignal();

private:
    sigset_t m_before{};
    int m_descriptor;
    std::unique_ptr<QSocketNotifier> m_notifier;
    Q_DISABLE_COPY_MOVE(TerminationSignal)
};

} // namespace TesselCtl

#endif
