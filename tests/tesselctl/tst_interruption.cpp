// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"
#include "tesselctl/requests/callobserver.h"
#include "tesselctl/requests/devices.h"
#include "tesselctl/terminal/interruption.h"

#include <tessel/capability.h>

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QtTest>

#include <atomic>
#include <csignal>
#include <poll.h>
#include <thread>
#include <unistd.h>

using namespace TesselCtl;

namespace {

constexpr std::chrono::minutes longTime(1);

void sendToProcess(int signal)
{
    QCOMPARE(::kill(::getpid(), signal), 0);
}

bool isReadable(int descriptor)
{
    pollfd awaited{descriptor, POLLIN, 0};
    return ::poll(&awaited, 1, 0) == 1;
}

} // namespace

class TestInterruption : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aSignalIsRemembered_data()
    {
        QTest::addColumn<int>("signal");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }
    void aSignalIsRemembered()
    {
        QFETCH(int, signal);
        const Interruption interruption;
        QVERIFY(!interruption.happened() && interruption.signal() == 0);
        QVERIFY(!isReadable(interruption.descriptor()));
        QVERIFY(interruption.pause(std::chrono::milliseconds(1)));
        sendToProcess(signal);
        QVERIFY(!interruption.pause(longTime));
        QCOMPARE(interruption.signal(), signal);
        QTRY_VERIFY(isReadable(interruption.descriptor()));
    }

    void theFirstOfSeveralCounts()
    {
        std::atomic<int> calls{0};
        const Interruption interruption([&calls] { ++calls; });
        sendToProcess(SIGTERM);
        QTRY_COMPARE(calls.load(), 1);
        sendToProcess(SIGINT);
        QTRY_COMPARE(calls.load(), 2);
        QCOMPARE(interruption.signal(), SIGTERM);
    }

    void aHandlerCanRunInAnEventLoop()
    {
        QObject context;
        QEventLoop loop;
        std::thread::id thread;
        const Interruption interruption(Interruption::inEventLoopOf(&context, [&] {
            thread = std::this_thread::get_id();
            loop.quit();
        }));
        sendToProcess(SIGINT); // before the loop runs, which must not lose it
        QVERIFY(!interruption.pause(longTime));
        loop.exec();
        QCOMPARE(thread, std::this_thread::get_id());
    }

    void theNextOneKnowsNothingOfIt()
    {
        for (int i = 0; i < 3; ++i) {
            const Interruption interruption;
            QVERIFY(!interruption.happened());
            sendToProcess(SIGINT);
            QVERIFY(!interruption.pause(longTime));
        }
    }

    // As between a command's look at happened() and the request that follows.
    void aRequestThatBeginsAfterItEndsAtOnce()
    {
        const MisbehavingServer silent(MisbehavingServer::Mode::Silent);
        const Interruption interruption(forgetDevices);
        Device device{QStringLiteral("wall"), {}};
        device.endpoint.address = silent.address();
        QVERIFY(addDevices({device}));
        QVERIFY(!interruption.happened());
        sendToProcess(SIGINT);
        QVERIFY(!interruption.pause(longTime));

        CallObserver exchanges;
        const CallObserver::Scope scope = exchanges.collect();
        QList<QVariant> chips;
        QVERIFY(!Capability::getInstance()->getAllChipType(device.name, chips));
        const auto record = exchanges.latest();
        QVERIFY(record);
        using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
        QVERIFY2(record->state == State::Aborted || record->state == State::InvalidRequest,
                 qPrintable(record->reason));
    }
};

// Blocked before the watchdog of QtTest starts, which a signal to the process could reach as well.
int main(int argc, char** argv)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    const QCoreApplication application(argc, argv);
    TestInterruption test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_interruption.moc"
