// SPDX-License-Identifier: MIT
#include <tessel/frames/applicationend.h>

#include <QAbstractEventDispatcher>
#include <QCoreApplication>

#include <atomic>
#include <mutex>
#include <set>

namespace Tessel {

namespace {

using Callback = std::shared_ptr<const std::function<void()>>;

struct Watches
{
    std::mutex mutex; // guards all below
    bool ended = false;
    bool isFirstToHear = false; // among those who registered with the application so far
    std::set<Callback> callbacks;
};

// Never destroyed: threads that outlive main() may still wait.
Watches& watches()
{
    static auto* const all = new Watches;
    return *all;
}

void end()
{
    std::set<Callback> callbacks;
    {
        const std::lock_guard<std::mutex> lock(watches().mutex);
        watches().ended = true;
        watches().isFirstToHear = false;
        callbacks.swap(watches().callbacks);
    }
    for (const Callback& callback : callbacks) {
        (*callback)();
    }
}

void begin()
{
    {
        const std::lock_guard<std::mutex> lock(watches().mutex);
        watches().ended = false;
    }
    qAddPostRoutine(end);
}

// Covers programs that end without destroying a QCoreApplication, or that never had one.
struct EndAtExit
{
    ~EndAtExit() { end(); }
};

// The end must be known here before the transport aborts what is under way, which distinguishes an abort by
// the end from any other. The routine registered last runs first, and the transport registers when the
// application starts. Call it with the mutex held.
void hearFirst()
{
    if (!watches().isFirstToHear && !watches().ended && QCoreApplication::instance()) {
        watches().isFirstToHear = true;
        qAddPostRoutine(end);
    }
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(begin)

bool ApplicationEnd::hasCome()
{
    const std::lock_guard<std::mutex> lock(watches().mutex);
    hearFirst();
    return watches().ended;
}

ApplicationEnd::Watch::Watch(std::function<void()> callback)
    : m_callback(std::make_shared<const std::function<void()>>(std::move(callback)))
{
    static const EndAtExit atExit;
    {
        const std::lock_guard<std::mutex> lock(watches().mutex);
        hearFirst();
        if (!watches().ended) {
            watches().callbacks.insert(m_callback);
            return;
        }
    }
    (*m_callback)();
}

ApplicationEnd::Watch::~Watch()
{
    const std::lock_guard<std::mutex> lock(watches().mutex);
    watches().callbacks.erase(m_callback);
}

bool threadTakesEvents()
{
    return canRunEventLoop() && QAbstractEventDispatcher::instance() != nullptr;
}

bool canRunEventLoop()
{
    return QCoreApplication::instance() != nullptr;
}

bool execUntilApplicationEnds(QEventLoop& loop, QEventLoop::ProcessEventsFlags flags)
{
    struct Waiting
    {
        std::mutex mutex; // guards both
        bool ended = false;
        QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    };
    const auto waiting = std::make_shared<Waiting>();
    const ApplicationEnd::Watch watch([waiting] {
        const std::lock_guard<std::mutex> lock(waiting->mutex);
        waiting->ended = true;
        if (waiting->dispatcher) {
            waiting->dispatcher->wakeUp();
        }
    });
    const auto hasEnded = [&waiting] {
        const std::lock_guard<std::mutex> lock(waiting->mutex);
        return waiting->ended;
    };
    bool quit = false;
    // The end may come before the loop runs, which would lose a call of quit(), and no event reaches the
    // thread after it. So the loop itself checks, each time before it sleeps.
    const QMetaObject::Connection looking = QObject::connect(
        waiting->dispatcher, &QAbstractEventDispatcher::aboutToBlock, &loop,
        [&] {
            if (!quit && hasEnded()) {
                quit = true;
                loop.quit();
            }
        },
        Qt::DirectConnection);
    loop.exec(flags);
    QObject::disconnect(looking);

    const std::lock_guard<std::mutex> lock(waiting->mutex);
    waiting->dispatcher = nullptr;
    return !waiting->ended;
}

} // namespace Tessel
