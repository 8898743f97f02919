// SPDX-License-Identifier: MIT
#include "tesselctl/terminal/interruption.h"

#include <QObject>
#include <QTimer>

#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>

namespace TesselCtl {

namespace {

/// Blocks the signals on this thread. @return a descriptor that they can be
/// read from.
int openSignals(sigset_t& before)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &before);
    return signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
}

/// @return the number of a signal that came; 0 when none did. Does not wait.
int takeSignal(int signals)
{
    signalfd_siginfo info{};
    const bool came = ::read(signals, &info, sizeof info) == static_cast<ssize_t>(sizeof info);
    return came ? static_cast<int>(info.ssi_signo) : 0;
}

void makeReadable(int descriptor)
{
    const std::uint64_t one = 1;
    while (::write(descriptor, &one, sizeof one) < 0) {
    }
}

} // namespace

Interruption::Interruption(Handler handler)
    : m_handler(std::move(handler))
    , m_signals(openSignals(m_before))
    , m_happened(eventfd(0, EFD_CLOEXEC))
    , m_leave(eventfd(0, EFD_CLOEXEC))
    , m_listener([this] { listen(); })
{}

Interruption::~Interruption()
{
    makeReadable(m_leave);
    m_listener.join();
    // A signal that came too late for the handler would end the process as soon as it is let through.
    while (takeSignal(m_signals) != 0) {
    }
    ::close(m_signals);
    ::close(m_happened);
    ::close(m_leave);
    pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
}

void Interruption::listen()
{
    pollfd awaited[] = {{m_leave, POLLIN, 0}, {m_signals, POLLIN, 0}};
    while (awaited[0].revents == 0) {
        ::poll(awaited, 2, -1);
        const int signal = takeSignal(m_signals);
        if (signal == 0) {
            continue;
        }
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_signal = m_signal == 0 ? signal : m_signal;
        }
        m_came.notify_all();
        makeReadable(m_happened);
        if (m_handler) {
            m_handler();
        }
    }
}

int Interruption::signal() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_signal;
}

bool Interruption::pause(std::chrono::milliseconds time) const
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_came.wait_for(lock, time, [this] { return m_signal != 0; });
}

Interruption::Handler Interruption::inEventLoopOf(QObject* context, std::function<void()> function)
{
    auto* const call = new QTimer(context);
    call->setSingleShot(true);
    QObject::connect(call, &QTimer::timeout, context, std::move(function));
    // By name, so that nothing of ours is made on one thread and used on the other.
    return [call] { QMetaObject::invokeMethod(call, "start", Qt::QueuedConnection); };
}

} // namespace TesselCtl
