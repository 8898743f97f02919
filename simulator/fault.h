// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_FAULT_H
#define SIMULATOR_FAULT_H

#include <QByteArray>
#include <QString>

namespace Tessel::Simulator {

/// One scripted misbehaviour. Scripts are tried in the order in which they were added; the first that fits
/// answers.
struct Fault
{
    /// Where the reply ends too early.
    enum class Cut {
        None,     ///< the reply goes out whole
        Truncate, ///< the head promises the whole body, half of it follows, then the connection ends
        Close,    ///< the connection ends without a reply; the request has no effect
        Stall     ///< nothing is ever answered; the request has no effect
    };

    QString path = QStringLiteral("*"); ///< path, path with placeholders, route key, or "*" for every request
    QByteArray method;                  ///< "GET", "PUT" and so on; empty: any
    int times = 1;                      ///< how often it strikes; negative: until cleared
    int after = 0;                      ///< how many fitting requests pass first
    int delay = 0;                      ///< milliseconds before the reply
    int status = 0;      ///< HTTP status; with 0 and no code or body the request is served normally
    int code = 0;        ///< `code` of the envelope; with status 0 the status is 200
    QByteArray body;     ///< the whole reply body; empty: an envelope
    Cut cut = Cut::None; ///< where the reply ends too early
};

} // namespace Tessel::Simulator

#endif
