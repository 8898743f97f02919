// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/blockedsignals.h"

#include <sys/signalfd.h>
#include <unistd.h>

namespace TesselCtl {

BlockedSignals::BlockedSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    m_descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

BlockedSignals::~BlockedSignals()
{
    while (take() != 0) {
    }
    ::close(m_descriptor);
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

int BlockedSignals::take() const
{
    signalfd_siginfo info{};
    const bool came = ::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info);
    return came ? static_cast<int>(info.ssi_signo) : 0;
}

} // namespace TesselCtl
