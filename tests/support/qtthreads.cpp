// SPDX-License-Identifier: MIT
// Tells the thread sanitizer how Qt's own library, which it does not see, orders threads: locks, semaphores,
// and the wait for a thread's end. Linked into programs, whose functions come before the library's; each
// calls the library's in turn.
#include <QMutex>
#include <QSemaphore>
#include <QThread>

#include <dlfcn.h>
#include <sanitizer/tsan_interface.h>

namespace {

template <typename Function>
Function nextOf(const char* symbol)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, symbol));
}

} // namespace

void QMutex::lock() QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto next = nextOf<void (*)(QMutex*)>("_ZN6QMutex4lockEv");
    __tsan_mutex_pre_lock(this, 0);
    next(this);
    __tsan_mutex_post_lock(this, 0, 0);
}

bool QMutex::tryLock(int timeout) QT_MUTEX_LOCK_NOEXCEPT
{
    static const auto next = nextOf<bool (*)(QMutex*, int)>("_ZN6QMutex7tryLockEi");
    __tsan_mutex_pre_lock(this, __tsan_mutex_try_lock);
    const bool locked = next(this, timeout);
    __tsan_mutex_post_lock(this, __tsan_mutex_try_lock | (locked ? 0 : __tsan_mutex_try_lock_failed), 0);
    return locked;
}

void QMutex::unlock() noexcept
{
    static const auto next = nextOf<void (*)(QMutex*)>("_ZN6QMutex6unlockEv");
    __tsan_mutex_pre_unlock(this, 0);
    next(this);
    __tsan_mutex_post_unlock(this, 0);
}

void QSemaphore::acquire(int n)
{
    static const auto next = nextOf<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7acquireEi");
    next(this, n);
    __tsan_acquire(this);
}

bool QSemaphore::tryAcquire(int n)
{
    static const auto next = nextOf<bool (*)(QSemaphore*, int)>("_ZN10QSemaphore10tryAcquireEi");
    const bool acquired = next(this, n);
    if (acquired) {
        __tsan_acquire(this);
    }
    return acquired;
}

bool QSemaphore::tryAcquire(int n, int timeout)
{
    static const auto next = nextOf<bool (*)(QSemaphore*, int, int)>("_ZN10QSemaphore10tryAcquireEii");
    const bool acquired = next(this, n, timeout);
    if (acquired) {
        __tsan_acquire(this);
    }
    return acquired;
}

void QSemaphore::release(int n)
{
    static const auto next = nextOf<void (*)(QSemaphore*, int)>("_ZN10QSemaphore7releaseEi");
    __tsan_release(this);
    next(this, n);
}

void QThread::start(Priority priority)
{
    static const auto next = nextOf<void (*)(QThread*, Priority)>("_ZN7QThread5startENS_8PriorityE");
    // Emitted by the thread that ends, before anyone who waits for it goes on.
    connect(
        this, &QThread::finished, this, [this] { __tsan_release(this); }, Qt::DirectConnection);
    next(this, priority);
}

bool QThread::wait(QDeadlineTimer deadline)
{
    static const auto next = nextOf<bool (*)(QThread*, QDeadlineTimer)>("_ZN7QThread4waitE14QDeadlineTimer");
    const bool ended = next(this, deadline);
    if (ended) {
        __tsan_acquire(this);
    }
    return ended;
}

bool QThread::wait(unsigned long time)
{
    static const auto next = nextOf<bool (*)(QThread*, unsigned long)>("_ZN7QThread4waitEm");
    const bool ended = next(this, time);
    if (ended) {
        __tsan_acquire(this);
    }
    return ended;
}
