// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_EVENTSTREAM_H
#define SIMULATOR_HTTP_EVENTSTREAM_H

#include <simulator/http/httpserver.h>
#include <simulator/http/wire.h>

#include <optional>
#include <string_view>

namespace Tessel::Simulator {

/// Turns a connection into an event stream that continues after the event @p lastId, unless that is empty.
/// @p fault may make it end, break or drip. Pages of other origins may read it if @p isForPages.
void startEventStream(std::unique_ptr<Wire> wire, std::shared_ptr<ServerContext> context,
                      std::shared_ptr<Peer> peer, std::string_view lastId, const std::optional<Fault>& fault,
                      bool isForPages);

} // namespace Tessel::Simulator

#endif
