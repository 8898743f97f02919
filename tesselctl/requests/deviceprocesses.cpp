// SPDX-License-Identifier: MIT
#include "tesselctl/requests/deviceprocesses.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace TesselCtl {

namespace {

/// A process and the pipe on which its report comes.
struct Child
{
    int index;
    pid_t process;
    int pipe;
    QByteArray report;
};

/// SIGINT and SIGTERM as something to wait for, while it exists.
class Signals
{
public:
    Signals()
    {
        sigset_t signals;
        sigemptyset(&signals);
        sigaddset(&signals, SIGINT);
        sigaddset(&signals, SIGTERM);
        pthread_sigmask(SIG_BLOCK, &signals, &m_before);
        m_descriptor = signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK);
    }
    ~Signals()
    {
        // One that comes now would end the process as soon as it is let through.
        while (take() != 0) {
        }
        ::close(m_descriptor);
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

    int descriptor() const { return m_descriptor; }
    /// @return the number of a signal that came; 0 when none did.
    int take() const
    {
        signalfd_siginfo info{};
        const bool came = ::read(m_descriptor, &info, sizeof info) == static_cast<ssize_t>(sizeof info);
        return came ? static_cast<int>(info.ssi_signo) : 0;
    }

private:
    sigset_t m_before{};
    int m_descriptor = -1;
    Q_DISABLE_COPY_MOVE(Signals)
};

void writeAll(int pipe, const QByteArray& bytes)
{
    for (int written = 0; written < bytes.size();) {
        const ssize_t more =
            ::write(pipe, bytes.constData() + written, static_cast<std::size_t>(bytes.size() - written));
        if (more < 0 && errno != EINTR) {
            return;
        }
        written += static_cast<int>(std::max<ssize_t>(more, 0));
    }
}

/// The processes under way.
class Children
{
public:
    explicit Children(const DeviceProcesses& task)
        : m_task(task)
    {}
    ~Children() = default;

    std::size_t size() const { return m_children.size(); }

    /// @return whether it was begun.
    bool begin(int index)
    {
        int ends[2];
        if (::pipe2(ends, O_CLOEXEC) != 0) {
            return false;
        }
        const pid_t process = ::fork();
        if (process == 0) {
            // Whoever waits for this process may be gone before it ends.
            ::prctl(PR_SET_PDEATHSIG, SIGTERM);
            writeAll(ends[1], m_task.work(index));
            ::_exit(0);
        }
        ::close(ends[1]);
        if (process < 0) {
            ::close(ends[0]);
            return false;
        }
        m_children.push_back({index, process, ends[0], {}});
        return true;
    }

    void signal(int number) const
    {
        for (const Child& child : m_children) {
            ::kill(child.process, number);
        }
    }

    /// Waits until something can be read from a process or a signal came, and reads it. @return the processes
    /// that ended.
    std::vector<Child> readSome(int signals)
    {
        std::vector<pollfd> awaited{{signals, POLLIN, 0}};
        for (const Child& child : m_children) {
            awaited.push_back({child.pipe, POLLIN, 0});
        }
        std::vector<Child> ended;
        if (::poll(awaited.data(), awaited.size(), -1) <= 0) {
            return ended;
        }
        for (std::size_t i = m_children.size(); i > 0; --i) {
            if (awaited[i].revents != 0 && !readFrom(m_children[i - 1])) {
                ended.push_back(std::move(m_children[i - 1]));
                m_children.erase(m_children.begin() + static_cast<std::ptrdiff_t>(i - 1));
            }
        }
        return ended;
    }

private:
    // False once it has ended.
    static bool readFrom(Child& child)
    {
        char bytes[64 * 1024];
        const ssize_t count = ::read(child.pipe, bytes, sizeof bytes);
        if (count > 0) {
            child.report.append(bytes, static_cast<int>(count));
            return true;
        }
        if (count < 0 && errno == EINTR) {
            return true;
        }
        ::close(child.pipe);
        int status = 0;
        while (::waitpid(child.process, &status, 0) < 0 && errno == EINTR) {
        }
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            child.report.clear();
        }
        return false;
    }

    const DeviceProcesses& m_task;
    std::vector<Child> m_children;
    Q_DISABLE_COPY_MOVE(Children)
};

} // namespace

void DeviceProcesses::run(int count, int parallel) const
{
    const Signals signals;
    Children children(*this);
    std::vector<std::optional<QByteArray>> reports(static_cast<std::size_t>(count));
    std::vector<bool> settled(static_cast<std::size_t>(count), false);
    int begun = 0;
    int taken = 0;
    int signal = 0;
    bool stopped = false;
    while (taken < count) {
        while (!stopped && begun < count && children.size() < static_cast<std::size_t>(parallel)) {
            settled[static_cast<std::size_t>(begun)] = !children.begin(begun);
            ++begun;
        }
        for (; stopped && begun < count; ++begun) {
            settled[static_cast<std::size_t>(begun)] = true;
        }
        if (children.size() > 0) {
            for (Child& child : children.readSome(signals.descriptor())) {
                const auto at = static_cast<std::size_t>(child.index);
                settled[at] = true;
                if (!child.report.isEmpty()) {
                    reports[at] = std::move(child.report);
                }
                if (!stopped && endsAll && (!reports[at] || endsAll(*reports[at]))) {
                    stopped = true;
                    children.signal(SIGTERM);
                }
            }
        }
        if (const int came = signals.take(); came != 0) {
            signal = signal == 0 ? came : signal;
            stopped = true;
            children.signal(came);
        }
        for (; taken < count && settled[static_cast<std::size_t>(taken)]; ++taken) {
            take(taken, reports[static_cast<std::size_t>(taken)], signal);
        }
    }
}

} // namespace TesselCtl
