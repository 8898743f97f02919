// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_FAULT_H
#define SIMULATOR_FAULT_H

#include <QByteArray>
#include <QString>

namespace Tessel::Simulator {

/// A scripted misbehaviour. Faults are tried in the order in which they were added; the first one that
/// matches a request applies.
struct Fault
{
    /// How the reply goes wrong on its connection. simulator/faultscript.h has their names and effects.
    enum class Cut {
        None,
        Truncate,
        Close,
        Stall,
        End,
        HalfHead,
        Reset,
        LateBody,
        Drip,
        LongLength,
        ShortLength,
        Surplus,
        IdleNotice
    };

    QString path = QStringLiteral("*"); ///< path, path with placeholders, route key, or "*" for any
    QByteArray method;                  ///< "GET", "PUT" and so on; empty for any
    int times = 1;                      ///< how often it applies; negative for until cleared
    int after = 0;                      ///< how many matching requests pass first
    int delay = 0;                      ///< milliseconds before the reply
    int status = 0;        ///< HTTP status; if 0 without code and body, the request is served normally
    int code = 0;          ///< `code` of the envelope; the HTTP status is 200 unless `status` is set
    QByteArray body;       ///< the complete reply body; empty for an envelope
    Cut cut = Cut::None;   ///< whether and how the reply goes wrong on its connection
    int pause = 100;       ///< milliseconds that some of these wait, see there
    int duration = 0;      ///< milliseconds after which it is removed, whatever `times` says; 0: never
    QByteArray retryAfter; ///< the value of `Retry-After`; empty for none
};

} // namespace Tessel::Simulator

#endif
