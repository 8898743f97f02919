// SPDX-License-Identifier: MIT
#include "communicator/http/tokenlogin.h"
#include "gate.h"
#include "nothreads.h"

#include <logcollector.h>

#include <QDeadlineTimer>
#include <QtTest>

#include <array>
#include <atomic>
#include <future>
#include <optional>
#include <stdexcept>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using Verdict = TokenLogin::Verdict;

namespace {

const QString wall = QStringLiteral("wall");

/// Waits for one answer of a TokenLogin.
struct Waits
{
    TokenLogin::Waiter waiter()
    {
        return [this](bool renewed) { m_renewed.set_value(renewed); };
    }
    /// Null if nothing came for ten seconds.
    std::optional<bool> answer()
    {
        auto renewed = m_renewed.get_future();
        return renewed.wait_for(std::chrono::seconds(10)) == std::future_status::ready
                   ? std::optional<bool>(renewed.get())
                   : std::nullopt;
    }

private:
    std::promise<bool> m_renewed;
};

QStringList warnings(const LogCollector& log)
{
    return log.lines().filter(QLatin1String("tessel.http.warning"));
}

const QString renewedLine = QStringLiteral("tessel.http.info: device wall: the login was renewed");

QString notRenewed(const char* why)
{
    return QStringLiteral("tessel.http.warning: device wall: the login was not renewed: ") +
           QLatin1String(why);
}

/// A log that asks the login whenever a line comes, as an application's may that sends its log to a device.
class AskingLog
{
public:
    explicit AskingLog(std::shared_ptr<TokenLogin> asked)
    {
        login = std::move(asked);
        m_former = qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString&) {
            if (!login->authorization().isEmpty() && TokenLogin::isRenewingHere(wall)) {
                isRenewing = true;
            }
            ++lines;
        });
    }
    ~AskingLog()
    {
        qInstallMessageHandler(m_former);
        login = nullptr;
    }

    inline static std::atomic<int> lines{0};
    inline static std::atomic<bool> isRenewing{false};

private:
    inline static std::shared_ptr<TokenLogin> login;
    QtMessageHandler m_former;
    const LogCollector m_allLines; // turns all categories on
    Q_DISABLE_COPY_MOVE(AskingLog)
};

std::weak_ptr<TokenLogin> latest;

std::shared_ptr<TokenLogin> login(TokenLogin::Renew renew, const RenewalTimings& timings = {})
{
    auto token = std::make_shared<TokenLogin>(wall, QStringLiteral("old"), std::move(renew), timings);
    latest = token;
    return token;
}

} // namespace

class TestTokenLogin : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // A renewal writes its line when those who wait have their answer: not into the log of the next function.
    void cleanup() { QTRY_VERIFY(latest.expired()); }

    void allWhoWereRefusedGetTheTokenOfOneCall()
    {
        const auto gate = std::make_shared<Gate>();
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login([gate, calls](const QString& deviceKey) {
            ++*calls;
            gate->pass();
            return deviceKey + QStringLiteral("-new");
        });
        QCOMPARE(token->authorization(), QByteArray("Bearer old"));
        std::array<Waits, 10> waits;
        std::array<TokenLogin::Ticket, 10> tickets;
        for (std::size_t i = 0; i < waits.size(); ++i) {
            QCOMPARE(token->refused("Bearer old", tickets[i], waits[i].waiter()), Verdict::Waiting);
        }
        gate->open();
        for (Waits& one : waits) {
            QCOMPARE(one.answer(), std::optional<bool>(true));
        }
        QCOMPARE(calls->load(), 1);
        QCOMPARE(token->authorization(), QByteArray("Bearer wall-new"));
        // Who was refused with the old one needs no further call.
        QCOMPARE(token->refused("Bearer old", tickets[0], waits[0].waiter()), Verdict::Renewed);
        QCOMPARE(calls->load(), 1);
    }

    void theFunctionHasHalfAMinuteAndAFailureHoldsForFiveSeconds()
    {
        QVERIFY(RenewalTimings().limit == std::chrono::seconds(30));
        QVERIFY(RenewalTimings().holdOff == std::chrono::seconds(5));
    }

    void aRenewalIsOneLineInTheLog()
    {
        const LogCollector log;
        const auto token = login([](const QString&) { return QStringLiteral("new"); });
        Waits waits;
        TokenLogin::Ticket ticket;
        QVERIFY(!ticket);
        QCOMPARE(token->refused("Bearer old", ticket, waits.waiter()), Verdict::Waiting);
        QVERIFY(ticket);
        QCOMPARE(waits.answer(), std::optional<bool>(true));
        QTRY_COMPARE(log.lines(), QStringList{renewedLine});
    }

    void nothingStaysBehindARenewal()
    {
        RenewalTimings timings;
        timings.limit = std::chrono::hours(1);
        auto token = login([](const QString&) { return QStringLiteral("new"); }, timings);
        const std::weak_ptr<TokenLogin> seen = token;
        Waits waits;
        {
            TokenLogin::Ticket ticket;
            QCOMPARE(token->refused("Bearer old", ticket, waits.waiter()), Verdict::Waiting);
            QCOMPARE(waits.answer(), std::optional<bool>(true));
        }
        token.reset();
        QTRY_VERIFY(seen.expired());
    }

    void withoutAThreadARenewalFails_data()
    {
        QTest::addColumn<int>("holdOff");
        QTest::addColumn<bool>("isTriedAgain");
        QTest::newRow("and is held off") << 3600000 << false;
        QTest::newRow("and is tried again later") << 0 << true;
    }
    void withoutAThreadARenewalFails()
    {
        QFETCH(int, holdOff);
        QFETCH(bool, isTriedAgain);
        const LogCollector log;
        RenewalTimings timings;
        timings.holdOff = std::chrono::milliseconds(holdOff);
        const auto token = login([](const QString&) { return QStringLiteral("new"); }, timings);
        Waits first;
        TokenLogin::Ticket ticket;
        Verdict verdict = Verdict::Waiting;
        {
            const NoThreads none;
            verdict = token->refused("Bearer old", ticket, first.waiter());
        }
        QCOMPARE(verdict, Verdict::Refused);
        QVERIFY(!ticket);
        QCOMPARE(log.lines(),
                 QStringList{notRenewed("the system has no thread for the function that renews it")});
        Waits second;
        QCOMPARE(token->refused("Bearer old", ticket, second.waiter()),
                 isTriedAgain ? Verdict::Waiting : Verdict::Refused);
        if (isTriedAgain) {
            QCOMPARE(second.answer(), std::optional<bool>(true));
        }
    }

    void aRenewalThatFailsIsToldAndHeldOff_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<bool>("throws");
        QTest::addColumn<QString>("why");
        QTest::newRow("nothing") << QString() << false << "the function that renews it gave no token";
        QTest::newRow("the same") << "old" << false << "the function that renews it gave the same token";
        QTest::newRow("a line end") << "new\r\nX-Injected: 1" << false
                                    << "the new token contains a control character";
        QTest::newRow("an exception")
            << QString() << true << "the function that renews it threw an exception";
    }
    void aRenewalThatFailsIsToldAndHeldOff()
    {
        QFETCH(QString, given);
        QFETCH(bool, throws);
        QFETCH(QString, why);
        const LogCollector log;
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login([=](const QString&) {
            ++*calls;
            if (throws) {
                throw std::runtime_error("the secret is 1234");
            }
            return given;
        });
        Waits waits;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, waits.waiter()), Verdict::Waiting);
        QCOMPARE(waits.answer(), std::optional<bool>(false));
        QCOMPARE(token->authorization(), QByteArray("Bearer old"));
        Waits more;
        QCOMPARE(token->refused("Bearer old", ticket, more.waiter()), Verdict::Refused);
        QCOMPARE(calls->load(), 1);
        QTRY_COMPARE(log.lines(), QStringList{notRenewed(qPrintable(why))}); // which tells no secret
    }

    void afterTheHoldOffItIsTriedAgain()
    {
        RenewalTimings timings;
        timings.holdOff = std::chrono::milliseconds(1);
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login(
            [calls](const QString&) { return ++*calls < 2 ? QString() : QStringLiteral("new"); }, timings);
        const LogCollector log;
        Waits first;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(false));
        Waits second;
        Verdict verdict = Verdict::Refused;
        const QDeadlineTimer limit(std::chrono::seconds(10));
        while (verdict == Verdict::Refused && !limit.hasExpired()) {
            verdict = token->refused("Bearer old", ticket, second.waiter());
        }
        QCOMPARE(verdict, Verdict::Waiting);
        QCOMPARE(second.answer(), std::optional<bool>(true));
    }

    void aNewTokenThatIsRefusedAsWellIsNotRenewedAtOnce()
    {
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login([calls](const QString&) { return QStringLiteral("new%1").arg(++*calls); });
        const LogCollector log;
        Waits first;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(true));
        Waits second;
        QCOMPARE(token->refused("Bearer new1", ticket, second.waiter()), Verdict::Refused);
        QCOMPARE(calls->load(), 1);
        QCOMPARE(warnings(log), QStringList{notRenewed("the device refuses the new token as well")});
    }

    void aNewTokenIsRefusedAsWellOnlyOnce()
    {
        RenewalTimings timings;
        timings.holdOff = std::chrono::milliseconds(0);
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login(
            [calls](const QString&) { return ++*calls == 1 ? QStringLiteral("new") : QString(); }, timings);
        const LogCollector log;
        Waits waits[3];
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, waits[0].waiter()), Verdict::Waiting);
        QCOMPARE(waits[0].answer(), std::optional<bool>(true));
        for (int i : {1, 2}) {
            QCOMPARE(token->refused("Bearer new", ticket, waits[i].waiter()), Verdict::Waiting);
            QCOMPARE(waits[i].answer(), std::optional<bool>(false));
            QTRY_COMPARE(warnings(log).size(), i + 1);
        }
        QStringList lines = warnings(log);
        lines.sort(); // two threads write them
        QCOMPARE(lines, (QStringList{notRenewed("the device refuses the new token as well"),
                                     notRenewed("the function that renews it gave no token"),
                                     notRenewed("the function that renews it gave no token")}));
    }

    void aRequestWithTheOldTokenSaysNothingOfTheNewOne()
    {
        const auto token = login([](const QString&) { return QStringLiteral("new"); });
        const LogCollector log;
        Waits first;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(true));
        token->accepted("Bearer old");
        QCOMPARE(token->refused("Bearer new", ticket, first.waiter()), Verdict::Refused);
    }

    void aTokenThatWasTakenIsRenewedWhenItRunsOut()
    {
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login([calls](const QString&) { return QStringLiteral("new%1").arg(++*calls); });
        Waits first;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(true));
        token->accepted("Bearer old"); // of another request; says nothing of the new one
        token->accepted("Bearer new1");
        Waits second;
        QCOMPARE(token->refused("Bearer new1", ticket, second.waiter()), Verdict::Waiting);
        QCOMPARE(second.answer(), std::optional<bool>(true));
        QCOMPARE(token->authorization(), QByteArray("Bearer new2"));
    }

    void aFunctionThatTakesTooLongIsNotAwaitedAndNotCalledAgain()
    {
        RenewalTimings timings;
        timings.limit = std::chrono::milliseconds(20);
        timings.holdOff = std::chrono::milliseconds(0);
        const auto gate = std::make_shared<Gate>();
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login(
            [gate, calls](const QString&) {
                ++*calls;
                gate->pass();
                return QStringLiteral("late");
            },
            timings);
        const LogCollector log;
        Waits first;
        Waits stays;
        TokenLogin::Ticket ticket;
        TokenLogin::Ticket ofTheOneThatStays;
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(token->refused("Bearer old", ofTheOneThatStays, stays.waiter(), true), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(false));
        QTRY_COMPARE(log.lines(), QStringList{notRenewed("the function that renews it takes too long")});
        Waits second;
        QCOMPARE(token->refused("Bearer old", ticket, second.waiter()), Verdict::Refused);
        QCOMPARE(calls->load(), 1);
        // Who waits for a success waits on.
        Waits comesLate;
        TokenLogin::Ticket late;
        QCOMPARE(token->refused("Bearer old", late, comesLate.waiter(), true), Verdict::Refused);
        QVERIFY(late);
        // What it gives in the end is of use all the same.
        gate->open();
        QCOMPARE(stays.answer(), std::optional<bool>(true));
        QCOMPARE(comesLate.answer(), std::optional<bool>(true));
        QCOMPARE(token->authorization(), QByteArray("Bearer late"));
    }

    void aTokenThatComesLateEndsTheHoldOff()
    {
        RenewalTimings timings;
        timings.limit = std::chrono::milliseconds(20);
        timings.holdOff = std::chrono::hours(1);
        const auto gate = std::make_shared<Gate>();
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login(
            [gate, calls](const QString&) {
                gate->pass();
                return QStringLiteral("late%1").arg(++*calls);
            },
            timings);
        const LogCollector log;
        Waits first;
        Waits stays;
        TokenLogin::Ticket ticket;
        TokenLogin::Ticket ofTheOneThatStays;
        QCOMPARE(token->refused("Bearer old", ofTheOneThatStays, stays.waiter(), true), Verdict::Waiting);
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(false));
        gate->open();
        QCOMPARE(stays.answer(), std::optional<bool>(true));
        token->accepted("Bearer late1");
        Waits second;
        QCOMPARE(token->refused("Bearer late1", ticket, second.waiter()), Verdict::Waiting);
        QCOMPARE(second.answer(), std::optional<bool>(true));
    }

    void theLogMayAskTheLogin()
    {
        RenewalTimings timings;
        timings.limit = std::chrono::milliseconds(200);
        timings.holdOff = std::chrono::milliseconds(0);
        const auto gate = std::make_shared<Gate>();
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login(
            [gate, calls](const QString&) {
                if (++*calls == 1) {
                    return QStringLiteral("new");
                }
                gate->pass();
                return QString();
            },
            timings);
        const AskingLog log(token);
        Waits first;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, first.waiter()), Verdict::Waiting);
        QCOMPARE(first.answer(), std::optional<bool>(true));
        QTRY_COMPARE(log.lines.load(), 1); // it was renewed
        Waits second;
        QCOMPARE(token->refused("Bearer new", ticket, second.waiter()), Verdict::Waiting);
        QCOMPARE(second.answer(), std::optional<bool>(false));
        QTRY_COMPARE(log.lines.load(),
                     3); // the new token is refused as well, and the next one takes too long
        gate->open();
        QTRY_COMPARE(log.lines.load(), 4);
        QVERIFY(!log.isRenewing); // the function has returned
    }

    void whoIsRefusedAgainIsToldOnce()
    {
        const auto gate = std::make_shared<Gate>();
        const auto token = login([gate](const QString&) {
            gate->pass();
            return QStringLiteral("new");
        });
        std::atomic<bool> told{false};
        Waits again;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, [&told](bool) { told = true; }), Verdict::Waiting);
        QCOMPARE(token->refused("Bearer old", ticket, again.waiter()), Verdict::Waiting);
        gate->open();
        QCOMPARE(again.answer(), std::optional<bool>(true));
        QVERIFY(!told);
    }

    void whoWaitsForASuccessIsToldOfALaterOne()
    {
        RenewalTimings timings;
        timings.holdOff = std::chrono::milliseconds(0);
        const auto gate = std::make_shared<Gate>();
        const auto calls = std::make_shared<std::atomic<int>>(0);
        const auto token = login(
            [gate, calls](const QString&) {
                gate->pass();
                return ++*calls < 2 ? QString() : QStringLiteral("new");
            },
            timings);
        const LogCollector log;
        Waits stream;
        Waits request;
        TokenLogin::Ticket streams;
        TokenLogin::Ticket requests;
        QCOMPARE(token->refused("Bearer old", streams, stream.waiter(), true), Verdict::Waiting);
        QCOMPARE(token->refused("Bearer old", requests, request.waiter()), Verdict::Waiting);
        gate->open();
        QCOMPARE(request.answer(), std::optional<bool>(false));
        Waits again;
        QCOMPARE(token->refused("Bearer old", requests, again.waiter()), Verdict::Waiting);
        QCOMPARE(again.answer(), std::optional<bool>(true));
        QCOMPARE(stream.answer(), std::optional<bool>(true));
    }

    void whoHasGoneIsNotTold()
    {
        const auto gate = std::make_shared<Gate>();
        const auto token = login([gate](const QString&) {
            gate->pass();
            return QStringLiteral("new");
        });
        std::atomic<bool> told{false};
        Waits stays;
        TokenLogin::Ticket kept;
        {
            TokenLogin::Ticket gone;
            QCOMPARE(token->refused("Bearer old", gone, [&told](bool) { told = true; }), Verdict::Waiting);
            QVERIFY(gone);
            QCOMPARE(token->refused("Bearer old", kept, stays.waiter()), Verdict::Waiting);
        }
        gate->open();
        QCOMPARE(stays.answer(), std::optional<bool>(true));
        QVERIFY(!told);
    }

    void theFunctionRunsOnAThreadOfItsOwnThatIsKnown()
    {
        std::promise<std::pair<std::thread::id, bool>> promise;
        auto ran = promise.get_future();
        const auto token = login([&promise](const QString&) {
            promise.set_value(
                {std::this_thread::get_id(),
                 TokenLogin::isRenewingHere(wall) && !TokenLogin::isRenewingHere(QStringLiteral("x"))});
            return QStringLiteral("new");
        });
        Waits waits;
        TokenLogin::Ticket ticket;
        QCOMPARE(token->refused("Bearer old", ticket, waits.waiter()), Verdict::Waiting);
        QCOMPARE(waits.answer(), std::optional<bool>(true));
        const auto [thread, isKnown] = ran.get();
        QVERIFY(thread != std::this_thread::get_id());
        QVERIFY(isKnown);
        QVERIFY(!TokenLogin::isRenewingHere(wall));
    }
};

QTEST_GUILESS_MAIN(TestTokenLogin)
#include "tst_tokenlogin.moc"
