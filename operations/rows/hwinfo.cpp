// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/promiseresult.h"

#include <tessel/hwinfo.h>

namespace Tessel::Operations {

/// A known version is an output with its name; an unknown one is a failure.
template <>
struct ReturnValue<Correction::EnumScreenVer>
{
    static CallResult result(Correction::EnumScreenVer version)
    {
        if (version == Correction::UnknownVersion) {
            return {};
        }
        const bool latest = version == Correction::V3;
        return {true, {}, {latest ? QStringLiteral("V3") : QStringLiteral("EarlierThanV3")}};
    }
};

Operations hwInfoOperations()
{
    using C = HWInfo;
    return {
        operation("getHWInfo", qOverload<const QString&, bool>(&C::getHWInfo), {"deviceKey", "force"}),
        operation("getHWInfo", qOverload<const QString&, QMap<QString, QVariant>&, bool>(&C::getHWInfo),
                  {"deviceKey", "result", "force"}),
        operation("getHWInfo2", &C::getHWInfo2, {"deviceKey"}),
        operation("getHWDeviceType", &C::getHWDeviceType, {"deviceKey"}),
        operation("getHwProtoc", &C::getHwProtoc, {"deviceKey", "force"}),
        operation("getCapabilityProtoc", &C::getCapabilityProtoc, {"deviceKey", "force"}),
        operation("putHWInfo", &C::putHWInfo, {"deviceKey", "body", "reply"}),
        operation("putHWInfoSystem", &C::putHWInfoSystem, {"deviceKey", "query", "reply"}),
        operation("putHWInfoCustomemit", &C::putHWInfoCustomemit, {"deviceKey", "body", "reply"}),
        operation("getHWInfoSignalDelayTime", &C::getHWInfoSignalDelayTime, {"deviceKey", "result"}),
        operation("putHWInfoSignalDelayTime", &C::putHWInfoSignalDelayTime, {"deviceKey", "body", "reply"}),
        operation("getHWInfoCustonData", &C::getHWInfoCustonData, {"deviceKey", "query", "result"}),
        operation("getHWInfoHotBackupInfo", &C::getHWInfoHotBackupInfo, {"deviceKey", "result"}),
        operation("putHWInfoHotBackupInfo", &C::putHWInfoHotBackupInfo, {"deviceKey", "body", "reply"}),
        operation("putHWInfoIncreaseVideoDelay", &C::putHWInfoIncreaseVideoDelay,
                  {"deviceKey", "body", "reply"}),
        operation("putHWInfoSyncinfo", &C::putHWInfoSyncinfo, {"deviceKey", "body", "reply"}),
        operation("putHWInfoFrequency", &C::putHWInfoFrequency, {"deviceKey", "body", "reply"}),
        operation("putHWInfoInput", &C::putHWInfoInput, {"deviceKey", "body", "reply"}),
        operation("putHWInfoExternalInput", &C::putHWInfoExternalInput, {"deviceKey", "reply"}),
        operation("putHWInfoRename", &C::putHWInfoRename, {"deviceKey", "body", "reply"}),
        operation("putDeviceImage", &C::putDeviceImage, {"deviceKey", formParts("parts"), "reply"}),
        operation("putHWInfoImageToggle", &C::putHWInfoImageToggle, {"deviceKey", "body", "reply"}),
        operation("putHWInfoMapping", &C::putHWInfoMapping, {"deviceKey", "body", "reply"}),
        operation("putHWInfoScreenControl", &C::putHWInfoScreenControl, {"deviceKey", "body", "reply"}),
        operation("putHWInfoAbnormalNoSignalImage", &C::putHWInfoAbnormalNoSignalImage,
                  {"deviceKey", "body", "reply"}),
        operation("putHWInfoAbnormalNoSignalCustomImage", &C::putHWInfoAbnormalNoSignalCustomImage,
                  {"deviceKey", "body", "reply"}),
        operation("putHWInfoUpdate", &C::putHWInfoUpdate, {"deviceKey", "data", "reply"}),
        operation("getHWInfoUpdateProgress", &C::getHWInfoUpdateProgress, {"deviceKey", "result"}),
        operation("putEnterHwMode", &C::putEnterHwMode, {"deviceKey", formParts("parts"), "reply"}),
        operation("putHWInfoHDMode", &C::putHWInfoHDMode, {"deviceKey", "body", "reply"}),
        operation("postHWInfoVersion", &C::postHWInfoVersion, {"deviceKey", "query", "body", "reply"}),
        operation("putHWInfoTestModePattern", &C::putHWInfoTestModePattern, {"deviceKey", "body", "reply"}),
        operation("putLogLevel", &C::putLogLevel, {"deviceKey", "body", "reply"}),
        operation("putLogReserve", &C::putLogReserve, {"deviceKey", "body", "reply"}),
        operation("lock", &C::lock, {"deviceKey", "body", "reply"}),
        operation("unLock", &C::unLock, {"deviceKey", "reply"}),
        operation("putHWInfoAutoBack", &C::putHWInfoAutoBack, {"deviceKey", "body", "reply"}),
        operation("putHWInfoAutoRestore", &C::putHWInfoAutoRestore, {"deviceKey", "body", "reply"}),
        operation("putHWInfoManualBack", &C::putHWInfoManualBack, {"deviceKey", "body", "reply"}),
        operation("putHWInfoManualRestore", &C::putHWInfoManualRestore, {"deviceKey", "body", "reply"}),
        operation("putHWInfoHBPortAutoToggle", &C::putHWInfoHBPortAutoToggle, {"deviceKey", "body", "reply"}),
    };
}

} // namespace Tessel::Operations
