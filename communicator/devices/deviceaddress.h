// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICES_DEVICEADDRESS_H
#define COMMUNICATOR_DEVICES_DEVICEADDRESS_H

#include <QByteArray>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// The base URL, without a trailing slash, of what reads as `http(s)://host[:port]` or `host[:port]`, an IPv6
/// host in brackets; empty for anything else, a login before the host or a path behind it included.
QByteArray baseUrlOfAddress(const QString& address);

/// The same for a device key that nobody made known: it has to look like an address, with a scheme, a dot or
/// a colon, or be `localhost`. A misspelt key such as `wall-1` is none, though a host may have that name.
QByteArray baseUrlOfKey(const QString& deviceKey);

/// Whether @p baseUrl leads to this machine alone.
bool isLoopback(const QByteArray& baseUrl);

} // namespace Krelm::Communicator::HttpDevice

#endif
