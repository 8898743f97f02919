// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_NETWORK_H
#define TESSELCTL_REQUESTS_NETWORK_H

#include "tesselctl/terminal/expected.h"

#include <QString>
#include <QStringList>

namespace TesselCtl {

/// The addresses of the hosts in the IPv4 network @p text, such as `192.168.0.0/24`, or that of one host; or
/// why it is none. At most 1024, so that nobody searches more than he meant.
Expected<QStringList> hostsOf(const QString& text);

} // namespace TesselCtl

#endif
