// SPDX-License-Identifier: MIT
#include "communicator/runtime/backgroundthread.h"
#include "nothreads.h"

#include <QtTest>

#include <csignal>
#include <future>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;

namespace {

bool isBlocked(int signal)
{
    sigset_t blocked;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    return sigismember(&blocked, signal) == 1;
}

} // namespace

class TestBackgroundThread : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aTaskRunsOnAThreadOfItsOwnThatHandlesNoSignals()
    {
        const auto ran = std::make_shared<std::promise<std::pair<std::thread::id, bool>>>();
        auto result = ran->get_future();
        QVERIFY(runInBackground([ran] {
            ran->set_value({std::this_thread::get_id(), isBlocked(SIGTERM) && isBlocked(SIGUSR1)});
        }));
        QCOMPARE(result.wait_for(std::chrono::seconds(10)), std::future_status::ready);
        const auto [thread, blocksSignals] = result.get();
        QVERIFY(thread != std::this_thread::get_id());
        QVERIFY(blocksSignals);
        QVERIFY(!isBlocked(SIGTERM) && !isBlocked(SIGUSR1));
    }

    void withoutAThreadNothingRunsAndTheCallerLearnsIt()
    {
        bool ran = false;
        bool isStarted = true;
        {
            const NoThreads none;
            isStarted = runInBackground([&ran] { ran = true; });
        }
        QVERIFY(!isStarted);
        QVERIFY(!ran);
        QVERIFY(!isBlocked(SIGTERM) && !isBlocked(SIGUSR1));
    }
};

QTEST_GUILESS_MAIN(TestBackgroundThread)
#include "tst_backgroundthread.moc"
