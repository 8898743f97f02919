// SPDX-License-Identifier: MIT
#ifndef BENCH_SERVERPROCESS_H
#define BENCH_SERVERPROCESS_H

#include <functional>
#include <string>
#include <sys/types.h>

/// A server in a separate process, so that its processor time is not counted as the client's.
///
/// It forks: create it before any thread and the QCoreApplication.
class ServerProcess
{
public:
    /// Calls @p serve in the child, which starts the server and passes its address to @p ready. ready()
    /// returns when the parent is done; serve() must then return.
    explicit ServerProcess(
        const std::function<void(const std::function<void(const std::string&)>& ready)>& serve);
    ~ServerProcess();
    ServerProcess(const ServerProcess&) = delete;
    ServerProcess& operator=(const ServerProcess&) = delete;

    /// The server's address; empty if it did not start.
    const std::string& address() const { return m_address; }

private:
    pid_t m_child = -1;
    int m_stop = -1;
    std::string m_address;
};

#endif
