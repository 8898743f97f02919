// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_IOTHREADS_H
#define SIMULATOR_IOTHREADS_H

#include <memory>

namespace Tessel::Simulator {

/// Threads that do the network input and output of one or many simulators. Joined by the destructor, which
/// must not run on one of them; simulators that use it keep it alive.
class IoThreads
{
public:
    /// Starts @p threads of them, which is at least 1.
    explicit IoThreads(int threads = 1);
    ~IoThreads();
    IoThreads(const IoThreads&) = delete;
    IoThreads& operator=(const IoThreads&) = delete;

    class Private;
    /// For the simulator's own use.
    Private& d() { return *m_d; }

private:
    std::unique_ptr<Private> m_d;
};

} // namespace Tessel::Simulator

#endif
