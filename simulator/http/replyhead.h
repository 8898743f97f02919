// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_REPLYHEAD_H
#define SIMULATOR_HTTP_REPLYHEAD_H

#include <simulator/device/reply.h>

#include <cstddef>
#include <optional>
#include <string>

namespace Tessel::Simulator {

/// How a reply treats its connection.
enum class KeepAlive {
    Implied, ///< stays open, as HTTP/1.1 has it
    Told,    ///< stays open, and says so to a client of HTTP/1.0
    No       ///< closes
};

/// The header lines that every reply has now: `Date`, and what lets a page of another origin read the reply
/// if
/// @p isForPages.
std::string commonHeaders(bool isForPages);

/// The head of @p reply up to the empty line, announcing @p length bytes unless its status allows no body.
std::string headOf(const Reply& reply, std::size_t length, KeepAlive keepAlive);

} // namespace Tessel::Simulator

#endif
