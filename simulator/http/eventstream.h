// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_EVENTSTREAM_H
#define SIMULATOR_HTTP_EVENTSTREAM_H

#include <simulator/http/httpserver.h>

#include <cstdint>
#include <optional>

namespace Tessel::Simulator {

/// Turns a connection into an event stream that begins after @p lastId.
void startEventStream(Socket socket, std::shared_ptr<ServerContext> context,
                      std::optional<std::uint64_t> lastId);

} // namespace Tessel::Simulator

#endif
