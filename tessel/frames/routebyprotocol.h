// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_ROUTEBYPROTOCOL_H
#define TESSEL_FRAMES_ROUTEBYPROTOCOL_H

#include <tessel/hwinfo.h>

namespace Tessel {

/// The route key for the device's protocol as far as it is known: @p multi if HWInfo::getHwProtoc() has found
/// the multi-screen protocol before, else @p single. Sends nothing.
inline const char* routeByProtocol(const QString& deviceKey, const char* single, const char* multi)
{
    return HWInfo::getInstance()->getHwProtoc(deviceKey, false) ? multi : single;
}

} // namespace Tessel

#endif
