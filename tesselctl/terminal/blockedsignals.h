// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_BLOCKEDSIGNALS_H
#define TESSELCTL_TERMINAL_BLOCKEDSIGNALS_H

#include <QtGlobal>

#include <csignal>

namespace TesselCtl {

/// Keeps SIGINT and SIGTERM from ending the process while it exists: they can be read instead.
///
/// To be created before other threads are: they inherit that the two signals are blocked.
class BlockedSignals
{
public:
    BlockedSignals();
    /// Forgets what came and was not taken.
    ~BlockedSignals();

    /// Becomes readable when a signal comes.
    int descriptor() const { return m_descriptor; }
    /// Takes a signal that came. @return its number; 0 when none came. Does not wait.
    int take() const;

private:
    sigset_t m_before{};
    int m_descriptor;
    Q_DISABLE_COPY_MOVE(BlockedSignals)
};

} // namespace TesselCtl

#endif
