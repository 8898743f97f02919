// SPDX-License-Identifier: MIT
#include "sleepingthread.h"

#include <QDir>
#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <future>
#include <optional>
#include <sys/resource.h>

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

QStringList entriesOf(const char* folder)
{
    return QDir(QString::fromLatin1(folder))
        .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot);
}

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

    void nothingElseOfTheProcessChanges()
    {
        const auto threads = [] { return entriesOf("/proc/self/task"); };
        const auto descriptors = [] { return entriesOf("/proc/self/fd"); };
        const auto actions = [] {
            QList<void (*)(int)> handlers;
            for (int signal = 1; signal < NSIG; ++signal) {
                struct sigaction action = {};
                ::sigaction(signal, nullptr, &action);
                handlers << action.sa_handler;
            }
            return handlers;
        };
        const auto actionsBefore = actions();
        const QStringList threadsBefore = threads();
        const QStringList descriptorsBefore = descriptors();
        {
            IoLoop loop;
            loop.run([] {});
            QCOMPARE(threads().size(), threadsBefore.size() + 1);
            for (const QString& name : descriptors()) {
                if (!descriptorsBefore.contains(name)) {
                    const int flags = ::fcntl(name.toInt(), F_GETFD);
                    QVERIFY2(flags == -1 || (flags & FD_CLOEXEC) != 0,
                             qPrintable(name)); // -1: of the list itself
                }
            }
            QVERIFY(actions() == actionsBefore);
        }
        const QStringList descriptorsBetween = descriptors();
        {
            IoLoop loop;
            loop.run([] {});
            QVERIFY(descriptors().size() > descriptorsBetween.size());
        }
        QCOMPARE(descriptors(), descriptorsBetween);
        QCOMPARE(threads(), threadsBefore);
    }

    void withoutDescriptorsTasksAndTimersRunAndWatchingFollows_data()
    {
        QTest::addColumn<int>("free");
        for (int free = 0; free < 16; ++free) { // at any number of them
            QTest::addRow("%d are free", free) << free;
        }
    }
    void withoutDescriptorsTasksAndTimersRunAndWatchingFollows()
    {
        QFETCH(int, free);
        const Pipe pipe;
        std::atomic<int> told{0};
        std::promise<void> timer;
        IoLoop loop;
        rlimit usual{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &usual), 0);
        const int lowest = ::dup(0);
        QVERIFY(lowest >= 0);
        ::close(lowest);
        rlimit tight = usual;
        tight.rlim_cur = rlim_t(lowest) + rlim_t(free);
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        int ran = 0;
        loop.run([&] {
            loop.watch(pipe.reader(), IoLoop::Readable, [&](std::uint32_t) {
                ++told;
                pipe.hear();
            });
            loop.startTimer(Clock::now() + 1ms, [&] { timer.set_value(); });
            ++ran;
        });
        pipe.say();
        const auto timerEnded = timer.get_future().wait_for(10s);
        loop.run([&] { ++ran; });
        const int toldWithout = told;
        ::setrlimit(RLIMIT_NOFILE, &usual);
        QCOMPARE(timerEnded, std::future_status::ready);
        QCOMPARE(ran, 2);
        QCOMPARE(toldWithout, 0);
        QTRY_COMPARE(told.load(), 1);
        loop.run([&] { loop.unwatch(pipe.reader()); });
    }

    void aLoopWithoutDescriptorsSleepsAndStops()
    {
        rlimit usual{};
        QCOMPARE(::getrlimit(RLIMIT_NOFILE, &usual), 0);
        const int lowest = ::dup(0);
        ::close(lowest);
        const Pipe pipe;
        IoLoop loop;
        rlimit tight = usual;
        tight.rlim_cur = rlim_t(lowest);
        bool ran = false;
        QCOMPARE(::setrlimit(RLIMIT_NOFILE, &tight), 0);
        const pid_t thread = threadOf(loop);
        loop.post([&] {
            loop.watch(pipe.reader(), IoLoop::Readable, [](std::uint32_t) {});
            ran = true;
        });
        ::setrlimit(RLIMIT_NOFILE, &usual); // to look at the thread
        QTRY_VERIFY(sleeps(thread));
        ::setrlimit(RLIMIT_NOFILE, &tight);
        loop.stop();
        ::setrlimit(RLIMIT_NOFILE, &usual);
        QVERIFY(ran);
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
        loop.run([&] { loop.watch(pipe.reader(), IoLoop::Writable, [&](std::uint32_t) { ++first; }); });
        pipe.say();
        loop.run([] {});
        loop.run([] {}); // a whole round lies between
        QCOMPARE(first.load(), 0);
        loop.run([&] {
            loop.watch(pipe.reader(), IoLoop::Readable, [&](std::uint32_t events) {
                second += events == IoLoop::Readable ? 1 : 1000;
                pipe.hear();
            });
        });
        QTRY_COMPARE(second.load(), 1);
        pipe.say();
        QTRY_COMPARE(second.load(), 2);
        loop.run([&] {
            loop.unwatch(pipe.reader());
            loop.unwatch(pipe.reader()); // ignored
        });
        pipe.say();
        loop.run([] {});
        loop.run([] {});
        QCOMPARE(second.load(), 2);
        QCOMPARE(first.load(), 0);
    }

    void aNumberThatComesBackIsWatchedAnew_data()
    {
        QTest::addColumn<bool>("unwatched");
        QTest::addColumn<bool>("atOnce");
        QTest::newRow("unwatched before it was closed") << true << false;
        QTest::newRow("never unwatched") << false << false;
        QTest::newRow("unwatched before it was closed, in the same turn") << true << true;
        QTest::newRow("never unwatched, in the same turn") << false << true;
    }
    void aNumberThatComesBackIsWatchedAnew()
    {
        QFETCH(bool, unwatched);
        QFETCH(bool, atOnce);
        IoLoop loop;
        loop.run([] {}); // the loop has its descriptors
        std::atomic<int> firsts{0};
        std::atomic<int> seconds{0};
        std::optional<Pipe> pipe;
        bool isSame = false;
        const auto first = [&] {
            pipe.emplace();
            loop.watch(pipe->reader(), IoLoop::Readable, [&](std::uint32_t) { ++firsts; });
        };
        const auto second = [&] {
            const int number = pipe->reader();
            if (unwatched) {
                loop.unwatch(number);
            }
            pipe.reset();
            pipe.emplace();
            isSame = pipe->reader() == number; // the lowest free number
            loop.watch(number, IoLoop::Readable, [&](std::uint32_t) {
                ++seconds;
                pipe->hear();
            });
        };
        if (atOnce) {
            loop.run([&] {
                first();
                second();
            });
        } else {
            loop.run(first);
            loop.run([] {});
            loop.run(second);
        }
        QVERIFY(isSame);
        loop.run([&] { pipe->say(); });
        QTRY_COMPARE(seconds.load(), 1);
        loop.run([&] { pipe->say(); });
        QTRY_COMPARE(seconds.load(), 2);
        QCOMPARE(firsts.load(), 0);
        loop.run([&] { loop.unwatch(pipe->reader()); }); // before it is closed
    }

    // As libcurl does it with an address that it gives up.
    void aDescriptorMayBeUnwatchedAfterItWasClosedInTheSameTurn_data()
    {
        QTest::addColumn<bool>("isNew");
        QTest::newRow("watched in this turn") << true;
        QTest::newRow("watched before") << false;
    }
    void aDescriptorMayBeUnwatchedAfterItWasClosedInTheSameTurn()
    {
        QFETCH(bool, isNew);
        IoLoop loop;
        std::atomic<int> told{0};
        std::optional<Pipe> pipe(std::in_place);
        const int number = pipe->reader();
        const auto watch = [&] { loop.watch(number, IoLoop::Readable, [&](std::uint32_t) { ++told; }); };
        if (!isNew) {
            loop.run(watch);
        }
        loop.run([&] {
            if (isNew) {
                watch();
            }
            pipe.reset();
            loop.unwatch(number);
        });
        loop.run([] {});
        const Pipe other;
        other.say();
        loop.run([] {});
        loop.run([] {}); // a whole round lies between
        QCOMPARE(told.load(), 0);
    }

    void aWatcherMayReplaceItsDescriptorByAnotherOfThatNumber()
    {
        IoLoop loop;
        loop.run([] {});
        std::atomic<int> firsts{0};
        std::atomic<int> seconds{0};
        std::optional<Pipe> pipe(std::in_place);
        const int number = pipe->reader();
        bool isSame = false;
        loop.run([&] {
            loop.watch(number, IoLoop::Readable, [&](std::uint32_t) {
                ++firsts;
                loop.unwatch(number);
                pipe.reset();
                pipe.emplace();
                isSame = pipe->reader() == number;
                loop.watch(number, IoLoop::Readable, [&](std::uint32_t) {
                    ++seconds;
                    pipe->hear();
                });
            });
            pipe->say();
        });
        QTRY_COMPARE(firsts.load(), 1);
        loop.run([] {});
        loop.run([] {});
        QVERIFY(isSame);
        QCOMPARE(seconds.load(), 0); // nothing was said in the second pipe
        loop.run([&] { pipe->say(); });
        QTRY_COMPARE(seconds.load(), 1);
        QCOMPARE(firsts.load(), 1);
        loop.run([&] { loop.unwatch(number); }); // before the pipe is closed
    }

    void aFailureIsToldAsAllThatIsWatchedForUntilItIsTakenAway_data()
    {
        QTest::addColumn<uint>("wanted");
        QTest::newRow("to read") << uint(IoLoop::Readable);
        QTest::newRow("to write") << uint(IoLoop::Writable);
        QTest::newRow("both") << uint(IoLoop::Readable | IoLoop::Writable);
    }
    void aFailureIsToldAsAllThatIsWatchedForUntilItIsTakenAway()
    {
        QFETCH(uint, wanted);
        // The end for writing of a pipe that nobody reads has failed.
        int ends[2]{};
        QCOMPARE(::pipe(ends), 0);
        ::close(ends[0]);
        IoLoop loop;
        std::atomic<int> told{0};
        std::atomic<bool> isWanted{true};
        loop.run([&] {
            loop.watch(ends[1], wanted, [&](std::uint32_t events) {
                isWanted = isWanted && events == wanted;
                if (++told == 3) {
                    loop.unwatch(ends[1]);
                }
            });
        });
        QTRY_COMPARE(told.load(), 3);
        loop.run([] {});
        loop.run([] {});
        QCOMPARE(told.load(), 3);
        QVERIFY(isWanted);
        ::close(ends[1]);
    }

    void manyThatAreReadyLeaveRoomForTasksAndTimers()
    {
        constexpr int count = 300;
        const Pipe pipe;
        pipe.say();
        std::vector<int> readers; // of the same byte
        for (int i = 0; i < count; ++i) {
            readers.push_back(::dup(pipe.reader()));
            QVERIFY(readers.back() >= 0);
        }
        IoLoop loop;
        int told = 0;
        int atTask = 0;
        int atTimer = 0;
        std::promise<void> all;
        loop.run([&] {
            for (const int reader : readers) {
                loop.watch(reader, IoLoop::Readable, [&, reader](std::uint32_t) {
                    loop.unwatch(reader);
                    if (++told == 1) {
                        loop.post([&] { atTask = told; });
                        loop.startTimer(Clock::now(), [&] { atTimer = told; });
                    }
                    if (told == count) {
                        all.set_value();
                    }
                });
            }
        });
        QCOMPARE(all.get_future().wait_for(10s), std::future_status::ready);
        loop.run([] {});
        QCOMPARE(told, count);
        QCOMPARE(atTask, 128);
        QCOMPARE(atTimer, 128);
        for (const int reader : readers) {
            ::close(reader);
        }
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
                loop.watch(pipe.reader(), IoLoop::Readable, [&](std::uint32_t) {
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
                loop.watch(mine.reader(), IoLoop::Readable, [&](std::uint32_t) {
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
