// SPDX-License-Identifier: MIT
#include "communicator/runtime/observerlist.h"

namespace Krelm::Communicator::HttpDevice {

namespace {

// Calls of observers that this thread is in.
thread_local int callsHere = 0;

} // namespace

void RegisteredObserver::waitForCalls()
{
    if (callsHere > 0) {
        return;
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_returned.wait(lock, [this] { return m_calls == 0; });
}

void RegisteredObserver::forbidCalls()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_removed = true;
}

RegisteredObserver::Call::Call(RegisteredObserver& observer)
    : m_observer(observer)
{
    const std::lock_guard<std::mutex> lock(m_observer.m_mutex);
    m_begins = !m_observer.m_removed;
    if (m_begins) {
        ++m_observer.m_calls;
        ++callsHere;
    }
}

RegisteredObserver::Call::~Call()
{
    if (m_begins) {
        const std::lock_guard<std::mutex> lock(m_observer.m_mutex);
        --callsHere;
        --m_observer.m_calls;
        m_observer.m_returned.notify_all();
    }
}

} // namespace Krelm::Communicator::HttpDevice
