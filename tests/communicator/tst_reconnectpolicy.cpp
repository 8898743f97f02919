// SPDX-License-Identifier: MIT
#include "communicator/events/reconnectpolicy.h"

#include <QStringList>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;
using State = ReconnectPolicy::State;
using Failure = ReconnectPolicy::Failure;

namespace {

/// A policy with a clock of its own, and a record of its decisions.
struct Watch : ReconnectPolicy::Listener
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
    ReconnectPolicy::Clock::time_point lastAnswer() const override { return answered; }
    void failureSeen(Failure /*failure*/, bool first, std::chrono::milliseconds delay) override
    {
        firsts += first ? 1 : 0;
        lastDelay = delay;
    }

    explicit Watch(const EventTimings& timings = Watch::timings())
        : policy(*this, timings, [this] { return random; })
    {}
    QStringList take() { return std::exchange(done, {}); }
    void advance(std::chrono::milliseconds by)
    {
        const auto end = now + by;
        while (policy.deadline() && *policy.deadline() <= end) {
            now = std::max(now, *policy.deadline());
            policy.tick(now);
        }
        now = end;
    }
    void fail(Failure failure = Failure::Unreachable) { policy.failed(failure, now); }
    void stream(std::chrono::milliseconds by)
    {
        for (const auto end = now + by; now < end; now += 1s) {
            policy.heard(now);
            policy.tick(now);
        }
    }

    double random = 0.0;
    QStringList done;
    int firsts = 0;
    ReconnectPolicy::Clock::time_point answered{};
    std::chrono::milliseconds lastDelay{};
    ReconnectPolicy::Clock::time_point now{1000s};
    ReconnectPolicy policy;
};

const QStringList opened{QStringLiteral("open")};
const QStringList closed{QStringLiteral("close")};
const QStringList gone{QStringLiteral("gone")};

} // namespace

class TestReconnectPolicy : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aDeviceThatAnswersRequestsIsNotGone()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.fail();
        watch.answered = watch.now + 20s;
        watch.advance(79s);
        QVERIFY(!watch.take().contains(QStringLiteral("gone")));
        QVERIFY(!watch.policy.isGone());
        watch.advance(1s);
        QVERIFY(watch.policy.isGone());
    }

    void aStreamThatDeliversComesBackSoonHoweverOftenItIsCut()
    {
        Watch watch;
        watch.policy.start(watch.now);
        for (int i = 0; i < 6; ++i) {
            watch.policy.connected(watch.now);
            watch.policy.delivered();
            watch.fail(Failure::Ended);
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(1s));
            QCOMPARE(watch.firsts, 1);
            watch.advance(1s);
            QCOMPARE(watch.policy.state(), State::Connecting);
        }
        watch.policy.connected(watch.now);
        watch.fail(Failure::Ended); // this one delivered nothing
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(2s));
    }

    void anEventThatIsTooLargeDoesNotBringTheStreamBackSooner()
    {
        Watch watch;
        watch.policy.start(watch.now);
        for (const auto delay : {1s, 2s, 4s}) {
            watch.policy.connected(watch.now);
            watch.policy.delivered();
            watch.fail(Failure::TooLarge);
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(delay));
            watch.advance(delay);
        }
    }

    void theDeviceMayAskForALongerDelayNotForAShorterOne()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.policy.failed(Failure::Refused, watch.now, 7s);
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(7s));
        watch.advance(7s);
        watch.policy.failed(Failure::Refused, watch.now, 1s);
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(2s));
    }

    void anEndedStreamIsNotOpenedAgain()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.take();
        watch.policy.ended();
        QCOMPARE(watch.policy.state(), State::Stopped);
        QVERIFY(!watch.policy.deadline());
        watch.advance(1h);
        QCOMPARE(watch.take(), QStringList());
    }

    void startOpensTheStream()
    {
        Watch watch;
        QCOMPARE(watch.policy.state(), State::Stopped);
        QVERIFY(!watch.policy.deadline());
        watch.policy.start(watch.now);
        QCOMPARE(watch.take(), opened);
        QCOMPARE(watch.policy.state(), State::Connecting);
        watch.policy.connected(watch.now);
        QCOMPARE(watch.policy.state(), State::Streaming);
    }

    void aStreamWhoseHeadDoesNotComeIsGivenUp()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.take();
        watch.advance(9999ms);
        QCOMPARE(watch.policy.state(), State::Connecting);
        watch.advance(1ms);
        QCOMPARE(watch.take(), closed);
        QCOMPARE(watch.policy.state(), State::BackingOff);
    }

    void delaysDoubleUpToTheLongest()
    {
        Watch watch;
        watch.policy.start(watch.now);
        for (const auto delay : {1s, 2s, 4s, 8s, 8s, 8s}) {
            watch.fail();
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(delay));
            watch.take();
            watch.policy.tick(watch.now + delay - 1ms);
            QVERIFY(watch.take().isEmpty());
            watch.now += delay;
            watch.policy.tick(watch.now);
            QCOMPARE(watch.take(), opened);
        }
    }

    void delaysDoubleTwentyTimesAtMost()
    {
        EventTimings timings = Watch::timings();
        timings.firstDelay = 1ms;
        timings.longestDelay = std::chrono::hours(24 * 365);
        timings.goneAfter = timings.longestDelay;
        Watch watch(timings);
        watch.policy.start(watch.now);
        for (int failures = 1; failures <= 30; ++failures) {
            watch.fail();
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(1 << std::min(failures - 1, 20)));
            watch.now += watch.lastDelay;
            watch.policy.tick(watch.now);
        }
    }

    void jitterShortensADelay()
    {
        Watch watch;
        watch.random = 0.5;
        watch.policy.start(watch.now);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(750ms));
    }

    void aDeviceThatAcceptsAndDropsIsNotHammered()
    {
        Watch watch;
        watch.policy.start(watch.now);
        for (const auto delay : {1s, 2s, 4s}) {
            watch.policy.connected(watch.now);
            watch.stream(20s);
            watch.fail(Failure::Ended);
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(delay));
            watch.advance(delay);
        }
    }

    void delaysStartAnewAfterAStableStream()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.fail();
        watch.advance(1s);
        watch.fail();
        watch.advance(2s);
        watch.policy.connected(watch.now);
        watch.stream(31s);
        watch.fail(Failure::Ended);
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(1s));
    }

    void aStreamIsStableFromItsTimeOn()
    {
        for (const auto lasted : {29999ms, 30000ms}) {
            Watch watch;
            watch.policy.start(watch.now);
            watch.fail();
            watch.advance(1s);
            watch.policy.connected(watch.now);
            watch.now += lasted;
            watch.fail(Failure::Ended);
            QCOMPARE(watch.lastDelay, std::chrono::milliseconds(lasted == 30s ? 1s : 2s));
        }
    }

    void theFirstFailureOfARowStandsOut()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.advance(100s);
        QCOMPARE(watch.firsts, 1);
        while (watch.policy.state() != State::Connecting) {
            watch.advance(1s);
        }
        watch.policy.connected(watch.now);
        watch.stream(31s);
        watch.fail(Failure::Ended);
        QCOMPARE(watch.firsts, 2);
    }

    void aRefusedLoginWaitsLongest()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.take();
        watch.fail(Failure::LoginRefused);
        QCOMPARE(watch.policy.state(), State::LoginRefused);
        watch.advance(299s);
        QCOMPARE(watch.take(), QStringList());
        watch.advance(1s);
        QCOMPARE(watch.take(), opened);
    }

    void aSilentStreamIsReplaced()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.policy.connected(watch.now);
        watch.take();
        watch.stream(100s);
        QVERIFY(watch.take().isEmpty());
        watch.advance(44s);
        QCOMPARE(watch.take(), closed);
        QCOMPARE(watch.policy.state(), State::BackingOff);
    }

    void aStreamHeldBackIsNotSilent()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.policy.connected(watch.now);
        watch.take();
        watch.policy.setHeldBack(true, watch.now);
        watch.advance(1000s);
        QCOMPARE(watch.policy.state(), State::Streaming);
        watch.policy.setHeldBack(false, watch.now);
        watch.advance(44s);
        QCOMPARE(watch.policy.state(), State::Streaming);
        watch.advance(1s);
        QCOMPARE(watch.take(), closed);
    }

    void aDeviceThatStaysAwayIsGoneOnce()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.policy.connected(watch.now);
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
        watch.policy.start(watch.now);
        watch.advance(60s);
        QCOMPARE(watch.take().count(gone.first()), 1);
        while (watch.policy.state() != State::Connecting) {
            watch.advance(1s);
        }
        watch.policy.connected(watch.now);
        watch.fail(Failure::Ended);
        watch.advance(61s);
        QCOMPARE(watch.take().count(gone.first()), 1);
    }

    void aDeviceThatAnswersIsNotGone()
    {
        Watch watch;
        watch.policy.start(watch.now);
        for (int i = 0; i < 30; ++i) {
            watch.fail(Failure::Refused);
            watch.advance(8s);
        }
        QVERIFY(!watch.take().contains(gone.first()));
    }

    void theStreamMayAskForAnotherDelayWithinBounds()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.policy.setFirstDelay(3s);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(3s));
        watch.advance(3s);
        watch.policy.setFirstDelay(0s);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(200ms));
        watch.advance(1s);
        watch.policy.setFirstDelay(100h);
        watch.fail();
        QCOMPARE(watch.lastDelay, std::chrono::milliseconds(8s));
    }

    void aStoppedPolicyDoesNothing()
    {
        Watch watch;
        watch.policy.start(watch.now);
        watch.take();
        watch.policy.stop();
        QVERIFY(!watch.policy.deadline());
        watch.policy.tick(watch.now + 1000s);
        watch.fail();
        QCOMPARE(watch.take(), QStringList());
        QCOMPARE(watch.policy.state(), State::Stopped);
    }
};

QTEST_GUILESS_MAIN(TestReconnectPolicy)
#include "tst_reconnectpolicy.moc"
