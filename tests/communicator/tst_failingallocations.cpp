// SPDX-License-Identifier: MIT
//
// Each allocation of a blocking exchange with `operator new` fails in turn, whoever makes it on the caller's
// thread: the transport, Qt, or the libraries for JSON and HTTP that are compiled into it. The exchange ends
// with a reason, or the caller gets std::bad_alloc.
//
// Not tried:
// - malloc(): Qt's strings and lists use it, and throw the same exception from the same places; libcurl and
// OpenSSL
//   report it as failures (see tst_failinglibcurl); libuv ends the process.
// - The I/O thread. There an exception has no caller to go to, and ends the process.
#include "failingscenarios.h"

#include <cstdlib>
#include <new>

void* operator new(std::size_t size)
{
    void* const memory = callFails() ? nullptr : std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

void* operator new(std::size_t size, const std::nothrow_t& /*unused*/) noexcept
{
    return callFails() ? nullptr : std::malloc(size);
}

void operator delete(void* memory) noexcept
{
    std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

class TestFailingAllocations : public QObject
{
    Q_OBJECT

    const std::vector<Scenario> m_scenarios = blockingScenarios();

private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void whicheverAllocationFailsEverythingEndsAndNothingIsLeft_data() { rowsOf(m_scenarios); }
    void whicheverAllocationFailsEverythingEndsAndNothingIsLeft()
    {
        QFETCH(int, number);
        QFETCH(Plan::Lasts, lasts);
        const QString held = failInTurn(m_scenarios[std::size_t(number)], lasts, 1000);
        QVERIFY2(held.isEmpty(), qPrintable(held));
    }
};

QTEST_GUILESS_MAIN(TestFailingAllocations)
#include "tst_failingallocations.moc"
