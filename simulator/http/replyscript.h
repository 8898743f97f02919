// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_REPLYSCRIPT_H
#define SIMULATOR_HTTP_REPLYSCRIPT_H

#include <simulator/device/reply.h>
#include <simulator/http/replyhead.h>

#include <chrono>
#include <cstddef>
#include <string>

namespace Tessel::Simulator {

/// The bytes of a reply that goes wrong on its connection, and when they are sent.
struct ReplyScript
{
    enum class End {
        None,  ///< the connection stays or ends as for any reply
        Close, ///< it is closed
        Reset  ///< the client sees it break
    };

    std::string bytes;
    std::size_t first = 0; ///< how many of them are sent at once
    std::size_t step = 0;  ///< how many after each pause from then on
    std::chrono::milliseconds pause{0};
    End end = End::None;
    std::string notice; ///< sent after a pause without another request, before the connection is closed
};

/// Whether replies with @p cut need a script.
bool needsScript(Fault::Cut cut);

/// The script for @p reply, whose body is left out when @p headOnly says so.
ReplyScript scriptFor(const Fault& fault, const Reply& reply, bool headOnly, KeepAlive keepAlive);

} // namespace Tessel::Simulator

#endif
