// SPDX-License-Identifier: MIT
#include "communicator/events/reconnectpolicy.h"

#include <QStringList>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;
using State = EventSupervisor::State;
using Failure = EventSupervisor::Failure;

namespace {

/// A supervisor, a clock of its own and what it did.
struct Watch : EventSupervisor::Listener
{
    static EventTimings timings()
    {
        EventTimings timings;
        timings.connect = 10s;
        timings.firstDelay = 1s;
        timings.longestDelay = 8s;
        timings.loginDelay = 300s;
        timings.stableAfter = 30s;
        timings.silence = 45s;
        timings.goneAfter = 60s;
        timings.jitter = 0.5;
        return timings;
    }

    void openStream() override { done += QStringLiteral("open"); }
    void closeStream() override { done += QStringLiteral("close"); }
    void deviceGone() override { done += QStringLiteral("gone"); }
    void failureSeen(Failure /*failure*/, bool first, std::chrono::milliseconds delay) override
    {
        firsts += first ? 1 : 0;
        lastDelay = delay;
    }

    QStringList take() { return std::exchange(done, {}); }
    void advance(std::chrono::milliseconds by)
    {
        const auto end = now + by;
        while (supervisor.deadline() && *supervisor.deadline() <= end) {
            now = std::max(now, *supervisor.deadline());
            supervisor.tick(now);
        }
        now = end;
    }
    void fail(Failure failure = Failure::Unreachable) { supervisor.failed(failure, now); }
    void stream(std::chrono::milliseconds by)
    {
        for (const auto end = now + by; now < end; now += 1s) {
            supervisor.heard(now);
            supervisor.tick(now);
        }
    }

    double random = 0.0;
    QStringList done;
    int firsts = 0;
    std::chrono::milliseconds lastDelay{};
    EventSupervisor::Clock::time_point now{1000s};
    EventSupervisor supervisor{*this, timings(), [this] { return random; }};
};

const QStringList opened{QStringLiteral("open")};
const QStringList closed{QStringLiteral("close")};
const QStringList gone{QStringLiteral("gone")};

} // namespace

class EventSupervisorTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void startOpensTheStream()
    {
        Watch watch;
        QCOMPARE(watch.supervisor.state(), State::Stopped);
        QVERIFY(!watch.supervisor.deadline());
        watch.supervisor.start(watch.now);
        QCOMPARE(watch.take(), opened);
        QCOMPARE(watch.supervisor.state(), State::Connecting);
        watch.supervisor.connected(watch.now);
        QCOMPARE(watch.supervisor.state(), State::Streaming);
    }

    void aStreamWhoseHeadDoesNotComeIsGivenUp()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.take();
        watch.advance(9999ms);
        QCOMPARE(watch.supervisor.state(), State::Connecting);
        watch.advance(1ms);
        QCOMPARE(watch.take(), closed);
        QCOMPARE(watch.supervisor.state(), State::BackingOff);
    }

    void delaysDoubleUpToTheLongest()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        for (const auto delay : {1s, 2s, 4s, 8s, 8s, 8s}) {
            watch.fail();
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(delay));
            watch.take();
            watch.supervisor.tick(watch.now + delay - 1ms);
            QVERIFY(watch.take().isEmpty());
            watch.now += delay;
            watch.supervisor.tick(watch.now);
            QCOMPARE(watch.take(), opened);
        }
    }

    void jitterShortensADelay()
    {
        Watch watch;
        watch.random = 0.5;
        watch.supervisor.start(watch.now);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(750ms));
    }

    void aDeviceThatAcceptsAndDropsIsNotHammered()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        for (const auto delay : {1s, 2s, 4s}) {
            watch.supervisor.connected(watch.now);
            watch.stream(20s);
            watch.fail(Failure::Ended);
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(delay));
            watch.advance(delay);
        }
    }

    void delaysStartAnewAfterAStableStream()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.fail();
        watch.advance(1s);
        watch.fail();
        watch.advance(2s);
        watch.supervisor.connected(watch.now);
        watch.stream(31s);
        watch.fail(Failure::Ended);
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(1s));
    }

    void theFirstFailureOfARowStandsOut()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.advance(100s);
        QCOMPARE(watch.firsts, 1);
        while (watch.supervisor.state() != State::Connecting) {
            watch.advance(1s);
        }
        watch.supervisor.connected(watch.now);
        watch.stream(31s);
        watch.fail(Failure::Ended);
        QCOMPARE(watch.firsts, 2);
    }

    void aRefusedLoginWaitsLongest()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.take();
        watch.fail(Failure::LoginRefused);
        QCOMPARE(watch.supervisor.state(), State::LoginRefused);
        watch.advance(299s);
        QCOMPARE(watch.take(), QStringList());
        watch.advance(1s);
        QCOMPARE(watch.take(), opened);
    }

    void aSilentStreamIsReplaced()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.supervisor.connected(watch.now);
        watch.take();
        watch.stream(100s);
        QVERIFY(watch.take().isEmpty());
        watch.advance(44s);
        QCOMPARE(watch.take(), closed);
        QCOMPARE(watch.supervisor.state(), State::BackingOff);
    }

    void aStreamHeldBackIsNotSilent()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.supervisor.connected(watch.now);
        watch.take();
        watch.supervisor.setHeldBack(true, watch.now);
        watch.advance(1000s);
        QCOMPARE(watch.supervisor.state(), State::Streaming);
        watch.supervisor.setHeldBack(false, watch.now);
        watch.advance(44s);
        QCOMPARE(watch.supervisor.state(), State::Streaming);
        watch.advance(1s);
        QCOMPARE(watch.take(), closed);
    }

    void aDeviceThatStaysAwayIsGoneOnce()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.supervisor.connected(watch.now);
        watch.stream(100s);
        watch.fail(Failure::Ended);
        watch.advance(59s);
        QVERIFY(!watch.take().contains(gone.first()));
        watch.advance(1s);
        QCOMPARE(watch.take().count(gone.first()), 1);
        watch.advance(1000s);
        QCOMPARE(watch.take().count(gone.first()), 0);
    }

    void aDeviceThatCameBackCanBeGoneAgain()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.advance(60s);
        QCOMPARE(watch.take().count(gone.first()), 1);
        while (watch.supervisor.state() != State::Connecting) {
            watch.advance(1s);
        }
        watch.supervisor.connected(watch.now);
        watch.fail(Failure::Ended);
        watch.advance(61s);
        QCOMPARE(watch.take().count(gone.first()), 1);
    }

    void aDeviceThatAnswersIsNotGone()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        for (int i = 0; i < 30; ++i) {
            watch.fail(Failure::Refused);
            watch.advance(8s);
        }
        QVERIFY(!watch.take().contains(gone.first()));
    }

    void theStreamMayAskForAnotherDelayWithinBounds()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.supervisor.setFirstDelay(3s);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(3s));
        watch.advance(3s);
        watch.supervisor.setFirstDelay(0s);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(200ms));
        watch.advance(1s);
        watch.supervisor.setFirstDelay(100h);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(8s));
    }

    void aStoppedSupervisorDoesNothing()
    {
        Watch watch;
        watch.supervisor.start(watch.now);
        watch.take();
        watch.supervisor.stop();
        QVERIFY(!watch.supervisor.deadline());
        watch.supervisor.tick(watch.now + 1000s);
        watch.fail();
        QCOMPARE(watch.take(), QStringList());
        QCOMPARE(watch.supervisor.state(), State::Stopped);
    }
};

QTEST_GUILESS_MAIN(EventSupervisorTest)
#include "tst_reconnectpolicy.moc"
