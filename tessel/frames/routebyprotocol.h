// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_ROUTEBYPROTOCOL_H
#define TESSEL_FRAMES_ROUTEBYPROTOCOL_H

#include <tessel/hwinfo.h>

namespace Tessel {

/// The route key for the device's protocol as far as it is known: @p multi once the device has answered the
/// route of the protocol version, else @p single. Sends nothing.
inline const char* routeByProtocol(const QString& deviceKey, const char* single, const char* multi)
{
    return HWInfo::getInstance()->getHwProtoc(deviceKey, false) ? multi : single;
}

} // namespace Tessel

#endif
