// SPDX-License-Identifier: MIT
#include "terminationsignal.h"

#include <QObject>

#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

namespace TesselCtl {

TerminationSignal::TerminationSignal(std::function<void()> received)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &m_before);
    m_descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, m_notifier.get(),
                     [descriptor = m_descriptor, received = std::move(received)] {
                         signalfd_siginfo info{};
                         if (::read(descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info))
                             received();
                     });
}

TerminationSignal::~TerminationSignal()
{
    m_notifier.reset();
    ::close(m_descriptor);
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

} // namespace TesselCtl
