// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_CALLOBSERVER_H
#define TESSELCTL_REQUESTS_CALLOBSERVER_H

#include "tesselctl/exitcode.h"
#include "tesselctl/terminal/console.h"

#include <communicator/exchangeobserver.h>

#include <QString>

#include <condition_variable>
#include <mutex>
#include <optional>
#include <vector>

namespace TesselCtl {

/// How a call ended, and why when it did not end well.
struct Outcome
{
    ExitCode code = Done;
    QString error;
    int status = 0;                           ///< of HTTP; 0 where none came
    std::optional<qlonglong> deviceCode = {}; ///< what the device's reply has as `code`, if that refuses
    qint64 retryAfter = -1; ///< milliseconds for which a busy device asked to be left alone; -1: it did not
};

/// Watches the exchanges that are begun on behalf of a call: an operation returns whether it succeeded, its
/// exchanges know why it did not. Any number may be there, each for a call of its own. May be used from any
/// thread, but for waitForAll().
class CallObserver
{
public:
    using Record = Krelm::Communicator::HttpDevice::ExchangeRecord;
    using Progress = Krelm::Communicator::HttpDevice::ExchangeProgress;
    using Scope = Krelm::Communicator::HttpDevice::ExchangeScope;

    CallObserver();
    ~CallObserver();

    /// What begins on this thread while the scope lives belongs to the call.
    [[nodiscard]] Scope collect() { return Scope(m_ids); }

    /// Waits until every exchange of the call ended, also those that their operation did not wait for. What
    /// the thread's event loop has to deliver is delivered; what that begins belongs to the call as well
    /// while the scope lives.
    void waitForAll();
    /// The exchange that ended last; none when none did.
    std::optional<Record> latest() const;
    /// How far the exchange is that moved last; none when nothing travelled yet.
    std::optional<Progress> progress() const;
    /// How the exchange ended that did so last. Without one the request was not made, which is a failure.
    Outcome outcome() const;
    /// How the call ended that says itself whether it @p succeeded: like its last exchange, which it need not
    /// have; and when that was well and the call was not, like the last one that failed.
    Outcome outcome(bool succeeded) const;

private:
    Krelm::Communicator::HttpDevice::ExchangeIds m_ids;
    mutable std::mutex m_mutex;      // guards the records and the progress
    std::condition_variable m_ended; // with every record
    std::vector<Record> m_records;
    std::optional<Progress> m_progress;
    // Last: they are gone before what they write to.
    Krelm::Communicator::HttpDevice::ObserverHandle m_endObserver;
    Krelm::Communicator::HttpDevice::ObserverHandle m_progressObserver;
    Q_DISABLE_COPY_MOVE(CallObserver)
};

/// Prints a line for every exchange that ends, while the handle lives; an empty handle when that is not @p
/// wanted, which costs nothing.
[[nodiscard]] Krelm::Communicator::HttpDevice::ObserverHandle traceExchanges(bool wanted, Console& console);

/// One line for an exchange: device, verb, path, status, time and sizes. Never a header, a body or a login.
QString traceLine(const CallObserver::Record& record);

/// How a single exchange ended.
Outcome outcomeOf(const CallObserver::Record& record);

} // namespace TesselCtl

#endif
