// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"

#include "communicator/runtime/observerlist.h"

#include <utility>

namespace Krelm::Communicator::HttpDevice {

class Q_DECL_HIDDEN ObserverHandle::Observer
{
public:
    explicit Observer(std::shared_ptr<RegisteredObserver> observer)
        : registered(std::move(observer))
    {}

    const std::shared_ptr<RegisteredObserver> registered;
};

namespace {

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
        removed->registered->remove();
        removed->registered->waitForCalls();
    }
}

namespace {

ObserverHandle handle(std::shared_ptr<RegisteredObserver> registered)
{
    return registered ? ObserverHandle(std::make_shared<ObserverHandle::Observer>(std::move(registered)))
                      : ObserverHandle();
}

} // namespace

ObserverHandle addExchangeObserver(std::function<void(const ExchangeRecord&)> observer)
{
    return handle(observers<ExchangeRecord>().add(std::move(observer)));
}

ObserverHandle addProgressObserver(std::function<void(const ExchangeProgress&)> observer)
{
    return handle(observers<ExchangeProgress>().add(std::move(observer)));
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
