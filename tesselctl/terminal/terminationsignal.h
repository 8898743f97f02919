// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_TERMINATIONSIGNAL_H
#define TESSELCTL_TERMINAL_TERMINATIONSIGNAL_H

#include "tesselctl/terminal/blockedsignals.h"

#include <QSocketNotifier>

#include <functional>

namespace TesselCtl {

/// Turns SIGINT and SIGTERM into a call from the event loop while it exists.
///
/// To be created before other threads are, see BlockedSignals.
class TerminationSignal
{
public:
    explicit TerminationSignal(std::function<void()> received);

private:
    const BlockedSignals m_signals;
    QSocketNotifier m_notifier;
    Q_DISABLE_COPY_MOVE(TerminationSignal)
};

} // namespace TesselCtl

#endif
