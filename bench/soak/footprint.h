// SPDX-License-Identifier: MIT
#ifndef BENCH_SOAK_FOOTPRINT_H
#define BENCH_SOAK_FOOTPRINT_H

#include <QString>
#include <QStringList>

/// What this process holds of the machine at one moment.
struct Footprint
{
    double resident = 0;      ///< mebibytes of memory in use, after the allocator has returned what it can
    double allocated = 0;     ///< mebibytes that the program has allocated and not freed
    int sockets = 0;          ///< open sockets of the network, idle connections among them
    int otherDescriptors = 0; ///< all other open descriptors
    int threads = 0;          ///< running threads
};

/// The footprint now.
Footprint footprint();

/// Whether memory can be judged: sanitizers keep what is freed.
bool canJudgeMemory();

/// By how much a footprint may exceed the greatest of the warm-up. Connections are kept idle until they are
/// used again or their device is removed, so that their number goes on growing slowly up to its limit.
struct Allowance
{
    /// For @p devices devices that are called on @p callers threads.
    Allowance(int devices, int callers)
        : resident(24 + devices / 4)
        , allocated(8 + devices / 4)
        , sockets(2 * (1 + 16 + 64) * devices)
        , otherDescriptors(2 * callers)
    {}

    const int resident;         ///< mebibytes; the allocator does not return all
    const int allocated;        ///< mebibytes; the idle connections have some, those with TLS most
    const int sockets;          ///< both ends of an event stream, and of 16 and 64 idle connections
    const int otherDescriptors; ///< a pair for each connection that is being opened
    const int threads = 0;      ///< all there are have been started during the warm-up
};

/// The greater of both in each respect.
Footprint greatestOf(const Footprint& one, const Footprint& other);

/// What @p now exceeds @p warm by more than @p allowance in, one sentence each; empty if nothing has grown.
QStringList growth(const Footprint& warm, const Footprint& now, const Allowance& allowance);

#endif
