// SPDX-License-Identifier: MIT
#include "serverprocess.h"

#include <sys/wait.h>
#include <unistd.h>

ServerProcess::ServerProcess(
    const std::function<void(const std::function<void(const std::string&)>& ready)>& serve)
{
    int address[2];
    int stop[2];
    if (pipe(address) != 0 || pipe(stop) != 0) {
        return;
    }
    m_child = fork();
    if (m_child == 0) {
        close(address[0]);
        close(stop[1]);
        serve([&](const std::string& text) {
            if (write(address[1], text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
                return;
            }
            close(address[1]);
            char nothing = 0;
            while (read(stop[0], &nothing, 1) > 0) {
            }
        });
        _exit(0);
    }
    close(address[1]);
    close(stop[0]);
    m_stop = stop[1];
    char buffer[256];
    for (ssize_t got = 0; (got = read(address[0], buffer, sizeof buffer)) > 0;) {
        m_address.append(buffer, static_cast<std::size_t>(got));
    }
    close(address[0]);
}

ServerProcess::~ServerProcess()
{
    if (m_stop >= 0) {
        close(m_stop);
    }
    if (m_child > 0) {
        waitpid(m_child, nullptr, 0);
    }
}
