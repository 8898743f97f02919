// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICEADDRESS_H
#define COMMUNICATOR_DEVICEADDRESS_H

#include <QByteArray>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// The base URL, without a trailing slash, of what reads as `http(s)://host[:port]` or `host[:port]`, an IPv6
/// host in brackets; empty for anything else, a login before the host or a path behind it included.
QByteArray baseUrlOfAddress(const QString& address);

} // namespace Krelm::Communicator::HttpDevice

#endif
