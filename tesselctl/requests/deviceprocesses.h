// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_DEVICEPROCESSES_H
#define TESSELCTL_REQUESTS_DEVICEPROCESSES_H

#include <QByteArray>

#include <functional>
#include <optional>

namespace TesselCtl {

/// Does something for each of several devices, several at once. Each has a process of its own: the library's
/// caches belong to one thread, and a device that stalls holds nobody up.
struct DeviceProcesses
{
    /// Does it for the device at @p index, in the process of that device, which ends then; only this thread
    /// is there. @return what the parent is to know.
    std::function<QByteArray(int index)> work;
    /// Whether what work() returned tells a failure, after which nothing else is to be done. Called in the
    /// order in which the processes end. Empty: all devices get their turn.
    std::function<bool(const QByteArray& report)> endsAll;
    /// Takes what work() returned, in the order of the indexes; null if it was not begun, or if its process
    /// ended without a word. @p signal: the one that came so far; 0 if none did.
    std::function<void(int index, const std::optional<QByteArray>& report, int signal)> take;

    /// Does it for @p count devices, at most @p parallel at once, and waits for all. SIGINT and SIGTERM are
    /// passed on to the processes, and none is begun any more. No other thread may exist in this process.
    void run(int count, int parallel) const;
};

} // namespace TesselCtl

#endif
