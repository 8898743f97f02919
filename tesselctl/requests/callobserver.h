// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_CALLOBSERVER_H
#define TESSELCTL_REQUESTS_CALLOBSERVER_H

#include "tesselctl/exitcode.h"

#include <communicator/exchangeobserver.h>

#include <QString>

#include <functional>
#include <memory>

namespace TesselCtl {

/// How a call ended, and what to tell when it did not end well.
struct Outcome
{
    ExitCode code = Done;
    QString reason;
};

/// Watches the transport while it exists: operations say yes or no, the exchanges under them say why.
///
/// One at a time. @p shown is called for every exchange that ends, on any thread.
class CallObserver
{
public:
    using Record = Krelm::Communicator::HttpDevice::ExchangeRecord;

    explicit CallObserver(std::function<void(const Record&)> shown = {});
    ~CallObserver();

    /// Forgets the exchanges so far: the next call begins.
    void begin();
    /// Waits until every exchange since begin() ended, also those that their operation did not wait for and
    /// those that began meanwhile. What the thread's event loop has to deliver is delivered.
    void waitForAll();
    /// How the call that began last ended, going by its last exchange and, when that was well and @p
    /// succeeded is false, by the last one that failed.
    Outcome outcome(bool succeeded) const;

private:
    struct State;
    quint64 m_begunBefore = 0;      // exchanges of earlier calls
    std::shared_ptr<State> m_state; // shared with the observer, which may outlast this object for a moment
    Q_DISABLE_COPY_MOVE(CallObserver)
};

/// One line for an exchange: device, verb, path, status, time and sizes. Never a header, a body or a login.
QString traceLine(const CallObserver::Record& record);

/// How a single exchange ended.
Outcome outcomeOf(const CallObserver::Record& record);

} // namespace TesselCtl

#endif
