// SPDX-License-Identifier: MIT
#include "sleepingthread.h"

#include <QtTest>

#include <csignal>
#include <future>
#include <sys/epoll.h>

using namespace Krelm::Communicator::HttpDevice;
using Clock = IoLoop::Clock;
using namespace std::chrono_literals;

namespace {

constexpr auto never = std::chrono::hours(24 * 365 * 100);

struct Pipe
{
    Pipe()
    {
        if (::pipe(ends) != 0) {
            qFatal("no pipe can be made");
        }
    }
    ~Pipe()
    {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    void say() const { QCOMPARE(::write(ends[1], "x", 1), ssize_t(1)); }
    void hear() const
    {
        char byte = 0;
        QCOMPARE(::read(ends[0], &byte, 1), ssize_t(1));
    }
    int reader() const { return ends[0]; }
    int ends[2]{};
};

} // namespace

class TestIoLoop : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void tasksRunInOrderOnTheLoopsThread()
    {
        IoLoop loop;
        std::vector<int> seen;
        std::thread::id thread;
        for (int i = 0; i < 5; ++i) {
            loop.post([&, i] {
                seen.push_back(i);
                thread = std::this_thread::get_id();
            });
        }
        bool ran = false;
        loop.run([&] { ran = thread == std::this_thread::get_id(); });
        QVERIFY(ran);
        QVERIFY(thread != std::this_thread::get_id());
        QCOMPARE(seen, (std::vector<int>{0, 1, 2, 3, 4}));
    }

    void theThreadHasANameAndTakesNoSignals()
    {
        sigset_t before;
        sigset_t after;
        sigset_t inside;
        pthread_sigmask(SIG_SETMASK, nullptr, &before);
        IoLoop loop;
        loop.run([&] { pthread_sigmask(SIG_SETMASK, nullptr, &inside); });
        pthread_sigmask(SIG_SETMASK, nullptr, &after);
        for (const int signal : {SIGINT, SIGTERM, SIGUSR1, SIGCHLD}) {
            QCOMPARE(sigismember(&inside, signal), 1);
            QCOMPARE(sigismember(&after, signal), sigismember(&before, signal));
        }
        QCOMPARE(ofThread(threadOf(loop), "comm"), QByteArray("tessel-io\n"));
    }

    void anIdleLoopSleeps_data()
    {
        QTest::addColumn<bool>("withTimer");
        QTest::newRow("without a timer") << false;
        QTest::newRow("with a timer that is far away") << true;
    }
    void anIdleLoopSleeps()
    {
        QFETCH(bool, withTimer);
        IoLoop loop;
        const pid_t thread = threadOf(loop);
        bool ran = false;
        if (withTimer) {
            loop.run([&] { loop.startTimer(Clock::now() + never, [&] { ran = true; }); });
        }
        QTRY_VERIFY(sleeps(thread));
        loop.stop();
        QVERIFY(!ran);
    }

    void runOnTheLoopsOwnThreadRunsAtOnce()
    {
        IoLoop loop;
        QString order;
        loop.run([&] {
            loop.post([&] { order += QLatin1Char('c'); });
            loop.run([&] { order += QLatin1Char('a'); });
            order += QLatin1Char('b');
        });
        loop.run([] {});
        QCOMPARE(order, QStringLiteral("abc"));
    }

    void aStoppedLoopDropsWhatIsPostedAndRunsTheRestHere()
    {
        IoLoop loop;
        int ran = 0;
        loop.post([&] { ++ran; });
        loop.stop(); // after what was posted
        QCOMPARE(ran, 1);
        loop.post([&] { ran += 10; });
        std::thread::id thread;
        int runs = 0;
        loop.run([&] {
            thread = std::this_thread::get_id();
            ++runs;
        });
        QCOMPARE(thread, std::this_thread::get_id());
        QCOMPARE(runs, 1);
        loop.stop();
        QCOMPARE(ran, 1);
    }

    void aLoopThatNeverRanStops()
    {
        IoLoop loop;
        bool ran = false;
        loop.stop();
        loop.run([&] { ran = true; });
        QVERIFY(ran);
    }

    void timersRunOnceInTheOrderOfTheirTime()
    {
        IoLoop loop;
        std::vector<int> seen;
        std::promise<void> last;
        loop.run([&] {
            const auto now = Clock::now();
            loop.startTimer(now + 3ms, [&] {
                seen.push_back(3);
                last.set_value();
            });
            loop.startTimer(now + 1ms, [&] { seen.push_back(1); });
            loop.startTimer(now + 1ms, [&] { seen.push_back(2); }); // the same moment: the order of the calls
            loop.stopTimer(loop.startTimer(now, [&] { seen.push_back(0); }));
            loop.startTimer(now + never, [&] { seen.push_back(4); });
        });
        QCOMPARE(last.get_future().wait_for(10s), std::future_status::ready);
        loop.run([] {});
        QCOMPARE(seen, (std::vector<int>{1, 2, 3}));
    }

    void aTimerMayStopAnotherThatIsDue()
    {
        IoLoop loop;
        int ran = 0;
        std::promise<void> done;
        loop.run([&] {
            const auto due = Clock::now() - 1ms;
            auto other = std::make_shared<IoLoop::TimerId>();
            const auto first = loop.startTimer(due, [&, other] {
                ++ran;
                loop.stopTimer(*other);
            });
            *other = loop.startTimer(due, [&] { ran += 10; });
            loop.startTimer(due, [&, first] {
                loop.stopTimer(first); // has run: ignored
                done.set_value();
            });
        });
        QCOMPARE(done.get_future().wait_for(10s), std::future_status::ready);
        QCOMPARE(ran, 1);
    }

    void aWatcherIsToldOfWhatItWantsUntilItIsTakenAway()
    {
        const Pipe pipe;
        IoLoop loop;
        std::atomic<int> first{0};
        std::atomic<int> second{0};
        loop.run([&] { loop.watch(pipe.reader(), EPOLLOUT, [&](std::uint32_t) { ++first; }); });
        pipe.say();
        loop.run([] {});
        loop.run([] {}); // a whole round lies between
        QCOMPARE(first.load(), 0);
        loop.run([&] {
            loop.watch(pipe.reader(), EPOLLIN, [&](std::uint32_t events) {
                second += events == EPOLLIN ? 1 : 1000;
                pipe.hear();
            });
        });
        QTRY_COMPARE(second.load(), 1);
        pipe.say();
        QTRY_COMPARE(second.load(), 2);
        bool was = false;
        bool again = true;
        loop.run([&] {
            was = loop.unwatch(pipe.reader());
            again = loop.unwatch(pipe.reader());
        });
        QVERIFY(was);
        QVERIFY(!again);
        pipe.say();
        loop.run([] {});
        loop.run([] {});
        QCOMPARE(second.load(), 2);
        QCOMPARE(first.load(), 0);
    }

    void aDescriptorThatWasClosedIsWatchedAnew()
    {
        IoLoop loop;
        std::atomic<int> told{0};
        int number = -1;
        {
            const Pipe pipe;
            number = pipe.reader();
            loop.run([&] { loop.watch(number, EPOLLIN, [](std::uint32_t) {}); });
        }
        const Pipe pipe;
        QCOMPARE(pipe.reader(), number); // the lowest free number
        loop.run([&] {
            loop.watch(number, EPOLLIN, [&](std::uint32_t) {
                ++told;
                loop.unwatch(number);
            });
        });
        pipe.say();
        QTRY_COMPARE(told.load(), 1);
        // One that was closed and not watched again was not watched to the end.
        bool was = true;
        {
            const Pipe other;
            loop.run([&] { loop.watch(other.reader(), EPOLLIN, [](std::uint32_t) {}); });
            number = other.reader();
        }
        loop.run([&] { was = loop.unwatch(number); });
        QVERIFY(!was);
    }

    void aWatcherIsNotToldWhatAnEarlierRoundTold()
    {
        const Pipe one;
        const Pipe two;
        IoLoop loop;
        std::atomic<int> ones{0};
        std::atomic<int> twos{0};
        loop.run([&] {
            const auto watch = [&](const Pipe& pipe, std::atomic<int>& told) {
                loop.watch(pipe.reader(), EPOLLIN, [&](std::uint32_t) {
                    ++told;
                    pipe.hear();
                });
            };
            watch(one, ones);
            watch(two, twos);
            one.say();
            two.say();
        });
        QTRY_COMPARE(ones.load() + twos.load(), 2);
        for (int i = 2; i <= 4; ++i) {
            one.say();
            QTRY_COMPARE(ones.load(), i);
        }
        QCOMPARE(twos.load(), 1);
    }

    void aWatcherMayTakeAnotherAwayThatIsDue()
    {
        const Pipe one;
        const Pipe two;
        IoLoop loop;
        std::atomic<int> told{0};
        loop.run([&] {
            const auto watch = [&](const Pipe& mine, const Pipe& other) {
                loop.watch(mine.reader(), EPOLLIN, [&](std::uint32_t) {
                    ++told;
                    loop.unwatch(mine.reader());
                    loop.unwatch(other.reader());
                });
            };
            watch(one, two);
            watch(two, one);
            one.say();
            two.say();
        });
        QTRY_COMPARE(told.load(), 1);
        loop.run([] {});
        QCOMPARE(told.load(), 1);
    }
};

QTEST_GUILESS_MAIN(TestIoLoop)
#include "tst_ioloop.moc"
