// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_EVENTSTREAM_H
#define SIMULATOR_HTTP_EVENTSTREAM_H

#include <simulator/http/httpserver.h>

#include <string_view>

namespace Tessel::Simulator {

/// Turns a connection into an event stream that continues after the event @p lastId, unless that is empty.
void startEventStream(Socket socket, std::shared_ptr<ServerContext> context, std::string_view lastId);

} // namespace Tessel::Simulator

#endif
