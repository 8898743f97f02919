// SPDX-License-Identifier: MIT
//
// Waits for a device in one way, on one kind of thread, while an application is there or not. Prints what the
// wait came to.
//
//     waitatend <thread> <wait> <application> <address of the device>
//
// When the application is to end during the wait, it does so at the first byte on the standard input.
#include <tessel/capability.h>
#include <tessel/correctionop.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/screeninfo.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QRunnable>
#include <QThread>
#include <QThreadPool>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

const char* text(bool value)
{
    return value ? "true" : "false";
}

std::string outcomeOf(const std::string& wait, const QString& device)
{
    const QStringList ids{QStringLiteral("1"), QStringLiteral("2")};
    Map map;
    List list;
    if (wait == "promise") {
        const auto promise = HWInfo::getInstance()->getHWInfo2(device).wait();
        return promise.isFulfilled() ? "fulfilled" : promise.isRejected() ? "rejected" : "pending";
    }
    if (wait == "promise of nothing") {
        static std::unique_ptr<QtPromise::QPromiseResolve<int>> unused;
        const QtPromise::QPromise<int> pending([](const QtPromise::QPromiseResolve<int>& resolve) {
            unused = std::make_unique<QtPromise::QPromiseResolve<int>>(resolve);
        });
        const bool rejected = pending.then([](int) {}).wait().isRejected();
        return std::string(rejected ? "rejected" : "not rejected") + (pending.isPending() ? " pending" : "");
    }
    if (wait == "upload promise") {
        const auto promise = Correctionop::getInstance()->uploadCoefficientAsync(device, {1}).wait();
        return promise.isFulfilled() ? "fulfilled" : promise.isRejected() ? "rejected" : "pending";
    }
    if (wait == "cabinets promise") {
        const auto promise = Correctionop::getInstance()->loadCabinetCoeffs(device, ids).wait();
        return promise.isFulfilled() ? "fulfilled" : promise.isRejected() ? "rejected" : "pending";
    }
    if (wait == "group read") {
        const bool ok = InputInfo::getInstance()->getEDIDs(device, ids, list);
        return std::string(text(ok)) + ' ' + std::to_string(list.size());
    }
    if (wait == "group write") {
        return text(InputInfo::getInstance()->setHue(device, ids, Map{{QStringLiteral("hue"), 1}}, list));
    }
    if (wait == "several devices") {
        const Map item{{QStringLiteral("devKey"), device}};
        return text(ScreenInfo::getInstance()->setMultPixelImage({item, item}, map));
    }
    if (wait == "upload") {
        const bool ok = Correctionop::getInstance()->uploadCoefficient(device, QStringLiteral("1"), {1}, map);
        return std::string(text(ok)) + ' ' + std::to_string(map.size());
    }
    return text(Capability::getInstance()->getAllChipType(device, list)); // a plain call
}

// Work on a thread of the kind asked for.
class Work
{
public:
    Work(const std::string& thread, std::function<void()> work)
    {
        if (thread == "QThread") {
            m_qThread.reset(QThread::create(std::move(work)));
            m_qThread->start();
        } else if (thread == "pool") {
            QThreadPool::globalInstance()->start(std::move(work));
        } else {
            m_thread = std::thread(std::move(work));
        }
    }
    ~Work()
    {
        if (m_qThread) {
            m_qThread->wait();
        }
        if (m_thread.joinable()) {
            m_thread.join();
        }
        // An application that goes waits for its pool, and leaves none.
        if (QThreadPool* const pool = QThreadPool::globalInstance()) {
            pool->waitForDone();
        }
    }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

private:
    std::unique_ptr<QThread> m_qThread;
    std::thread m_thread;
};

} // namespace

int main(int argc, char** argv)
{
    if (argc != 5) {
        return 2;
    }
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.http=false\ndefault.debug=false"));
    const std::string thread = argv[1];
    const std::string wait = argv[2];
    const std::string application = argv[3];
    const QString device = QString::fromLatin1(argv[4]);
    std::string outcome = "nothing";
    std::mutex mutex; // guards outcome: how Qt waits for its pool is not seen by the thread sanitizer
    const auto work = [&] {
        std::string text = outcomeOf(wait, device);
        const std::lock_guard<std::mutex> lock(mutex);
        outcome = std::move(text);
    };

    auto app = application == "never" ? nullptr : std::make_unique<QCoreApplication>(argc, argv);
    // On the application's thread, where operators belong.
    HWInfo::getInstance();
    InputInfo::getInstance();
    ScreenInfo::getInstance();
    Correctionop::getInstance();
    Capability::getInstance();
    if (application == "gone") {
        app.reset();
    }
    if (thread == "main") {
        work();
    } else {
        const Work running(thread, work);
        if (application == "ends") {
            std::getchar();
            app.reset();
        } else if (application == "exits") {
            std::getchar();
            std::exit(0); // NOLINT(concurrency-mt-unsafe): what is waited for is another thread's
        }
    }
    const std::lock_guard<std::mutex> lock(mutex);
    std::puts(outcome.c_str());
    return 0;
}
