// SPDX-License-Identifier: MIT
#ifndef BENCH_SOAK_CALLS_H
#define BENCH_SOAK_CALLS_H

#include "soakdevice.h"

#include <communicator/exchangeobserver.h>

#include <QThread>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

using Fleet = std::vector<std::unique_ptr<SoakDevice>>;

/// The number of threads of BlockingCallers.
constexpr int callerThreads = 6;

/// Counts what the transport begins and finishes.
class Traffic
{
public:
    Traffic();
    /// Whether every exchange that began has finished.
    bool isQuiet() const;
    quint64 succeeded() const { return m_succeeded; }
    quint64 failed() const { return m_failed; }

private:
    std::atomic<quint64> m_succeeded{0};
    std::atomic<quint64> m_failed{0};
    Krelm::Communicator::HttpDevice::ObserverHandle m_observer;
};

/// Threads that call operations which block, one after the other, with random devices.
class BlockingCallers
{
public:
    /// The threads begin at once. @p folder is for downloads.
    BlockingCallers(const Fleet& fleet, quint32 seed, const QString& folder);
    /// Waits for the calls under way.
    ~BlockingCallers();

    /// Begins no further calls.
    void pause();
    void resume();
    /// Whether no call is under way; asked while they pause.
    bool isQuiet();
    /// Calls that returned `false` although OperationOutcome knows of no failure.
    int unexplained() const { return m_unexplained; }

private:
    void callUntilTheEnd(quint32 seed, const QString& file);
    bool begin();
    void end();

    const Fleet& m_fleet;
    std::mutex m_mutex; ///< guards the three below
    std::condition_variable m_changed;
    bool m_isPaused = false;
    bool m_isOver = false;
    int m_underWay = 0;
    std::atomic<int> m_unexplained{0};
    std::vector<std::unique_ptr<QThread>> m_threads;
};

/// Makes one call that does not block, or returns a promise, or that a cache answers. Call it on the
/// operators' thread.
void callWithoutWaiting(const SoakDevice& device, QRandomGenerator& random);

#endif
