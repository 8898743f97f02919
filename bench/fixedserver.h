// SPDX-License-Identifier: MIT
#ifndef BENCH_FIXEDSERVER_H
#define BENCH_FIXEDSERVER_H

#include <functional>
#include <string>

/// Serves on all addresses of the loopback network, with one thread per connection, so that one server can
/// stand for any number of devices. Passes @p devices addresses, "127.0.0.1:PORT ...", to @p ready.
void serveFixed(int devices, const std::string& reply, const std::function<void(const std::string&)>& ready);

/// The same, but each request is answered by @p answer, which writes to the connection itself. @return
/// whether the connection serves another request.
void serveBy(int devices, const std::function<bool(int connection)>& answer,
             const std::function<void(const std::string&)>& ready);

/// A listening socket on a free port of all addresses, which is stored in @p port; -1 if that failed.
int listenAnywhere(int& port);

/// As many addresses of the loopback network as there are @p devices, "127.0.0.1:PORT ...".
std::string addressesOf(int devices, int port);

/// Sends all of @p text. @return whether that succeeded.
bool sendAll(int connection, const std::string& text);

#endif
