// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_DEVICE_REPLY_H
#define SIMULATOR_DEVICE_REPLY_H

#include <simulator/fault.h>
#include <simulator/routes/route.h>
#include <simulator/text/envelope.h>

#include <string>
#include <string_view>
#include <vector>

namespace Tessel::Simulator {

enum class Method { Get, Head, Put, Post, Delete, Options, Other };

/// The verb of the device API that @p method stands for; none for OPTIONS and what no controller knows.
Verbs verbOf(Method method);

/// A reply, ready to be put on the wire.
struct Reply
{
    int status = 200;
    SharedText body; ///< null: none
    std::string_view contentType = "application/json";
    std::string allow;                   ///< for the Allow header; empty: none
    std::string retryAfter;              ///< for the Retry-After header; empty: none
    std::vector<std::string> challenges; ///< for WWW-Authenticate headers
};

/// 200 with @p body.
Reply successReply(SharedText body);
/// A reply that is no resource: 404 and the like, in an envelope.
Reply failureReply(int status, std::string_view message);
/// What @p fault has in place of the device's own reply.
Reply faultReply(const Fault& fault);
/// The reply to OPTIONS.
Reply optionsReply(Verbs verbs);
/// 405: a resource with @p verbs does not take @p method.
Reply notAllowedReply(const std::string& method, Verbs verbs);

} // namespace Tessel::Simulator

#endif
