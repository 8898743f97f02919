// SPDX-License-Identifier: MIT
#ifndef TESTS_OTHERTHREAD_H
#define TESTS_OTHERTHREAD_H

#include <QThread>

#include <functional>
#include <memory>

/// Checks whether a call on another thread is blocked while this thread is busy with something.
class OtherThread
{
public:
    OtherThread() = default;
    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;
    /// Waits for a call that was blocked; nothing may block it any longer.
    ~OtherThread()
    {
        if (m_thread) {
            m_thread->wait();
        }
    }

    /// Runs @p call on a thread of its own. @return whether it returned within five seconds.
    bool getsThrough(std::function<void()> call)
    {
        m_thread.reset(QThread::create(std::move(call)));
        m_thread->start();
        return m_thread->wait(5000);
    }

private:
    std::unique_ptr<QThread> m_thread;
};

#endif
