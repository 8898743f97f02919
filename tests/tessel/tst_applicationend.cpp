// SPDX-License-Identifier: MIT
//
// What is known of the application's end. How waits end with it is shown with processes of their own.
#include "objectsleft.h"

#include <recordingengine.h>
#include <replaced.h>

#include <communicator/httpproxy.h>

#include <tessel/frames/applicationend.h>
#include <tessel/frames/grouprequest.h>
#include <tessel/frames/promiserequest.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>
#include <QtTest>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <thread>

using Krelm::Communicator::HttpDevice::HttpProxy;
using Tessel::ApplicationEnd;
using Tessel::PromiseRequest;

namespace {

std::unique_ptr<QCoreApplication> application()
{
    static int argc = 1;
    static char name[] = "application";
    static char* argv[] = {name, nullptr};
    return std::make_unique<QCoreApplication>(argc, argv);
}

int routinesAdded; // to those that run when the application goes
bool knewTheEnd;   // when askWhetherItIsTheEnd() ran

QtPromise::QPromise<bool> ask()
{
    return PromiseRequest::answer<bool>(
        "Device_Hwinfo", [](PromiseRequest&) {}, &HttpProxy::get, "wall", Tessel::succeeded);
}

void askWhetherItIsTheEnd()
{
    knewTheEnd = ApplicationEnd::hasCome();
}

} // namespace

// In front of Qt's own.
void qAddPostRoutine(QtCleanUpFunction routine)
{
    static const auto qts = replaced<void(QtCleanUpFunction)>("_Z15qAddPostRoutinePFvvE");
    ++routinesAdded;
    qts(routine);
}

class TestApplicationEnd : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void theEndComesWhenTheApplicationGoesAndIsOverWithTheNext()
    {
        for (int round = 1; round <= 2; ++round) {
            auto app = application();
            QVERIFY(!ApplicationEnd::hasCome());
            app.reset();
            QVERIFY(ApplicationEnd::hasCome());
        }
    }

    void aWatchIsToldOnce()
    {
        int told = 0;
        auto app = application();
        const ApplicationEnd::Watch watch([&told] { ++told; });
        QCOMPARE(told, 0);
        app.reset();
        QCOMPARE(told, 1);
        app = application();
        app.reset();
        QCOMPARE(told, 1);
    }

    void aWatchAfterTheEndIsToldAtOnce()
    {
        application().reset();
        int told = 0;
        const ApplicationEnd::Watch watch([&told] { ++told; });
        QCOMPARE(told, 1);
        application().reset();
        QCOMPARE(told, 1);
    }

    void aWatchThatIsGoneIsNotTold()
    {
        int told = 0;
        auto app = application();
        std::make_unique<ApplicationEnd::Watch>([&told] { ++told; }).reset();
        app.reset();
        QCOMPARE(told, 0);
    }

    void theEndIsKnownBeforeThoseHearOfItWhoRegisteredEarlier_data()
    {
        QTest::addColumn<bool>("watches");
        QTest::newRow("asking") << false;
        QTest::newRow("watching") << true;
    }
    void theEndIsKnownBeforeThoseHearOfItWhoRegisteredEarlier()
    {
        QFETCH(bool, watches);
        // In the next application as well.
        for (int round = 1; round <= 2; ++round) {
            knewTheEnd = false;
            auto app = application();
            qAddPostRoutine(askWhetherItIsTheEnd);
            std::unique_ptr<ApplicationEnd::Watch> watch;
            if (watches) {
                watch = std::make_unique<ApplicationEnd::Watch>([] {});
            } else {
                QVERIFY(!ApplicationEnd::hasCome());
            }
            app.reset();
            QVERIFY(knewTheEnd);
        }
    }

    void aGroupThatTheEndCutsOffReleasesWhatIsUnanswered()
    {
        RecordingEngine* const engine = RecordingEngine::install();
        engine->hold();
        bool ok = true;
        const int left = objectsLeftBy([&] {
            auto app = application();
            std::thread caller([&] { ok = Tessel::GroupRequest("Device_Hue").put("wall", {"1", "2"}); });
            const QDeadlineTimer limit(10000);
            while (engine->held() < 2 && !limit.hasExpired()) {
                std::this_thread::yield();
            }
            app.reset();
            caller.join();
        });
        QVERIFY(!ok);
        QCOMPARE(left, 0);
    }

    void aLoopThatSleepsEndsWithTheApplication()
    {
        auto app = application();
        std::atomic<QEventLoop*> sleeping{nullptr};
        std::packaged_task<bool()> wait([&sleeping] {
            QEventLoop loop;
            QTimer::singleShot(0, &loop, [&] {
                // Behind what the loop itself asks before it sleeps, which is connected by now.
                QObject::connect(QAbstractEventDispatcher::instance(),
                                 &QAbstractEventDispatcher::aboutToBlock, &loop, [&] { sleeping = &loop; });
            });
            return Tessel::execUntilApplicationEnds(loop, QEventLoop::AllEvents);
        });
        std::future<bool> isGoingOn = wait.get_future();
        std::thread caller(std::move(wait));
        const QDeadlineTimer limit(10000);
        while (!sleeping && !limit.hasExpired()) {
            std::this_thread::yield();
        }
        app.reset();
        const bool hasEnded = isGoingOn.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
        if (!hasEnded && sleeping) {
            sleeping.load()->quit();
        }
        caller.join();
        QVERIFY(sleeping);
        QVERIFY(hasEnded);
        QVERIFY(!isGoingOn.get());
    }

    void aPromiseThatIsPendingAtTheEndIsRejected()
    {
        RecordingEngine* const engine = RecordingEngine::install();
        engine->hold();
        auto app = application();
        const QtPromise::QPromise<bool> promise = ask();
        QCOMPARE(engine->held(), 1);
        QVERIFY(promise.isPending());
        app.reset();
        QVERIFY(promise.isRejected());
    }

    void nothingIsAskedAfterTheEnd()
    {
        RecordingEngine* const engine = RecordingEngine::install();
        application().reset();
        QVERIFY(!Tessel::GroupRequest("Device_Hue").put("wall", {"1"}));
        const auto route = [](const QString&) { return "HwScreen_DrawCorrectRegion"; };
        QVERIFY(!Tessel::putToDevices("f", {{{"devKey", "wall"}}}, route, 20000));
        QVERIFY(ask().isRejected());
        QCOMPARE(engine->count(), 0);
    }

    void askingAgainRegistersNothing()
    {
        const auto app = application();
        ApplicationEnd::hasCome();
        const int before = routinesAdded;
        ApplicationEnd::hasCome();
        const ApplicationEnd::Watch watch([] {});
        QCOMPARE(routinesAdded, before);
    }
};

QTEST_APPLESS_MAIN(TestApplicationEnd)
#include "tst_applicationend.moc"
