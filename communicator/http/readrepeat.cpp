// SPDX-License-Identifier: MIT
#include "communicator/http/readrepeat.h"

#include "communicator/http/retryafter.h"
#include "communicator/http/timelimit.h"
#include "communicator/requestlimits.h"

#include <algorithm>
#include <random>

namespace Krelm::Communicator::HttpDevice {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds firstWait{100};
constexpr milliseconds longestWait{5000};
constexpr int maxDoublings = 10;
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
    const milliseconds own =
        std::min(firstWait * (1 << std::min(request.repeats, maxDoublings)), longestWait);
    const milliseconds least = std::max(own, retryAfterOf(reply).value_or(milliseconds(0)));
    const milliseconds wait = least + spread(least);
    const auto left = started + timeLimit(request) - std::chrono::steady_clock::now();
    return wait < left ? std::optional(wait) : std::nullopt;
}

} // namespace Krelm::Communicator::HttpDevice
