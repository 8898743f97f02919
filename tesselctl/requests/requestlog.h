// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_REQUESTLOG_H
#define TESSELCTL_REQUESTS_REQUESTLOG_H

#include "tesselctl/requests/callobserver.h"
#include "tesselctl/terminal/console.h"

#include <QString>

#include <memory>
#include <optional>

namespace TesselCtl {

/// Remembers how the exchanges ended, by device and path, so that requests that run side by side are told
/// apart. It is the transport's observer while it exists. May be used from any thread.
class RequestLog
{
public:
    /// With @p trace every exchange is told on @p console.
    RequestLog(bool trace, Console& console);
    ~RequestLog();

    /// Takes out the latest exchange of @p device on @p path, placeholders filled in and nothing encoded;
    /// none when no such request ended since the last call.
    std::optional<CallObserver::Record> take(const QString& device, const QString& path);
    /// How that exchange ended. Without one the request was not made, which is a failure.
    Outcome takeOutcome(const QString& device, const QString& path);

private:
    struct State;
    std::shared_ptr<State> m_state; // shared with the observer, which may outlast this object for a moment
    Q_DISABLE_COPY_MOVE(RequestLog)
};

} // namespace TesselCtl

#endif
