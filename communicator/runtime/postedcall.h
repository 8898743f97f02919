// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_POSTEDCALL_H
#define COMMUNICATOR_RUNTIME_POSTEDCALL_H

#include <QMetaObject>
#include <QObject>

#include <atomic>
#include <utility>

namespace Krelm::Communicator::HttpDevice {

/// A closure created on one thread and run or destroyed on another. The hand-over is synchronised by its own
/// flag alone, and not by Qt's event queue, whose synchronisation the thread sanitizer cannot see.
template <class Call>
class PostedCall
{
public:
    explicit PostedCall(Call call)
        : m_call(std::move(call))
    {
        release();
    }
    PostedCall(PostedCall&& other) noexcept
        : PostedCall(std::move(other.m_call))
    {}
    ~PostedCall() { acquire(); }
    PostedCall(const PostedCall&) = delete;
    PostedCall& operator=(const PostedCall&) = delete;
    PostedCall& operator=(PostedCall&&) = delete;

    void operator()()
    {
        acquire();
        m_call();
        release();
    }

private:
    void release() { m_released.store(true, std::memory_order_release); }
    void acquire() const { (void)m_released.load(std::memory_order_acquire); }

    Call m_call;
    std::atomic<bool> m_released{false};
};

/// Runs @p call later on the thread of @p receiver, unless the receiver is destroyed first.
template <class Call>
void postCall(QObject* receiver, Call call)
{
    QMetaObject::invokeMethod(receiver, PostedCall<Call>(std::move(call)), Qt::QueuedConnection);
}

} // namespace Krelm::Communicator::HttpDevice

#endif
