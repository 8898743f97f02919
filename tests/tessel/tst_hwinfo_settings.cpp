// SPDX-License-Identifier: MIT
#include <deviceside.h>
#include <operationrow.h>
#include <recordingengine.h>

#include <tessel/hwinfo.h>

#include <QSemaphore>
#include <QThread>
#include <QtTest>

#include <memory>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using Setting = bool (HWInfo::*)(const QString&, const Map&, Map&);
Q_DECLARE_METATYPE(Setting)

namespace {

HWInfo* hwInfo()
{
    return HWInfo::getInstance();
}

} // namespace

class TestHWInfoSettings : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        QList<OperationRow> rows;

        struct Plain
        {
            const char* name;
            const char* routeKey;
            Setting put;
        };
        const Plain plain[] = {
            {"HWInfo::putHWInfo", "Device_Hwinfo", &HWInfo::putHWInfo},
            {"HWInfo::putHWInfoCustomemit", "Device_Customemit", &HWInfo::putHWInfoCustomemit},
            {"HWInfo::putHWInfoSignalDelayTime", "Device_PipeThreeDSingaldelaytime",
             &HWInfo::putHWInfoSignalDelayTime},
            {"HWInfo::putHWInfoIncreaseVideoDelay", "Device_IncreaseVideoDelay",
             &HWInfo::putHWInfoIncreaseVideoDelay},
            {"HWInfo::putHWInfoSyncinfo", "Device_SyncInfo", &HWInfo::putHWInfoSyncinfo},
            {"HWInfo::putHWInfoFrequency", "Device_SyncInfoFrequency", &HWInfo::putHWInfoFrequency},
            {"HWInfo::putHWInfoInput", "Device_SyncInfoInput", &HWInfo::putHWInfoInput},
            {"HWInfo::putHWInfoRename", "Device_Rename", &HWInfo::putHWInfoRename},
            {"HWInfo::putHWInfoImageToggle", "Device_BackGroundPictureToggle", &HWInfo::putHWInfoImageToggle},
            {"HWInfo::putHWInfoMapping", "Device_Mapping", &HWInfo::putHWInfoMapping},
            {"HWInfo::putHWInfoScreenControl", "Device_Sreencontrol", &HWInfo::putHWInfoScreenControl},
            {"HWInfo::putHWInfoAbnormalNoSignalImage", "Device_NoSignalImage",
             &HWInfo::putHWInfoAbnormalNoSignalImage},
            {"HWInfo::putHWInfoAbnormalNoSignalCustomImage", "Device_NoSignalCustomImage",
             &HWInfo::putHWInfoAbnormalNoSignalCustomImage},
            {"HWInfo::putHWInfoHDMode", "Device_HDMode", &HWInfo::putHWInfoHDMode},
            {"HWInfo::putHWInfoTestModePattern", "Device_TestModePattern", &HWInfo::putHWInfoTestModePattern},
            {"HWInfo::putLogLevel", "Device_LogLevel", &HWInfo::putLogLevel},
            {"HWInfo::putLogReserve", "Device_LogReserve", &HWInfo::putLogReserve},
            {"HWInfo::putHWInfoAutoBack", "Device_AutoBackInfo", &HWInfo::putHWInfoAutoBack},
            {"HWInfo::putHWInfoAutoRestore", "Device_AutoRestoreInfo", &HWInfo::putHWInfoAutoRestore},
            {"HWInfo::putHWInfoManualBack", "Device_ManualBackInfo", &HWInfo::putHWInfoManualBack},
            {"HWInfo::putHWInfoManualRestore", "Device_ManualRestoreInfo", &HWInfo::putHWInfoManualRestore},
            {"HWInfo::putHWInfoHBPortAutoToggle", "Device_PortAutoToggle",
             &HWInfo::putHWInfoHBPortAutoToggle},
        };
        const Map settings{{"a", 12}, {"b", Map{{"c", true}}}};
        const QByteArray json = R"({"a":12,"b":{"c":true}})";
        for (const Plain& op : plain) {
            rows << OperationRow{
                op.name,
                op.routeKey,
                HttpMethod::Put,
                Decoder::Map,
                [=](Outputs& out) { return (hwInfo()->*op.put)(sampleDevice, settings, out.map); },
                json};
        }

        struct Bare
        {
            const char* name;
            const char* routeKey;
            bool (HWInfo::*call)(const QString&, Map&);
            HttpMethod method;
        };
        const Bare bare[] = {
            {"HWInfo::getHWInfoSignalDelayTime", "Device_PipeThreeDSingaldelaytime",
             &HWInfo::getHWInfoSignalDelayTime, HttpMethod::Get},
            {"HWInfo::putHWInfoExternalInput", "Device_SyncInfoExternalInput",
             &HWInfo::putHWInfoExternalInput, HttpMethod::Put},
            {"HWInfo::getHWInfoUpdateProgress", "Device_HwUpdateProgress", &HWInfo::getHWInfoUpdateProgress,
             HttpMethod::Get},
            {"HWInfo::unLock", "Device_lock", &HWInfo::unLock, HttpMethod::Delete},
        };
        for (const Bare& op : bare) {
            rows << OperationRow{op.name, op.routeKey, op.method, Decoder::Map,
                                 [=](Outputs& out) { return (hwInfo()->*op.call)(sampleDevice, out.map); }};
            if (op.call == &HWInfo::getHWInfoUpdateProgress) {
                rows.last().expectedTime = 3000;
                rows.last().daemon = true;
            }
        }

        const Map parts{{"file", QByteArray("image")}, {"name", "x"}};
        const Plain multipart[] = {
            {"HWInfo::putDeviceImage", "Device_BackGroundPicture", &HWInfo::putDeviceImage},
            {"HWInfo::putEnterHwMode", "Device_EnterHwMode", &HWInfo::putEnterHwMode},
        };
        for (const Plain& op : multipart) {
            rows << OperationRow{op.name, op.routeKey, HttpMethod::Put, Decoder::Map, [=](Outputs& out) {
                                     return (hwInfo()->*op.put)(sampleDevice, parts, out.map);
                                 }};
            rows.last().parts = parts;
            if (op.put == &HWInfo::putDeviceImage) {
                rows.last().expectedTime = 10000;
            }
        }

        const QMap<QString, QString> query{{"type", "all of it"}};
        rows << OperationRow{
            "HWInfo::putHWInfoSystem",
            "Device_System",
            HttpMethod::Put,
            Decoder::Map,
            [=](Outputs& out) { return hwInfo()->putHWInfoSystem(sampleDevice, query, out.map); },
            {},
            {},
            query};
        rows << OperationRow{
            "HWInfo::getHWInfoCustonData",
            "Device_Customdata",
            HttpMethod::Get,
            Decoder::Map,
            [=](Outputs& out) { return hwInfo()->getHWInfoCustonData(sampleDevice, query, out.map); },
            {},
            {},
            query};
        rows << OperationRow{
            "HWInfo::postHWInfoVersion",
            "Device_Version",
            HttpMethod::Post,
            Decoder::Map,
            [=](Outputs& out) { return hwInfo()->postHWInfoVersion(sampleDevice, query, settings, out.map); },
            json,
            {},
            query};
        rows << OperationRow{
            "HWInfo::getHWInfoHotBackupInfo", "Device_BackInfo", HttpMethod::Get, Decoder::FlatList,
            [=](Outputs& out) { return hwInfo()->getHWInfoHotBackupInfo(sampleDevice, out.list); }};
        rows << OperationRow{"HWInfo::putHWInfoHotBackupInfo",
                             "Device_BackInfo",
                             HttpMethod::Put,
                             Decoder::Map,
                             [=](Outputs& out) {
                                 return hwInfo()->putHWInfoHotBackupInfo(sampleDevice, {1, 2}, out.map);
                             },
                             "[1,2]"};
        const QByteArray bytes("\0\1{\xff", 4);
        rows << OperationRow{
            "HWInfo::putHWInfoUpdate",
            "Device_HwUpdate",
            HttpMethod::Put,
            Decoder::Map,
            [=](Outputs& out) { return hwInfo()->putHWInfoUpdate(sampleDevice, bytes, out.map); },
            bytes,
            {},
            {},
            300000,
            {},
            true};
        rows << OperationRow{"HWInfo::lock", "Device_lock", HttpMethod::Put, Decoder::Map,
                             [=](Outputs& out) { return hwInfo()->lock(sampleDevice, settings, out.map); }};

        for (const OperationRow& row : qAsConst(rows)) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void putHWInfoWithAnEmptyMapSendsAnEmptyObject()
    {
        Map result;
        QVERIFY(hwInfo()->putHWInfo(sampleDevice, {}, result));
        QCOMPARE(m_engine->last().body, QByteArray("{}"));
    }

    void putHWInfoAgainstAnUnreachableDeviceEmptiesTheResult()
    {
        m_engine->answer(RecordingEngine::failure());
        Map result{{"stale", 1}};
        QVERIFY(!hwInfo()->putHWInfo(sampleDevice, {{"a", 1}}, result));
        QVERIFY(result.isEmpty());
    }

    void aPutWhoseReplyCarriesANonZeroCodeIsASuccess()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":5,"message":"no","data":{"a":1}})"));
        Map result;
        QVERIFY(hwInfo()->putHWInfo(sampleDevice, {}, result));
        QCOMPARE(result, (Map{{"a", qlonglong(1)}}));
    }

    void lockSendsAPutWithoutItsBody()
    {
        m_engine->answer(RecordingEngine::data(R"({"locked":true})"));
        Map result;
        QVERIFY(hwInfo()->lock(sampleDevice, {{"owner", "me"}}, result));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
        QVERIFY(m_engine->last().body.isEmpty());
        QCOMPARE(result, (Map{{"locked", true}}));
    }

    void putHWInfoUpdateSendsExactlyTheBytes()
    {
        QByteArray firmware(1 << 20, Qt::Uninitialized);
        for (int i = 0; i < firmware.size(); ++i) {
            firmware[i] = static_cast<char>(i * 31);
        }
        Map result;
        QVERIFY(hwInfo()->putHWInfoUpdate(sampleDevice, firmware, result));
        QCOMPARE(m_engine->last().body, firmware);
    }

    void theProgressMayBeAskedFromAnotherThreadWhileTheUploadRuns()
    {
        QSemaphore uploading;
        QSemaphore asked;
        m_engine->answer([&](const RecordingEngine::Request& request) {
            if (request.method == HttpMethod::Get) {
                return RecordingEngine::data(R"({"progress":40})");
            }
            uploading.release();
            return asked.tryAcquire(1, 60000) ? RecordingEngine::data(R"({"done":true})")
                                              : RecordingEngine::failure();
        });
        bool uploaded = false;
        Map uploadResult;
        HWInfo* const operations = hwInfo();
        const std::unique_ptr<QThread> uploader(QThread::create(
            [&] { uploaded = operations->putHWInfoUpdate(sampleDevice, "firmware", uploadResult); }));
        uploader->start();
        QVERIFY(uploading.tryAcquire(1, 60000));
        Map progress;
        QVERIFY(operations->getHWInfoUpdateProgress(sampleDevice, progress));
        QCOMPARE(progress, (Map{{"progress", qlonglong(40)}}));
        asked.release();
        QVERIFY(uploader->wait(60000));
        QVERIFY(uploaded);
        QCOMPARE(uploadResult, (Map{{"done", true}}));
    }

    void getHWInfoHotBackupInfoEmptiesTheListOnFailure()
    {
        m_engine->answer(RecordingEngine::failure());
        QList<QVariant> result{1, 2};
        QVERIFY(!hwInfo()->getHWInfoHotBackupInfo(sampleDevice, result));
        QVERIFY(result.isEmpty());
    }

    void operationsWithoutARouteGoOutWithAnEmptyPath_data()
    {
        QTest::addColumn<Setting>("put");
        QTest::newRow("putHWInfoAutoBack") << &HWInfo::putHWInfoAutoBack;
        QTest::newRow("putHWInfoAutoRestore") << &HWInfo::putHWInfoAutoRestore;
        QTest::newRow("putHWInfoManualBack") << &HWInfo::putHWInfoManualBack;
        QTest::newRow("putHWInfoManualRestore") << &HWInfo::putHWInfoManualRestore;
        QTest::newRow("putHWInfoHBPortAutoToggle") << &HWInfo::putHWInfoHBPortAutoToggle;
        QTest::newRow("putHWInfoAbnormalNoSignalCustomImage")
            << &HWInfo::putHWInfoAbnormalNoSignalCustomImage;
    }
    void operationsWithoutARouteGoOutWithAnEmptyPath()
    {
        QFETCH(Setting, put);
        m_engine->answer(RecordingEngine::failure(RecordingEngine::State::InvalidRequest));
        Map result{{"stale", 1}};
        QVERIFY(!(hwInfo()->*put)(sampleDevice, {{"a", 1}}, result));
        QCOMPARE(m_engine->count(), 1);
        QVERIFY(m_engine->last().path.isEmpty());
        QCOMPARE(m_engine->last().body, QByteArray(R"({"a":1})"));
        QVERIFY(result.isEmpty());
    }

    void theBlankBehindEnterHwModeIsSent()
    {
        Map result;
        QVERIFY(hwInfo()->putEnterHwMode(sampleDevice, {{"mode", 1}}, result));
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/hw/enterhwmode "));
    }

    void settingsLeaveTheDescriptionAlone()
    {
        const QString device = DeviceSide::fresh();
        Map result;
        QVERIFY(hwInfo()->putHWInfo(device, {{"customName", "x"}}, result));
        m_engine->answer(RecordingEngine::data(R"({"customName":"x"})"));
        QVERIFY(hwInfo()->getHWInfo(device, false));
        QCOMPARE(m_engine->count(), 2);
        QVERIFY(hwInfo()->putHWInfoRename(device, {{"customName", "y"}}, result));
        QVERIFY(hwInfo()->getHWInfo(device, result, false));
        QCOMPARE(result, (Map{{"customName", "x"}}));
        QCOMPARE(m_engine->count(), 3);
    }
};

QTEST_GUILESS_MAIN(TestHWInfoSettings)
#include "tst_hwinfo_settings.moc"
