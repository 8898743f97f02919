// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_FAULTSCRIPT_H
#define SIMULATOR_FAULTSCRIPT_H

#include <simulator/fault.h>

#include <QByteArray>
#include <QList>
#include <QString>

#include <array>
#include <limits>
#include <optional>

namespace Tessel::Simulator {

/// A way in which a reply goes wrong on its connection.
struct CutKind
{
    Fault::Cut cut;     ///< as a fault has it
    const char* name;   ///< as scripts have it
    const char* effect; ///< what the client sees, for a person to read
};

/// All of them, in the order of Fault::Cut.
inline constexpr std::array cutKinds{
    CutKind{Fault::Cut::None, "none", "the complete reply, and nothing else"},
    CutKind{Fault::Cut::Truncate, "truncate", "half of the body, then the connection ends"},
    CutKind{Fault::Cut::Close, "close", "a broken connection without a reply; the request has no effect"},
    CutKind{Fault::Cut::Stall, "stall", "no reply, ever; the request has no effect"},
    CutKind{Fault::Cut::End, "end", "the end of the connection without a reply; the request has no effect"},
    CutKind{Fault::Cut::HalfHead, "half-head", "half of the head, then the connection ends"},
    CutKind{Fault::Cut::Reset, "reset", "half of the body, and after `pause` a broken connection"},
    CutKind{Fault::Cut::LateBody, "late-body", "the head, and after `pause` the body"},
    CutKind{Fault::Cut::Drip, "drip", "one byte after the other, each after `pause`"},
    CutKind{Fault::Cut::LongLength, "long-length",
            "a body that is shorter than its head says; the connection stays"},
    CutKind{Fault::Cut::ShortLength, "short-length",
            "a body that is longer than its head says; the connection stays"},
    CutKind{Fault::Cut::Surplus, "surplus",
            "a second reply that nobody has asked for, right behind the first"},
    CutKind{Fault::Cut::IdleNotice, "idle-notice",
            "after `pause` without a request, a 408 that nobody has asked for, then the end"},
};

/// A member of a fault script.
struct FaultMember
{
    const char* name;    ///< as scripts have it
    const char* meaning; ///< for a person to read
    /// What it may be if it is no number; null for a number.
    const char* values = nullptr;
    int least = 0;                          ///< the smallest of its numbers
    int most = 0;                           ///< and the largest
    std::optional<int> also = std::nullopt; ///< a number beside them
};

/// All members of a script.
inline constexpr std::array faultMembers{
    FaultMember{"path", "the requests that it applies to",
                "path, path with placeholders, route key, or * for all"},
    FaultMember{"method", "their method; any if omitted", "GET, PUT and so on"},
    FaultMember{"times", "how often it applies; -1: until it is removed, as with `duration` if omitted",
                nullptr, 1, 1000000, -1},
    FaultMember{"after", "how many matching requests pass first", nullptr, 0, 1000000},
    FaultMember{"duration", "milliseconds after which it is removed; 0: never", nullptr, 0, 86400000},
    FaultMember{"delay", "milliseconds before the reply", nullptr, 0, 3600000},
    FaultMember{"status", "HTTP status; 0: that of the device, or 200 beside `code` or `body`", nullptr, 200,
                599, 0},
    FaultMember{"code", "`code` of the envelope; 0: the status", nullptr, std::numeric_limits<int>::min(),
                std::numeric_limits<int>::max()},
    FaultMember{"body", "the complete body of the reply", "text as it is, or JSON; 1 MiB"},
    FaultMember{"retryAfter", "value of `Retry-After`", "number of seconds, or text"},
    FaultMember{"cut", "how the reply goes wrong on its connection", "a name from the list of cuts"},
    FaultMember{"pause", "milliseconds that some cuts wait; 100 if omitted", nullptr, 0, 3600000},
};

/// What @p member may be, for a person to read.
QString valuesOf(const FaultMember& member);

/// Reads @p text, a fault or a list of them.
/// @return the faults; none if it is not valid, and then @p error names the member and what it may be.
QList<Fault> faultsFromJson(const QByteArray& text, QString* error);

/// @p fault as a script, with all members.
QByteArray faultToJson(const Fault& fault);

} // namespace Tessel::Simulator

#endif
