// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

namespace Krelm::Communicator::HttpDevice {

namespace {

// The observer calls that are running on this thread.
thread_local int callsHere = 0;

} // namespace

class ObserverHandle::Observer
{
public:
    virtual ~Observer() = default;
    /// Prevents further calls.
    virtual void remove() = 0;
    /// Waits for the calls that began before remove().
    void waitForCalls()
    {
        if (callsHere > 0) {
            return; // a call on another thread may be waiting for the one on this thread
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        m_returned.wait(lock, [this] { return m_calls == 0; });
    }

protected:
    /// Marks a running call while it lives, unless the observer was removed.
    class Call
    {
    public:
        explicit Call(Observer& observer)
            : m_observer(observer)
        {
            const std::lock_guard<std::mutex> lock(m_observer.m_mutex);
            m_begins = !m_observer.m_removed;
            if (m_begins) {
                ++m_observer.m_calls;
                ++callsHere;
            }
        }
        ~Call()
        {
            if (m_begins) {
                const std::lock_guard<std::mutex> lock(m_observer.m_mutex);
                --callsHere;
                --m_observer.m_calls;
                m_observer.m_returned.notify_all();
            }
        }
        bool begins() const { return m_begins; }

    private:
        Observer& m_observer;
        bool m_begins;
        Q_DISABLE_COPY_MOVE(Call)
    };
    void forbidCalls()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_removed = true;
    }

private:
    std::mutex m_mutex; ///< guards all below
    std::condition_variable m_returned;
    int m_calls = 0;
    bool m_removed = false;
};

namespace {

/// The observers of @p Record.
template <class Record>
class ObserverList
{
public:
    using Function = std::function<void(const Record&)>;

    bool isEmpty() const { return m_isEmpty; }

    std::shared_ptr<ObserverHandle::Observer> add(Function function)
    {
        if (!function) {
            return nullptr;
        }
        auto added = std::make_shared<Entry>(*this, std::move(function));
        change([&added](Entries& entries) { entries.push_back(added); });
        return added;
    }

    /// Replaces the function set before by @p function; does not wait for running calls.
    void set(Function function)
    {
        std::shared_ptr<ObserverHandle::Observer> replaced = add(std::move(function));
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
    class Entry : public ObserverHandle::Observer
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
        std::shared_ptr<const Entries>
            old; // may be the last reference to an observer, whose destructor may call this again
        const std::lock_guard<std::mutex> lock(m_mutex);
        auto changed = std::make_shared<Entries>(*m_entries);
        make(*changed);
        m_isEmpty = changed->empty();
        old = std::exchange(m_entries, std::move(changed));
    }

    std::atomic<bool> m_isEmpty{true};
    std::mutex m_mutex;                                                           ///< guards all below
    std::shared_ptr<const Entries> m_entries = std::make_shared<const Entries>(); ///< never changed, replaced
    std::shared_ptr<ObserverHandle::Observer> m_set;
};

// Never destroyed, because exchanges may finish during process exit.
template <class Record>
ObserverList<Record>& observers()
{
    static auto* const list = new ObserverList<Record>;
    return *list;
}

} // namespace

ObserverHandle::ObserverHandle() = default;

ObserverHandle::ObserverHandle(std::shared_ptr<Observer> observer)
    : m_observer(std::move(observer))
{}

ObserverHandle::~ObserverHandle()
{
    remove();
}

ObserverHandle::ObserverHandle(ObserverHandle&& other) noexcept = default;

ObserverHandle& ObserverHandle::operator=(ObserverHandle&& other) noexcept
{
    if (this != &other) {
        remove();
        m_observer = std::move(other.m_observer);
    }
    return *this;
}

void ObserverHandle::remove()
{
    if (const std::shared_ptr<Observer> removed = std::exchange(m_observer, nullptr)) {
        removed->remove();
        removed->waitForCalls();
    }
}

ObserverHandle addExchangeObserver(std::function<void(const ExchangeRecord&)> observer)
{
    return ObserverHandle(observers<ExchangeRecord>().add(std::move(observer)));
}

ObserverHandle addProgressObserver(std::function<void(const ExchangeProgress&)> observer)
{
    return ObserverHandle(observers<ExchangeProgress>().add(std::move(observer)));
}

void setExchangeObserver(std::function<void(const ExchangeRecord&)> observer)
{
    observers<ExchangeRecord>().set(std::move(observer));
}

void setProgressObserver(std::function<void(const ExchangeProgress&)> observer)
{
    observers<ExchangeProgress>().set(std::move(observer));
}

bool isExchangeObserved()
{
    return !observers<ExchangeRecord>().isEmpty();
}

bool isProgressObserved()
{
    return !observers<ExchangeProgress>().isEmpty();
}

void tellObservers(const ExchangeRecord& record)
{
    observers<ExchangeRecord>().tell(record);
}

void tellObservers(const ExchangeProgress& progress)
{
    observers<ExchangeProgress>().tell(progress);
}

} // namespace Krelm::Communicator::HttpDevice
