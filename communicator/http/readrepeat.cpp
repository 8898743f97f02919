// SPDX-License-Identifier: MIT
#include "communicator/http/readrepeat.h"

#include "communicator/http/retryafter.h"
#include "communicator/http/timelimit.h"
#include "communicator/requestlimits.h"

#include <algorithm>
#include <array>
#include <random>

namespace Krelm::Communicator::HttpDevice {

namespace {

using std::chrono::milliseconds;

// Before the first repetition and those that follow; the last one stays.
constexpr std::array<milliseconds::rep, 7> waits{100, 200, 400, 800, 1600, 3200, 5000};
// Requests that were refused together do not come back together.
constexpr milliseconds longestSpread{250};

milliseconds spread(milliseconds wait)
{
    thread_local std::minstd_rand generator{std::random_device()()};
    const auto most = std::min(wait / 4, longestSpread).count();
    return milliseconds(std::uniform_int_distribution<milliseconds::rep>(0, most)(generator));
}

} // namespace

std::optional<milliseconds> repeatAfter(const HttpRequest& request, const HttpReply& reply,
                                        std::chrono::steady_clock::time_point started)
{
    const bool isBusy = reply.state == IHttpVersionTrigger::HttpFailure && maySayWhenToComeBack(reply.status);
    if (!isBusy || request.method != HttpMethod::Get || !requestLimits().repeatReads) {
        return std::nullopt;
    }
    const milliseconds own(request.repeats < int(waits.size()) ? waits[std::size_t(request.repeats)]
                                                               : waits.back());
    const milliseconds least = std::max(own, retryAfterOf(reply).value_or(own));
    const milliseconds wait = least + spread(least);
    return std::chrono::steady_clock::now() + wait < started + timeLimit(request) ? std::optional(wait)
                                                                                  : std::nullopt;
}

} // namespace Krelm::Communicator::HttpDevice
