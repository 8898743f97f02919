// SPDX-License-Identifier: MIT
#ifndef TESTS_ABSENTROUTEKEYS_H
#define TESTS_ABSENTROUTEKEYS_H

/// Keys that operators look up and that the table lacks, for good.
inline const char* const absentRouteKeys[] = {
    "Algorithm_RGBLight",
    "Algorithm_WhiteLightCoord",
    "Algorithm_colorTemperature",
    "Device_AutoBackInfo",
    "Device_AutoRestoreInfo",
    "Device_ManualBackInfo",
    "Device_ManualRestoreInfo",
    "Device_NoSignalCustomImage",
    "Device_PortAutoToggle",
    "Device_CabBootCustomImage",
    "Device_CabBootImagePos",
    "Device_CabBootRestoreImage",
    "Device_CabinetBrightness",
    "Device_CabinetInfo",
    "Device_CabinetPixelSize",
    "Device_Correction_screenCorrectAction",
    "Device_PutCabinetDynamicCoefficients",
    "Device_GroupScreenInfo",
    "Device_PipeThreeDSourcemode",
    "ScreenImage",
    "ScreenImagePos",
    "ScreenImageRegion",
    "Screen_AdjustSceenColor",
    "Screen_ClearChooseState",
    "Screen_EnterHwMode",
    "Screen_IsShowHWState",
    "Screen_MouseToScreen",
    "Screen_NomalShow",
    "Screen_SetLineState",
    "Screen_SetRegionState",
};

#endif
