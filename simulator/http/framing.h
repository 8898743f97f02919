// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_FRAMING_H
#define SIMULATOR_HTTP_FRAMING_H

#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>

#include <string_view>

namespace Tessel::Simulator {

/// What makes the end of a request doubtful, so that a proxy in between might find another request in it than
/// the device does (RFC 9112, "Message Body Length").
/// @return the mistake, for a person to read; null if there is none.
const char* framingMistake(const boost::beast::http::request_header<>& head);

/// The same for @p text, lines of a head as they came: lines that continue the one before.
const char* lineMistake(std::string_view text);

} // namespace Tessel::Simulator

#endif
