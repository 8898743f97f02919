// SPDX-License-Identifier: MIT
#ifndef BENCH_SERVERPROCESS_H
#define BENCH_SERVERPROCESS_H

#include <functional>
#include <string>
#include <sys/types.h>

/// A server in a process of its own, so that its processor time is not the client's.
///
/// To be made before the first thread and the QCoreApplication: it forks.
class ServerProcess
{
public:
    /// Calls @p serve in the child; it starts the server, hands its address to @p ready, and returns when
    /// that returns. ready() returns once the parent is done.
    explicit ServerProcess(
        const std::function<void(const std::function<void(const std::string&)>& ready)>& serve);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// Where the server listens; empty when it did not start.
    const std::string& address() const { return m_address; }

private:
    pid_t m_child = -1;
    int m_stop = -1;
    std::string m_address;
};

#endif
