// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICES_DEVICEADDRESS_H
#define COMMUNICATOR_DEVICES_DEVICEADDRESS_H

#include <QByteArray>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// The base URL, without a trailing slash, of an address of the form `http(s)://host[:port]` or
/// `host[:port]`, with IPv6 hosts in brackets; empty for anything else, including an address with a login or
/// a path.
QByteArray baseUrlOfAddress(const QString& address);

/// The same for a device key that was never added. It must look like an address, with a scheme, a dot or a
/// colon, or be `localhost`: a misspelt key such as `wall-1` is not an address, although a host could have
/// that name.
QByteArray baseUrlOfKey(const QString& deviceKey);

/// Whether @p baseUrl is on the loopback interface.
bool isLoopback(const QByteArray& baseUrl);

} // namespace Krelm::Communicator::HttpDevice

#endif
