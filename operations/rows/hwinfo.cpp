// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/promiseresult.h"

#include <tessel/hwinfo.h>

namespace Tessel::Operations {

/// A version that is not known is a failure; a known one is told by its name.
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
                  {"deviceKey", "out", "force"}),
        operation("getHWInfo2", &C::getHWInfo2, {"deviceKey"}),
        operation("getHWDeviceType", &C::getHWDeviceType, {"deviceKey"}),
        operation("getHwProtoc", &C::getHwProtoc, {"deviceKey", "force"}),
        operation("getCapabilityProtoc", &C::getCapabilityProtoc, {"deviceKey", "force"}),
        operation("putHWInfo", &C::putHWInfo, {"deviceKey", "body", "result"}),
        operation("putHWInfoSystem", &C::putHWInfoSystem, {"deviceKey", "parameters", "result"}),
        operation("putHWInfoCustomemit", &C::putHWInfoCustomemit, {"deviceKey", "body", "result"}),
        operation("getHWInfoSignalDelayTime", &C::getHWInfoSignalDelayTime, {"deviceKey", "result"}),
        operation("putHWInfoSignalDelayTime", &C::putHWInfoSignalDelayTime, {"deviceKey", "body", "result"}),
        operation("getHWInfoCustonData", &C::getHWInfoCustonData, {"deviceKey", "parameters", "result"}),
        operation("getHWInfoHotBackupInfo", &C::getHWInfoHotBackupInfo, {"deviceKey", "result"}),
        operation("putHWInfoHotBackupInfo", &C::putHWInfoHotBackupInfo, {"deviceKey", "body", "result"}),
        operation("putHWInfoIncreaseVideoDelay", &C::putHWInfoIncreaseVideoDelay,
                  {"deviceKey", "body", "result"}),
        operation("putHWInfoSyncinfo", &C::putHWInfoSyncinfo, {"deviceKey", "body", "result"}),
        operation("putHWInfoFrequency", &C::putHWInfoFrequency, {"deviceKey", "body", "result"}),
        operation("putHWInfoInput", &C::putHWInfoInput, {"deviceKey", "body", "result"}),
        operation("putHWInfoExternalInput", &C::putHWInfoExternalInput, {"deviceKey", "result"}),
        operation("putHWInfoRename", &C::putHWInfoRename, {"deviceKey", "body", "result"}),
        operation("putDeviceImage", &C::putDeviceImage, {"deviceKey", "form body", "result"}),
        operation("putHWInfoImageToggle", &C::putHWInfoImageToggle, {"deviceKey", "body", "result"}),
        operation("putHWInfoMapping", &C::putHWInfoMapping, {"deviceKey", "body", "result"}),
        operation("putHWInfoScreenControl", &C::putHWInfoScreenControl, {"deviceKey", "body", "result"}),
        operation("putHWInfoAbnormalNoSignalImage", &C::putHWInfoAbnormalNoSignalImage,
                  {"deviceKey", "body", "result"}),
        operation("putHWInfoAbnormalNoSignalCustomImage", &C::putHWInfoAbnormalNoSignalCustomImage,
                  {"deviceKey", "body", "result"}),
        operation("putHWInfoUpdate", &C::putHWInfoUpdate, {"deviceKey", "data", "result"}),
        operation("getHWInfoUpdateProgress", &C::getHWInfoUpdateProgress, {"deviceKey", "result"}),
        operation("putEnterHwMode", &C::putEnterHwMode, {"deviceKey", "form body", "result"}),
        operation("putHWInfoHDMode", &C::putHWInfoHDMode, {"deviceKey", "body", "result"}),
        operation("postHWInfoVersion", &C::postHWInfoVersion, {"deviceKey", "parameters", "body", "result"}),
        operation("putHWInfoTestModePattern", &C::putHWInfoTestModePattern, {"deviceKey", "body", "result"}),
        operation("putLogLevel", &C::putLogLevel, {"deviceKey", "body", "result"}),
        operation("putLogReserve", &C::putLogReserve, {"deviceKey", "body", "result"}),
        operation("lock", &C::lock, {"deviceKey", "body", "result"}),
        operation("unLock", &C::unLock, {"deviceKey", "result"}),
        operation("putHWInfoAutoBack", &C::putHWInfoAutoBack, {"deviceKey", "body", "result"}),
        operation("putHWInfoAutoRestore", &C::putHWInfoAutoRestore, {"deviceKey", "body", "result"}),
        operation("putHWInfoManualBack", &C::putHWInfoManualBack, {"deviceKey", "body", "result"}),
        operation("putHWInfoManualRestore", &C::putHWInfoManualRestore, {"deviceKey", "body", "result"}),
        operation("putHWInfoHBPortAutoToggle", &C::putHWInfoHBPortAutoToggle,
                  {"deviceKey", "body", "result"}),
    };
}

} // namespace Tessel::Operations
