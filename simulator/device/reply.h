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

/// The verb of the device API for @p method; 0 for OPTIONS and unknown methods.
Verbs verbOf(Method method);

/// A reply, before it is written as HTTP.
struct Reply
{
    int status = 200;
    SharedText body; ///< null if there is none
    std::string_view contentType = "application/json";
    std::string allow;                   ///< the Allow header; empty if there is none
    std::string mistake;                 ///< the Tessel-Sim-Mistake header; empty if there is none
    std::string retryAfter;              ///< the Retry-After header; empty if there is none
    std::vector<std::string> challenges; ///< the WWW-Authenticate headers
    bool isForPages = false;             ///< pages of other origins may read it
    bool isPreflight = false;            ///< it tells a browser which requests a page may send
};

/// 200 with @p body.
Reply successReply(SharedText body);
/// An error reply such as 404: an envelope with @p message.
Reply failureReply(int status, std::string_view message);
/// The reply that @p fault scripts in place of the normal one.
Reply faultReply(const Fault& fault);
/// The reply to OPTIONS.
Reply optionsReply(Verbs verbs);
/// 405, for a resource that supports @p verbs but not @p method.
Reply notAllowedReply(const std::string& method, Verbs verbs);

} // namespace Tessel::Simulator

#endif
