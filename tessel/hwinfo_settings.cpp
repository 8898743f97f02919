// SPDX-License-Identifier: MIT
//
// Settings and actions of the device as a whole.
#include <tessel/hwinfo.h>

#include <tessel/frames/request.h>

using Tessel::MultipartRequest;
using Tessel::Request;

bool HWInfo::putHWInfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                       QMap<QString, QVariant>& reply)
{
    return Request("Device_Hwinfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoSystem(const QString& deviceKey, const QMap<QString, QString>& query,
                             QMap<QString, QVariant>& reply)
{
    return Request("Device_System").parameters(query).put(deviceKey, reply);
}

bool HWInfo::putHWInfoCustomemit(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_Customemit").body(body).put(deviceKey, reply);
}

bool HWInfo::getHWInfoSignalDelayTime(const QString& deviceKey, QMap<QString, QVariant>& result)
{
    return Request("Device_PipeThreeDSingaldelaytime").get(deviceKey, result);
}

bool HWInfo::putHWInfoSignalDelayTime(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDSingaldelaytime").body(body).put(deviceKey, reply);
}

bool HWInfo::getHWInfoCustonData(const QString& deviceKey, const QMap<QString, QString>& query,
                                 QMap<QString, QVariant>& result)
{
    return Request("Device_Customdata").parameters(query).get(deviceKey, result);
}

bool HWInfo::getHWInfoHotBackupInfo(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_BackInfo").get(deviceKey, result);
}

bool HWInfo::putHWInfoHotBackupInfo(const QString& deviceKey, const QList<QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_BackInfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoIncreaseVideoDelay(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                         QMap<QString, QVariant>& reply)
{
    return Request("Device_IncreaseVideoDelay").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoSyncinfo(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply)
{
    return Request("Device_SyncInfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoFrequency(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                QMap<QString, QVariant>& reply)
{
    return Request("Device_SyncInfoFrequency").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoInput(const QString& deviceKey, const QMap<QString, QVariant>& body,
                            QMap<QString, QVariant>& reply)
{
    return Request("Device_SyncInfoInput").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoExternalInput(const QString& deviceKey, QMap<QString, QVariant>& reply)
{
    return Request("Device_SyncInfoExternalInput").put(deviceKey, reply);
}

bool HWInfo::putHWInfoRename(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply)
{
    return Request("Device_Rename").body(body).put(deviceKey, reply);
}

bool HWInfo::putDeviceImage(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                            QMap<QString, QVariant>& reply)
{
    return MultipartRequest("Device_BackGroundPicture", parts).expectedTime(10000).put(deviceKey, reply);
}

bool HWInfo::putHWInfoImageToggle(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_BackGroundPictureToggle").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoMapping(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QMap<QString, QVariant>& reply)
{
    return Request("Device_Mapping").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoScreenControl(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_Sreencontrol").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoAbnormalNoSignalImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_NoSignalImage").body(body).put(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path.
bool HWInfo::putHWInfoAbnormalNoSignalCustomImage(const QString& deviceKey,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_NoSignalCustomImage").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoUpdate(const QString& deviceKey, const QByteArray& data, QMap<QString, QVariant>& reply)
{
    return Request("Device_HwUpdate").data(data).expectedTime(300000).daemon().put(deviceKey, reply);
}

bool HWInfo::getHWInfoUpdateProgress(const QString& deviceKey, QMap<QString, QVariant>& result)
{
    return Request("Device_HwUpdateProgress").expectedTime(3000).daemon().get(deviceKey, result);
}

// Quirk: The path of the hardware mode ends in a blank.
bool HWInfo::putEnterHwMode(const QString& deviceKey, const QMap<QString, QVariant>& parts,
                            QMap<QString, QVariant>& reply)
{
    return MultipartRequest("Device_EnterHwMode", parts).put(deviceKey, reply);
}

bool HWInfo::putHWInfoHDMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                             QMap<QString, QVariant>& reply)
{
    return Request("Device_HDMode").body(body).put(deviceKey, reply);
}

bool HWInfo::postHWInfoVersion(const QString& deviceKey, const QMap<QString, QString>& query,
                               const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_Version").parameters(query).body(body).post(deviceKey, reply);
}

bool HWInfo::putHWInfoTestModePattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("Device_TestModePattern").body(body).put(deviceKey, reply);
}

bool HWInfo::putLogLevel(const QString& deviceKey, const QMap<QString, QVariant>& body,
                         QMap<QString, QVariant>& reply)
{
    return Request("Device_LogLevel").body(body).put(deviceKey, reply);
}

bool HWInfo::putLogReserve(const QString& deviceKey, const QMap<QString, QVariant>& body,
                           QMap<QString, QVariant>& reply)
{
    return Request("Device_LogReserve").body(body).put(deviceKey, reply);
}

// Quirk: The lock goes out before its body is set. The device gets none.
bool HWInfo::lock(const QString& deviceKey, const QMap<QString, QVariant>& body,
                  QMap<QString, QVariant>& reply)
{
    Request request("Device_lock");
    request.put(deviceKey);
    return request.body(body).decodeInto(reply);
}

bool HWInfo::unLock(const QString& deviceKey, QMap<QString, QVariant>& reply)
{
    return Request("Device_lock").del(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path. So do the four below.
bool HWInfo::putHWInfoAutoBack(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply)
{
    return Request("Device_AutoBackInfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoAutoRestore(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_AutoRestoreInfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoManualBack(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_ManualBackInfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoManualRestore(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_ManualRestoreInfo").body(body).put(deviceKey, reply);
}

bool HWInfo::putHWInfoHBPortAutoToggle(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                       QMap<QString, QVariant>& reply)
{
    return Request("Device_PortAutoToggle").body(body).put(deviceKey, reply);
}
