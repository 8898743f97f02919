// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_RETRYAFTER_H
#define COMMUNICATOR_HTTP_RETRYAFTER_H

#include "communicator/httpengine.h"

#include <QByteArray>
#include <QDateTime>

#include <chrono>
#include <optional>

namespace Krelm::Communicator::HttpDevice {

/// The longest wait that a device can ask for.
inline constexpr std::chrono::milliseconds longestRetryAfter = std::chrono::hours(24);

/// How long a device asks to be left alone by the value of `Retry-After` (RFC 9110, 10.2.3): seconds, or a
/// date in one of the three forms of HTTP, of which one in the past asks for no wait. At most
/// longestRetryAfter; none if @p value is neither.
std::optional<std::chrono::milliseconds> retryAfter(const QByteArray& value,
                                                    const QDateTime& now = QDateTime::currentDateTimeUtc());

/// The same of a reply; none if its status does not allow it to say when to come back.
std::optional<std::chrono::milliseconds> retryAfterOf(const HttpReply& reply);

/// Whether a reply with @p status may say when to come back: 429 (RFC 6585) and 503 (RFC 9110).
constexpr bool maySayWhenToComeBack(int status)
{
    return status == 429 || status == 503;
}

} // namespace Krelm::Communicator::HttpDevice

#endif
