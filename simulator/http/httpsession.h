// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_HTTP_HTTPSESSION_H
#define SIMULATOR_HTTP_HTTPSESSION_H

#include <simulator/http/httpserver.h>

namespace Tessel::Simulator {

/// Serves the requests of one connection, one after the other, until it ends or becomes an event stream.
/// Closes it if there is no room for it.
void startHttpSession(Socket socket, std::shared_ptr<ServerContext> context);

} // namespace Tessel::Simulator

#endif
