// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_SETTINGS_H
#define TESSELCTL_SETTINGS_H

#include "tesselctl/requests/devices.h"

namespace TesselCtl {

/// The global options.
struct Settings
{
    DeviceSettings devices;
    bool json = false;
    bool trace = false;
};

} // namespace TesselCtl

#endif
