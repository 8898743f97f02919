// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_FRAMING_H
#define SIMULATOR_HTTP_FRAMING_H

#include <boost/beast/http/fields.hpp>
#include <boost/beast/http/message.hpp>

#include <cstddef>
#include <string_view>

namespace Tessel::Simulator {

/// What makes the end of a request doubtful, so that a proxy in between might find another request in it than
/// the device does (RFC 9112, "Message Body Length").
/// @return the mistake, for a person to read; null if there is none.
const char* framingMistake(const boost::beast::http::request_header<>& head);

/// The same for @p head as it came: lines that continue the one before.
const char* lineMistake(std::string_view head);

/// Looks for the end of a request's head while it comes, at each byte once. A byte that no head has at its
/// place is told at once. Used by one thread at a time.
class HeadScan
{
public:
    enum class Found {
        Nothing, ///< neither of the others, so far
        End,     ///< length() says how long the head is
        Mistake  ///< no request has that
    };
    /// Goes on with @p text, all that has come.
    Found scan(std::string_view text);
    std::size_t length() const { return m_length; }

private:
    enum class At { Method, Target, Version, LineFeed, LineBegin, Name, Value, LastFeed, End, Mistake };

    At next(char c);
    At version(char c);

    At m_at = At::Method;
    std::size_t m_length = 0;
    std::size_t m_begin = 0; ///< of the part that it is in
};

} // namespace Tessel::Simulator

#endif
