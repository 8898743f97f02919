// SPDX-License-Identifier: MIT
// Ends with requests in flight, in the way that the first argument names; the second is the address of a
// server that never answers, the third of one that does. Prints what happened.
#include "communicator/calloutcome.h"
#include "communicator/deviceendpoint.h"
#include "communicator/exchangeobserver.h"
#include "communicator/requestlimits.h"

#include <communicator/httpproxy.h>

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QLoggingCategory>
#include <QThread>
#include <QTimer>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

using namespace Krelm::Communicator::HttpDevice;

namespace {

std::atomic<bool> leaving{false};
std::mutex starting; // held while requests are started

struct Requests
{
    std::vector<std::unique_ptr<HttpJsonPackage>> packages;

    void start(const QString& address)
    {
        const std::lock_guard<std::mutex> lock(starting);
        HttpProxy* const proxy = HttpProxy::getInstance();
        for (int i = 0; i < 100; ++i) {
            packages.push_back(std::make_unique<HttpJsonPackage>(nullptr));
            HttpJsonPackage* const package = packages.back().get();
            package->setUrl(QStringLiteral("/x"));
            package->setRequestWithJsonObj(QVariantMap{{QStringLiteral("a"), i}});
            QObject::connect(
                package, &HttpJsonPackage::readyRead, package,
                [] { std::puts(leaving ? "called after the end" : "called"); }, Qt::DirectConnection);
            if (!proxy->put(address, package)) {
                std::puts("not started");
            }
        }
    }
};

// The lock makes what the thread started visible here: the thread sanitizer does not see what QThread::wait()
// synchronises.
void leave(QThread& thread)
{
    thread.quit();
    thread.wait();
    const std::lock_guard<std::mutex> lock(starting);
    leaving = true;
}

int blockingState(const QString& address)
{
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/x"));
    HttpProxy::getInstance()->getSync(address, &package);
    return package.getSimpleState();
}

/// Whether the transport's thread ends: the system may show one for a moment that has been joined.
bool loopEnds()
{
    const QDir threads(QStringLiteral("/proc/self/task"));
    const auto isLoop = [&threads](const QString& thread) {
        QFile name(threads.filePath(thread + QStringLiteral("/comm")));
        return name.open(QIODevice::ReadOnly) && name.readAll() == "tessel-io\n";
    };
    const QDeadlineTimer deadline(10000);
    while (!deadline.hasExpired()) {
        const QStringList all = threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
        if (std::none_of(all.cbegin(), all.cend(), isLoop)) {
            return true;
        }
        std::this_thread::yield();
    }
    return false;
}

void streamEvents(const QString& address)
{
    DeviceEndpoint endpoint;
    endpoint.address = address;
    HttpProxy::getInstance()->addDevice(QStringLiteral("wall"), endpoint);
    HttpProxy::getInstance()->initialize(true);
}

/// Calls the library when its own static objects have been destroyed, as a thread may that does not end.
struct LateCalls
{
    QString deviceKey;
    QString address;

    ~LateCalls()
    {
        if (address.isEmpty()) {
            return;
        }
        DeviceEndpoint endpoint;
        endpoint.address = QStringLiteral("http://device.invalid:8080");
        endpoint.login = DeviceEndpoint::Login::Basic;
        endpoint.user = QStringLiteral("user");
        const bool isAdded = HttpProxy::getInstance()->addDevice(deviceKey, endpoint);
        std::printf("late %d, state %d\n", isAdded ? 1 : 0, blockingState(address));
    }
};

/// Ends while requests wait, for a login that the application never renews or for a device that is busy.
void endWithWaitingRequests(int argc, char** argv, const QString& address)
{
    static std::atomic<int> waiting{0};
    std::vector<std::thread> threads;
    std::atomic<int> aborted{0};
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/x"));
    package.setExpectedTime(3600000);
    OperationOutcome outcome;
    {
        QCoreApplication application(argc, argv);
        RequestLimits limits;
        limits.repeatReads = true;
        setRequestLimits(limits);
        setExchangeObserver([](const ExchangeRecord& record) { waiting += record.isRepeated ? 1 : 0; });
        DeviceEndpoint endpoint;
        endpoint.address = address;
        endpoint.login = DeviceEndpoint::Login::Bearer;
        endpoint.secret = QStringLiteral("old");
        endpoint.renewSecret = [](const QString&) {
            ++waiting;
            static std::mutex* const mutex = new std::mutex;
            static auto* const never = new std::condition_variable;
            std::unique_lock<std::mutex> lock(*mutex);
            never->wait(lock, [] { return false; });
            return QString();
        };
        HttpProxy* const proxy = HttpProxy::getInstance();
        proxy->addDevice(QStringLiteral("wall"), endpoint);
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&aborted, proxy] {
                HttpJsonPackage own(nullptr);
                own.setUrl(QStringLiteral("/x"));
                own.setExpectedTime(3600000);
                proxy->getSync(QStringLiteral("wall"), &own);
                aborted += own.getSimpleState() == IHttpVersionTrigger::Aborted ? 1 : 0;
            });
        }
        proxy->get(QStringLiteral("wall"), &package);
        outcome = OperationOutcome::last();
        while (waiting == 0) {
            std::this_thread::yield();
        }
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::printf("aborted %d\n%s\n", aborted.load(), qPrintable(outcome.text()));
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 4) {
        return 2;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
    const QByteArray way = argv[1];
    const QString stalled = QString::fromLatin1(argv[2]);
    const QString well = QString::fromLatin1(argv[3]);
    // Outlives the application on purpose.
    static Requests requests;

    if (way == "without an application") {
        std::printf("state %d\n", blockingState(well));
        requests.start(stalled);
        return 0;
    }
    // What TLS needs goes at exit as well.
    if (way == "a connection over TLS") {
        DeviceEndpoint endpoint;
        endpoint.address = QStringLiteral("https://") + well;
        endpoint.verifyTls = false;
        HttpProxy* const proxy = HttpProxy::getInstance();
        proxy->addDevice(QStringLiteral("wall"), endpoint);
        std::printf("state %d\n", blockingState(QStringLiteral("wall")));
        static HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/x"));
        proxy->get(QStringLiteral("wall"), &package);
        std::printf("state %d\n", blockingState(QStringLiteral("wall")));
        return 0;
    }
    if (way == "observer" || way == "blocking observer") {
        QCoreApplication application(argc, argv);
        streamEvents(stalled);
        requests.start(stalled);
        setExchangeObserver([](const ExchangeRecord&) {
            starting.lock(); // once all is in flight that is to be
            starting.unlock();
            std::exit(0);
        });
        if (way == "observer") {
            requests.start(well);
            application.exec();
        } else {
            blockingState(well);
        }
        return 3;
    }
    if (way == "blocked threads") {
        std::vector<std::thread> threads;
        std::atomic<int> aborted{0};
        {
            QCoreApplication application(argc, argv);
            std::atomic<int> running{0};
            HttpProxy::getInstance();
            for (int i = 0; i < 8; ++i) {
                threads.emplace_back([&, stalled] {
                    ++running;
                    aborted += blockingState(stalled) == IHttpVersionTrigger::Aborted ? 1 : 0;
                });
            }
            while (running < 8) {
                std::this_thread::yield();
            }
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        std::printf("aborted %d\n", aborted.load());
        return 0;
    }
    if (way == "waiting requests") {
        endWithWaitingRequests(argc, argv, well);
        return 0;
    }
    if (way == "late calls") {
        static LateCalls late;
        std::printf("state %d\n", blockingState(well));
        late.deviceKey = QStringLiteral("wall");
        late.address = QStringLiteral("device.invalid:8081");
        return 0;
    }
    if (way == "a second application") {
        {
            QCoreApplication application(argc, argv);
            requests.start(stalled);
            DeviceEndpoint endpoint;
            endpoint.address = stalled;
            HttpProxy::getInstance()->addDevice(QStringLiteral("hall"), endpoint); // nobody hears of it
        }
        std::printf("between %d\n", blockingState(well));
        std::puts(loopEnds() ? "no thread" : "a thread that is left");
        QCoreApplication application(argc, argv);
        QObject::connect(HttpProxy::getInstance(), &HttpProxy::deviceChanged, &application,
                         [] { std::puts("told of what was before the end"); });
        std::printf("state %d\n", blockingState(well));
        Requests again;
        again.start(well);
        int answered = 0;
        for (const auto& package : again.packages) {
            QObject::connect(package.get(), &HttpJsonPackage::readyRead, &application, [&] {
                if (++answered == 100) {
                    application.quit();
                }
            });
        }
        application.exec();
        return 0;
    }

    QCoreApplication application(argc, argv);
    streamEvents(stalled);
    requests.start(stalled);
    QThread thread;
    QObject inThread;
    inThread.moveToThread(&thread);
    thread.start();
    QTimer::singleShot(0, &inThread, [stalled] {
        static Requests elsewhere;
        elsewhere.start(stalled);
    });
    setExchangeObserver([](const ExchangeRecord&) {
        if (leaving) {
            std::puts("told after the end");
        }
    });
    // At whatever moment of the requests this falls; the time is for some of them to be under way.
    QTimer::singleShot(100, &application, [&] {
        if (way == "exit") {
            leave(thread);
            std::exit(0);
        }
        application.quit();
    });
    application.exec();
    leave(thread);
    return 0;
}
