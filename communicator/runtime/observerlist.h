// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_OBSERVERLIST_H
#define COMMUNICATOR_RUNTIME_OBSERVERLIST_H

#include <QtGlobal>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

/// An observer in a list, as the one who registered it sees it. From any thread.
class RegisteredObserver
{
public:
    virtual ~RegisteredObserver() = default;
    /// Has no further call begin.
    virtual void remove() = 0;
    /// Waits for the calls that began before remove(), unless it is called from within an observer: the call
    /// of another thread may wait for the one of this thread.
    void waitForCalls();

protected:
    /// While it lives, a call is under way; unless the observer was removed.
    class Call
    {
    public:
        explicit Call(RegisteredObserver& observer);
        ~Call();
        bool begins() const { return m_begins; }

    private:
        RegisteredObserver& m_observer;
        bool m_begins;
        Q_DISABLE_COPY_MOVE(Call)
    };
    void forbidCalls();

private:
    std::mutex m_mutex; ///< guards all below
    std::condition_variable m_returned;
    int m_calls = 0;
    bool m_removed = false;
};

/// The observers that want @p Record. No lock is held while one is called. From any thread.
template <class Record>
class ObserverList
{
public:
    using Function = std::function<void(const Record&)>;

    bool isEmpty() const { return m_isEmpty; }

    std::shared_ptr<RegisteredObserver> add(Function function)
    {
        if (!function) {
            return nullptr;
        }
        auto added = std::make_shared<Entry>(*this, std::move(function));
        change([&added](Entries& entries) { entries.push_back(added); });
        return added;
    }

    /// Has @p function take the place of the one set before; waits for no call.
    void set(Function function)
    {
        std::shared_ptr<RegisteredObserver> replaced = add(std::move(function));
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_set.swap(replaced);
        }
        if (replaced) {
            replaced->remove();
        }
    }

    void tell(const Record& record)
    {
        if (m_isEmpty) {
            return;
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        const std::shared_ptr<const Entries> entries = m_entries;
        lock.unlock();
        for (const std::shared_ptr<Entry>& entry : *entries) {
            entry->call(record);
        }
    }

private:
    class Entry : public RegisteredObserver
    {
    public:
        Entry(ObserverList& list, Function function)
            : m_list(list)
            , m_function(std::move(function))
        {}

        void call(const Record& record)
        {
            const Call call(*this);
            if (call.begins()) {
                m_function(record);
            }
        }

        void remove() override
        {
            forbidCalls();
            m_list.change([this](Entries& entries) {
                entries.erase(std::remove_if(entries.begin(), entries.end(),
                                             [this](const auto& entry) { return entry.get() == this; }),
                              entries.end());
            });
        }

    private:
        ObserverList& m_list;
        const Function m_function;
    };
    using Entries = std::vector<std::shared_ptr<Entry>>;

    template <class Change>
    void change(Change make)
    {
        std::shared_ptr<const Entries> old; // an observer may end with it, and its end may come back here
        const std::lock_guard<std::mutex> lock(m_mutex);
        auto changed = std::make_shared<Entries>(*m_entries);
        make(*changed);
        m_isEmpty = changed->empty();
        old = std::exchange(m_entries, std::move(changed));
    }

    std::atomic<bool> m_isEmpty{true};
    std::mutex m_mutex;                                                           ///< guards all below
    std::shared_ptr<const Entries> m_entries = std::make_shared<const Entries>(); ///< never changed, replaced
    std::shared_ptr<RegisteredObserver> m_set;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
