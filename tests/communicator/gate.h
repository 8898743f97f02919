// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_GATE_H
#define TESTS_COMMUNICATOR_GATE_H

#include <atomic>
#include <future>

/// Lets a function of the application wait until it is opened; at the latest when it is destroyed.
class Gate
{
public:
    ~Gate() { open(); }
    void open()
    {
        if (!m_isOpen.exchange(true)) {
            m_promise.set_value();
        }
    }
    void pass() const { m_future.wait(); }

private:
    std::promise<void> m_promise;
    const std::shared_future<void> m_future = m_promise.get_future().share();
    std::atomic<bool> m_isOpen{false};
};

#endif
