// SPDX-License-Identifier: MIT
#include "objectsleft.h"

#include <deviceside.h>
#include <operationforms.h>
#include <operationrow.h>
#include <recordingengine.h>
#include <refusingengine.h>
#include <singleshots.h>

#include <communicator/httpproxy.h>

#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QThread>
#include <QTimer>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;
using Krelm::Communicator::HttpDevice::HttpProxy;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;
using Forms = OperationForms<ScreenInfo>;

namespace {

const QMap<QString, QString> id{{"id", sampleId}};
const QByteArray sampleJson = R"({"x":1})";

ScreenInfo* screenInfo()
{
    return ScreenInfo::getInstance();
}

using MutableWrite = bool (ScreenInfo::*)(const QString&, const QString&, Map&, Map&);
using GroupWrite = bool (ScreenInfo::*)(const QString&, const QStringList&, const Map&, List&);
using PlainWrite = bool (ScreenInfo::*)(const QString&, const QString&, const Map&);
using Read = bool (ScreenInfo::*)(const QString&, const QString&, Map&, bool);

// A PUT of a map that the operation could change and does not.
OperationRow mutableWrite(const char* name, const char* routeKey, MutableWrite operation)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::Map,
            [operation](Outputs& out) {
                Map body{{"x", 1}};
                const bool ok = (screenInfo()->*operation)(sampleDevice, sampleId, body, out.map);
                return ok && body == Map{{"x", 1}};
            },
            sampleJson,
            id};
}

// A PUT of a map to several screens, here to one.
OperationRow groupWrite(const char* name, const char* routeKey, GroupWrite operation)
{
    OperationRow row{name,
                     routeKey,
                     HttpMethod::Put,
                     Decoder::None,
                     [operation](Outputs& out) {
                         return (screenInfo()->*operation)(sampleDevice, {sampleId}, {{"x", 1}}, out.list);
                     },
                     sampleJson,
                     id};
    row.onFailure = OnFailure::KeepOutput;
    return row;
}

// A PUT of a map to one screen, without output.
OperationRow plainWrite(const char* name, const char* routeKey, PlainWrite operation)
{
    return {name,
            routeKey,
            HttpMethod::Put,
            Decoder::None,
            [operation](Outputs&) {
                return (screenInfo()->*operation)(sampleDevice, sampleId, {{"x", 1}});
            },
            sampleJson,
            id};
}

// A write that renews the cached property once the device agreed.
struct WriteThrough
{
    const char* name;
    std::function<bool(const QString& device, const Map& body)> write;
    Read read;
    const char* member;
    QVariant before;
    QVariant written;
    QVariant zero;
};

const WriteThrough writeThroughs[] = {
    {"ScreenInfo::set18bit",
     [](const QString& device, const Map& body) { return screenInfo()->set18bit(device, sampleId, body); },
     &ScreenInfo::get18bit, "enable", true, false, false},
    {"ScreenInfo::setLowLatency",
     [](const QString& device, const Map& body) {
         return screenInfo()->setLowLatency(device, sampleId, body);
     },
     &ScreenInfo::getLowLatency, "enable", false, true, false},
    {"ScreenInfo::setUniformDisplay",
     [](const QString& device, const Map& body) {
         return screenInfo()->setUniformDisplay(device, sampleId, body);
     },
     &ScreenInfo::getUniformDisplay, "enable", false, true, false},
    {"ScreenInfo::setGamut",
     [](const QString& device, const Map& body) {
         Map reply;
         return screenInfo()->setGamut(device, sampleId, body, reply);
     },
     &ScreenInfo::getCurrentGamut, "gamut", 3U, 5U, 0U},
};

// The HDR and 3D properties that a read caches.
struct EffectProperty
{
    const char* name;
    Forms::IdWrite write;
    GroupWrite writeGroup;
    Read read;
    const char* member;
    QVariant cached;
    QVariant written;
};

const EffectProperty effectProperties[] = {
    {"HdrSwitch", &ScreenInfo::putDeviceScreenHdrparamHdrSwitch,
     &ScreenInfo::putDeviceScreenHdrparamHdrSwitch, &ScreenInfo::getDeviceScreenHdrparamHdrSwitch, "enable",
     true, false},
    {"HdrMode", &ScreenInfo::putDeviceScreenHdrparamHdrMode, &ScreenInfo::putDeviceScreenHdrparamHdrMode,
     &ScreenInfo::getDeviceScreenHdrparamHdrMode, "mode", 3, 4},
    {"Hlgtype", &ScreenInfo::putDeviceScreenHdrparamHlgtype, &ScreenInfo::putDeviceScreenHdrparamHlgtype,
     &ScreenInfo::getDeviceScreenHdrparamHlgtype, "hlgMode", 3, 4},
    {"Maxoflight", &ScreenInfo::putDeviceScreenHdrparamMaxoflight,
     &ScreenInfo::putDeviceScreenHdrparamMaxoflight, &ScreenInfo::getDeviceScreenHdrparamMaxoflight,
     "peakBrightness", 3, 4},
    {"Illuminance", &ScreenInfo::putDeviceScreenHdrparamIlluminance,
     &ScreenInfo::putDeviceScreenHdrparamIlluminance, &ScreenInfo::getDeviceScreenHdrparamIlluminance,
     "illuminance", 3, 4},
    {"Lowgray", &ScreenInfo::putDeviceScreenHdrparamLowgray, &ScreenInfo::putDeviceScreenHdrparamLowgray,
     &ScreenInfo::getDeviceScreenHdrparamLowgray, "lowGray", 3, 4},
    {"3D switch", &ScreenInfo::putDeviceScreenthreeDSwitch, &ScreenInfo::putDeviceScreenthreeDSwitch,
     &ScreenInfo::getDeviceScreenthreeDSwitch, "enable", true, false},
    {"3D source mode", &ScreenInfo::putDeviceScreenthreeDSourceMode,
     &ScreenInfo::putDeviceScreenthreeDSourceMode, &ScreenInfo::getDeviceScreenthreeDSourceMode, "sourceMode",
     3, 4},
    {"3D eye priority", &ScreenInfo::putDeviceScreenthreeDEyepriority,
     &ScreenInfo::putDeviceScreenthreeDEyepriority, &ScreenInfo::getDeviceScreenthreeDEyepriority,
     "eyePriority", 3, 4},
    {"3D depth of field", &ScreenInfo::putDeviceScreenthreeDDepthField,
     &ScreenInfo::putDeviceScreenthreeDDepthField, &ScreenInfo::getDeviceScreenthreeDDepthField, "fieldDepth",
     3, 4},
};

} // namespace

Q_DECLARE_METATYPE(const WriteThrough*)
Q_DECLARE_METATYPE(const EffectProperty*)

class TestScreenInfoWrites : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    static void everyWriteThrough()
    {
        QTest::addColumn<const WriteThrough*>("property");
        for (const WriteThrough& property : writeThroughs) {
            QTest::newRow(property.name) << &property;
        }
    }
    QVariant cachedValue(const WriteThrough* property) const
    {
        Map out;
        (screenInfo()->*property->read)(m_device, sampleId, out, false);
        return out.value(property->member);
    }
    void cacheTheOldValue(const WriteThrough* property)
    {
        m_engine->answer(RecordingEngine::data("{\"" + QByteArray(property->member) +
                                               "\":" + property->before.toByteArray() + "}"));
        QCOMPARE(cachedValue(property), property->before);
        m_engine->answer(RecordingEngine::data("{}"));
        m_engine->forget();
    }
    bool setHdrSwitch(const QStringList& ids, List& results) const
    {
        return screenInfo()->putDeviceScreenHdrparamHdrSwitch(m_device, ids, Map{{"enable", true}}, results);
    }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
        fireAllSingleShots(10000);
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            Forms::idWrite("ScreenInfo::putDeviceScreenHdrparamHdrSwitch", "ScreenHDRSwitch",
                           &ScreenInfo::putDeviceScreenHdrparamHdrSwitch),
            groupWrite("ScreenInfo::putDeviceScreenHdrparamHdrSwitch (overload)", "ScreenHDRSwitch",
                       &ScreenInfo::putDeviceScreenHdrparamHdrSwitch),
            Forms::idWrite("ScreenInfo::putDeviceScreenHdrparamHdrMode", "ScreenHDRType",
                           &ScreenInfo::putDeviceScreenHdrparamHdrMode),
            groupWrite("ScreenInfo::putDeviceScreenHdrparamHdrMode (overload)", "ScreenHDRType",
                       &ScreenInfo::putDeviceScreenHdrparamHdrMode),
            Forms::idWrite("ScreenInfo::putDeviceScreenHdrparamHlgtype", "ScreenHLGMode",
                           &ScreenInfo::putDeviceScreenHdrparamHlgtype),
            groupWrite("ScreenInfo::putDeviceScreenHdrparamHlgtype (overload)", "ScreenHLGMode",
                       &ScreenInfo::putDeviceScreenHdrparamHlgtype),
            Forms::idWrite("ScreenInfo::putDeviceScreenHdrparamMaxoflight", "ScreenHDRPeakBrightness",
                           &ScreenInfo::putDeviceScreenHdrparamMaxoflight),
            groupWrite("ScreenInfo::putDeviceScreenHdrparamMaxoflight (overload)", "ScreenHDRPeakBrightness",
                       &ScreenInfo::putDeviceScreenHdrparamMaxoflight),
            Forms::idWrite("ScreenInfo::putDeviceScreenHdrparamIlluminance", "ScreenHDRIlluminance",
                           &ScreenInfo::putDeviceScreenHdrparamIlluminance),
            groupWrite("ScreenInfo::putDeviceScreenHdrparamIlluminance (overload)", "ScreenHDRIlluminance",
                       &ScreenInfo::putDeviceScreenHdrparamIlluminance),
            Forms::idWrite("ScreenInfo::putDeviceScreenHdrparamLowgray", "ScreenHDRLowgray",
                           &ScreenInfo::putDeviceScreenHdrparamLowgray),
            groupWrite("ScreenInfo::putDeviceScreenHdrparamLowgray (overload)", "ScreenHDRLowgray",
                       &ScreenInfo::putDeviceScreenHdrparamLowgray),
            Forms::idWrite("ScreenInfo::putDeviceScreenthreeDSwitch", "Screen3DSwitch",
                           &ScreenInfo::putDeviceScreenthreeDSwitch),
            groupWrite("ScreenInfo::putDeviceScreenthreeDSwitch (overload)", "Screen3DSwitch",
                       &ScreenInfo::putDeviceScreenthreeDSwitch),
            Forms::idWrite("ScreenInfo::putDeviceScreenthreeDSourceMode", "ScreenSourceMode",
                           &ScreenInfo::putDeviceScreenthreeDSourceMode),
            groupWrite("ScreenInfo::putDeviceScreenthreeDSourceMode (overload)", "ScreenSourceMode",
                       &ScreenInfo::putDeviceScreenthreeDSourceMode),
            Forms::idWrite("ScreenInfo::putDeviceScreenthreeDEyepriority", "Screen3DEyepriority",
                           &ScreenInfo::putDeviceScreenthreeDEyepriority),
            groupWrite("ScreenInfo::putDeviceScreenthreeDEyepriority (overload)", "Screen3DEyepriority",
                       &ScreenInfo::putDeviceScreenthreeDEyepriority),
            Forms::idWrite("ScreenInfo::putDeviceScreenthreeDStartposition", "Screen3DRighteyeOffset",
                           &ScreenInfo::putDeviceScreenthreeDStartposition),
            groupWrite("ScreenInfo::putDeviceScreenthreeDStartposition (overload)", "Screen3DRighteyeOffset",
                       &ScreenInfo::putDeviceScreenthreeDStartposition),
            Forms::idWrite("ScreenInfo::putDeviceScreenthreeDDepthField", "Screen3DFieldDepth",
                           &ScreenInfo::putDeviceScreenthreeDDepthField),
            groupWrite("ScreenInfo::putDeviceScreenthreeDDepthField (overload)", "Screen3DFieldDepth",
                       &ScreenInfo::putDeviceScreenthreeDDepthField),
            Forms::idWrite("ScreenInfo::putDeviceScreenCabledisconnect", "ScreenCabledisconnect",
                           &ScreenInfo::putDeviceScreenCabledisconnect),
            Forms::idWrite("ScreenInfo::putDeviceScreenSeamadjustment", "ScreenSeamAdjustment",
                           &ScreenInfo::putDeviceScreenSeamadjustment),
            Forms::idWrite("ScreenInfo::putScreenSetInput", "ScreenSetInput", &ScreenInfo::putScreenSetInput),
            Forms::idWrite("ScreenInfo::setColorSpaceInit", "ScreenColorSpaceInit",
                           &ScreenInfo::setColorSpaceInit),
            Forms::idCommand("ScreenInfo::setColorSpaceNormalDisplay", "ScreenColorSpaceRecover",
                             &ScreenInfo::setColorSpaceNormalDisplay),
            Forms::idWrite("ScreenInfo::setDemoColorSpaceGamut", "ScreenDemoGamut",
                           &ScreenInfo::setDemoColorSpaceGamut),
            Forms::idWrite("ScreenInfo::setScreenColor", "ScreenColor", &ScreenInfo::setScreenColor),
            mutableWrite("ScreenInfo::setChangeColorFromToTarget", "Device_SwitchColorFromSrcToTarget",
                         &ScreenInfo::setChangeColorFromToTarget),
            mutableWrite("ScreenInfo::setSkinProtect", "Device_SkinProtect", &ScreenInfo::setSkinProtect),
            mutableWrite("ScreenInfo::setToleranceToggle", "Device_ToleranceImage",
                         &ScreenInfo::setToleranceToggle),
            mutableWrite("ScreenInfo::setColorCorrection", "Device_ColorCorrection",
                         &ScreenInfo::setColorCorrection),
            mutableWrite("ScreenInfo::setWhiteBlackColorCorrection", "Device_WhiteBlackColorCorrection",
                         &ScreenInfo::setWhiteBlackColorCorrection),
            mutableWrite("ScreenInfo::resetColorCorrection", "Device_ResetColorCorrection",
                         &ScreenInfo::resetColorCorrection),
            mutableWrite("ScreenInfo::resetColorpReplace", "Device_ResetColorReplace",
                         &ScreenInfo::resetColorpReplace),
            mutableWrite("ScreenInfo::triggerColorCorrection", "Device_ColorCorrecttionTrigger",
                         &ScreenInfo::triggerColorCorrection),
            mutableWrite("ScreenInfo::triggerColorReplace", "Device_ColorReplaceTrigger",
                         &ScreenInfo::triggerColorReplace),
            Forms::listWrite("ScreenInfo::setClearLinestate", "Screen_ClearChooseState",
                             &ScreenInfo::setClearLinestate),
            Forms::listWrite("ScreenInfo::setIsShowLinestate", "Screen_IsShowHWState",
                             &ScreenInfo::setIsShowLinestate),
            plainWrite("ScreenInfo::setXbitMode", "ScreenXbitMode", &ScreenInfo::setXbitMode),
            {"ScreenInfo::uploadNiccData",
             "ScreenNiccFile",
             HttpMethod::Put,
             Decoder::None,
             [](Outputs&) {
                 return screenInfo()->uploadNiccData(sampleDevice, sampleId, QByteArray("\0\xff{", 3));
             },
             QByteArray("\0\xff{", 3),
             {},
             id},
            {"ScreenInfo::getNiccState",
             "ScreenNiccState",
             HttpMethod::Get,
             Decoder::None,
             [](Outputs&) {
                 return screenInfo()->getNiccState(sampleDevice, sampleId, {{"x", 1}});
             },
             {},
             {},
             id},
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void operationsThatDoNotWaitSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const OperationRow rows[] = {
            startCounting(plainWrite("ScreenInfo::set18bit", "ScreenXbit", &ScreenInfo::set18bit)),
            startCounting(
                plainWrite("ScreenInfo::setLowLatency", "ScreenLowLatency", &ScreenInfo::setLowLatency)),
            startCounting(plainWrite("ScreenInfo::setUniformDisplay", "ScreenUniformDisplay",
                                     &ScreenInfo::setUniformDisplay)),
            startCounting({"ScreenInfo::setGamut", "ScreenGamut", HttpMethod::Put, Decoder::None,
                           [](Outputs& out) {
                               return screenInfo()->setGamut(sampleDevice, sampleId, {{"x", 1}}, out.map);
                           },
                           sampleJson, id}),
            Forms::idWrite("ScreenInfo::saveColorTemperature", "ScreenSaveColorTemperature",
                           &ScreenInfo::saveColorTemperature),
            plainWrite("ScreenInfo::setColorTemperature", "ScreenColorTemperature",
                       &ScreenInfo::setColorTemperature),
            Forms::mapWrite("ScreenInfo::putColorsWitchData", "ScreenColorsWitchData",
                            &ScreenInfo::putColorsWitchData),
            Forms::mapWrite("ScreenInfo::putNormalDisplay", "ScreenNormalDisplay",
                            &ScreenInfo::putNormalDisplay),
            Forms::mapWrite("ScreenInfo::putScreenName", "ScreenUpdateName", &ScreenInfo::putScreenName),
            Forms::mapWrite("ScreenInfo::putShowlineState", "ScreenShowlineState",
                            &ScreenInfo::putShowlineState),
            Forms::mapWrite("ScreenInfo::setHwColor", "Screen_AdjustSceenColor", &ScreenInfo::setHwColor),
            Forms::mapWrite("ScreenInfo::setNomalDisplay", "Screen_NomalShow", &ScreenInfo::setNomalDisplay),
            Forms::mapWrite("ScreenInfo::setMouseToScreen", "Screen_MouseToScreen",
                            &ScreenInfo::setMouseToScreen),
            Forms::mapWrite("ScreenInfo::setScreemHWMode", "Screen_EnterHwMode",
                            &ScreenInfo::setScreemHWMode),
            Forms::listWrite("ScreenInfo::setScreenLineState", "Screen_SetLineState",
                             &ScreenInfo::setScreenLineState),
            Forms::listWrite("ScreenInfo::setScreenRegionState", "Screen_SetRegionState",
                             &ScreenInfo::setScreenRegionState),
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsThatDoNotWaitSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkUnansweredOperation(row);
    }

    // Writes through the cache

    void theCacheTakesTheValueOnceTheDeviceAgreed_data() { everyWriteThrough(); }
    void theCacheTakesTheValueOnceTheDeviceAgreed()
    {
        QFETCH(const WriteThrough*, property);
        cacheTheOldValue(property);
        m_engine->hold();
        QVERIFY(property->write(m_device, {{property->member, property->written}}));
        QCOMPARE(cachedValue(property), property->before);
        QVERIFY(m_engine->release());
        QTRY_COMPARE(cachedValue(property), property->written);
        QCOMPARE(cachedValue(property).userType(), property->written.userType());
        QCOMPARE(m_engine->count(), 1);
    }

    void aRefusedValueLeavesTheCache_data() { everyWriteThrough(); }
    void aRefusedValueLeavesTheCache()
    {
        QFETCH(const WriteThrough*, property);
        cacheTheOldValue(property);
        m_engine->answer(RecordingEngine::failure());
        QVERIFY2(property->write(m_device, {{property->member, property->written}}), "it was started");
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(cachedValue(property), property->before);
    }

    void aBodyWithoutTheMemberIsSentAndCachedAsZero_data() { everyWriteThrough(); }
    void aBodyWithoutTheMemberIsSentAndCachedAsZero()
    {
        QFETCH(const WriteThrough*, property);
        cacheTheOldValue(property);
        const QVariant set = property->written != property->zero ? property->written : property->before;
        QVERIFY(property->write(m_device, {{property->member, set}}));
        QTRY_COMPARE(cachedValue(property), set);
        QVERIFY(set != property->zero);
        QVERIFY(property->write(m_device, {{"x", 1}}));
        QCOMPARE(m_engine->last().body, sampleJson);
        QTRY_COMPARE(cachedValue(property), property->zero);
        QCOMPARE(m_engine->count(), 2);
    }

    void whatTheDeviceRepliesIsNotCached()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":9,"data":{"enable":false}})"));
        QVERIFY(screenInfo()->setLowLatency(m_device, sampleId, {{"enable", true}}));
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        Map out;
        QVERIFY(screenInfo()->getLowLatency(m_device, sampleId, out, false));
        QCOMPARE(out, (Map{{"enable", true}}));
        QCOMPARE(m_engine->count(), 1);
    }

    void aWriteThatIsNotStartedSaysSoAndLeavesTheCache_data() { everyWriteThrough(); }
    void aWriteThatIsNotStartedSaysSoAndLeavesTheCache()
    {
        QFETCH(const WriteThrough*, property);
        cacheTheOldValue(property);
        HttpProxy::getInstance()->setEngine(std::make_unique<RefusingEngine>());
        QVERIFY(!property->write(m_device, {{property->member, property->written}}));
        QCoreApplication::processEvents();
        QCOMPARE(cachedValue(property), property->before);
    }

    void hdrAndThreeDWritesLeaveTheCache_data()
    {
        QTest::addColumn<const EffectProperty*>("property");
        for (const EffectProperty& property : effectProperties) {
            QTest::newRow(property.name) << &property;
        }
    }
    void hdrAndThreeDWritesLeaveTheCache()
    {
        QFETCH(const EffectProperty*, property);
        const Map cached{{property->member, property->cached}};
        const Map written{{property->member, property->written}};
        m_engine->answer(RecordingEngine::data(QJsonDocument::fromVariant(cached).toJson()));
        Map out;
        QVERIFY((screenInfo()->*property->read)(m_device, sampleId, out, false));
        QCOMPARE(out, cached);
        Map reply;
        List results;
        m_engine->answer(RecordingEngine::data(QJsonDocument::fromVariant(written).toJson()));
        QVERIFY((screenInfo()->*property->write)(m_device, sampleId, written, reply));
        QVERIFY((screenInfo()->*property->writeGroup)(m_device, {sampleId}, written, results));
        QVERIFY((screenInfo()->*property->read)(m_device, sampleId, out, false));
        QCOMPARE(out, cached);
        QCOMPARE(m_engine->count(), 3);
    }

    // Several screens

    void oneFailedScreenFailsTheGroupAndLeavesTheResults()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.placeHolders.value("id") == "1" ? RecordingEngine::failure()
                                                           : RecordingEngine::data(R"({"a":1})");
        });
        List results{"kept"};
        QVERIFY(!setHdrSwitch({"1", "2"}, results));
        QCOMPARE(results, (List{"kept"}));
        QCOMPARE(m_engine->count(), 2);
    }

    void aGroupWriteSendsTheBodyToEachScreenInOrder()
    {
        List results{"kept"};
        QVERIFY(setHdrSwitch({"3", "1", "2"}, results));
        QCOMPARE(results, (List{"kept"}));
        QStringList ids;
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(sent.deviceKey, m_device);
            QCOMPARE(sent.path, QString("/api/v1/device/screen/{id}/hdr"));
            QCOMPARE(sent.body, QByteArray(R"({"enable":true})"));
            ids << sent.placeHolders.value("id");
        }
        QCOMPARE(ids, (QStringList{"3", "1", "2"}));
    }

    void theTimerOfAnAnsweredScreenFailsTheGroupAndMayEndItBeforeTheSlowest()
    {
        m_engine->hold();
        QTimer::singleShot(0, this, [this] {
            m_engine->release();
            // The answered package is released before its timer fires.
            QTRY_COMPARE(m_engine->held(), 1);
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(fireSingleShots(10000, 1), 1);
            // The call has ended by now: the second reply comes too late.
            QVERIFY(m_engine->release());
        });
        List results{"kept"};
        QVERIFY(!setHdrSwitch({"1", "2"}, results));
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(results, (List{"kept"}));
    }

    void aSilentScreenFailsTheGroupWhenItsTimeIsUp()
    {
        m_engine->hold();
        int fired = 0;
        QTimer::singleShot(0, this, [&] { fired = fireSingleShots(10000, 2); });
        List results;
        QVERIFY(!setHdrSwitch({"1", "2"}, results));
        QCOMPARE(fired, 2);
        QTRY_VERIFY(!m_engine->release());
    }

    void aGroupOfNobodyWaitsUntilSomethingElseQuitsTheLoop()
    {
        bool turned = false;
        bool ok = false;
        List results{"kept"};
        // On a thread of its own, whose loops quit() ends without ending those of the program.
        const std::unique_ptr<QThread> caller(QThread::create([&] {
            QObject home;
            QTimer::singleShot(0, &home, [&] {
                turned = true;
                QThread::currentThread()->quit();
            });
            ok = setHdrSwitch({}, results);
        }));
        caller->start();
        QVERIFY(caller->wait(60000));
        QVERIFY(turned);
        QVERIFY(ok);
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(results, (List{"kept"}));
    }

    // The others

    void aRequestForWhichTheTableHasNoPathGoesOutWithoutOne_data()
    {
        QTest::addColumn<bool>("isMultiScreen");
        QTest::newRow("single-screen protocol") << false;
        QTest::newRow("multi-screen protocol") << true;
    }
    void aRequestForWhichTheTableHasNoPathGoesOutWithoutOne()
    {
        QFETCH(bool, isMultiScreen);
        if (isMultiScreen) {
            HWInfo::getInstance()->getHwProtoc(m_device, true);
        }
        m_engine->forget();
        Map reply;
        for (int call = 1; call <= 2; ++call) {
            QVERIFY(screenInfo()->setHwColor(m_device, {{"x", 1}}, reply));
            QCOMPARE(m_engine->count(), call);
            QCOMPARE(m_engine->last().path, QString());
            QCOMPARE(m_engine->last().body, sampleJson);
        }
    }

    void anEmptyScreenIdIsNotSentWithNiccData()
    {
        QVERIFY(screenInfo()->uploadNiccData(m_device, QString(), "data"));
        QVERIFY(m_engine->last().parameters.isEmpty());
        QVERIFY(screenInfo()->getNiccState(m_device, QString(), {}));
        QVERIFY(m_engine->last().parameters.isEmpty());
        QCOMPARE(m_engine->count(), 2);
    }

    void settingTheModeOfTheExtendedBitDepthLeavesOneRequestPerCall()
    {
        const auto setMode = [] { screenInfo()->setXbitMode(sampleDevice, sampleId, {{"mode", 1}}); };
        const auto setInput = [] {
            Map reply;
            screenInfo()->putScreenSetInput(sampleDevice, sampleId, {{"input", 1}}, reply);
        };
        QCOMPARE(objectsLeftBy(setMode), 1);
        QCOMPARE(objectsLeftBy(setMode), 1);
        QCOMPARE(objectsLeftBy(setInput), 0);
    }

    void fineGrayIsNotInUse()
    {
        QVERIFY(!screenInfo()->setFineGray(m_device, sampleId, {{"enable", true}}));
        QVERIFY(!screenInfo()->setFineGray(QString(), QString(), {}));
        QCOMPARE(m_engine->count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestScreenInfoWrites)
#include "tst_screeninfo_writes.moc"
