// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_EVENTSTREAM_H
#define SIMULATOR_HTTP_EVENTSTREAM_H

#include <simulator/http/httpserver.h>
#include <simulator/http/wire.h>

#include <string_view>

namespace Tessel::Simulator {

/// Turns a connection into an event stream that continues after the event @p lastId, unless that is empty.
void startEventStream(std::unique_ptr<Wire> wire, std::shared_ptr<ServerContext> context,
                      std::shared_ptr<Peer> peer, std::string_view lastId);

} // namespace Tessel::Simulator

#endif
