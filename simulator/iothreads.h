// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_IOTHREADS_H
#define SIMULATOR_IOTHREADS_H

#include <memory>

namespace Tessel::Simulator {

/// Threads that carry out the network I/O of one or more simulators. The simulators that use them keep them
/// alive. The destructor joins the threads.
/// @warning The destructor must not run on one of these threads.
class IoThreads
{
public:
    /// Starts @p threads of them, which is at least 1.
    explicit IoThreads(int threads = 1);
    ~IoThreads();
    IoThreads(const IoThreads&) = delete;
    IoThreads& operator=(const IoThreads&) = delete;

    class Private;
    /// For internal use by the simulator.
    Private& d() { return *m_d; }

private:
    std::unique_ptr<Private> m_d;
};

} // namespace Tessel::Simulator

#endif
