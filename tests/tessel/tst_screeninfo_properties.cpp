// SPDX-License-Identifier: MIT
#include "objectsleft.h"
#include "screenlocks.h"

#include <deviceside.h>
#include <operationrow.h>
#include <recordingengine.h>
#include <replaced.h>

#include <tessel/allurlresource.h>
#include <tessel/screeninfo.h>

#include <QtTest>

#include <new>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;

namespace {

const QString screen = QStringLiteral("7");

ScreenInfo* screenInfo()
{
    return ScreenInfo::getInstance();
}

using Read = bool (ScreenInfo::*)(const QString&, const QString&, Map&, bool);

struct Property
{
    const char* name;
    const char* routeKey;
    Read read;
    QByteArray data; // of the reply
    Map out;         // what a caller is handed of it
    Map zero;        // the same of a reply without the property
    bool cacheAnswers = true;
};

const Property properties[] = {
    {"ScreenInfo::get18bit",
     "ScreenXbit",
     &ScreenInfo::get18bit,
     R"({"enable":true})",
     {{"enable", true}},
     {{"enable", false}}},
    {"ScreenInfo::getCurrentGamut",
     "ScreenGamut",
     &ScreenInfo::getCurrentGamut,
     R"({"gamut":4000000000})",
     {{"gamut", 4000000000U}},
     {{"gamut", 0U}}},
    {"ScreenInfo::getLowLatency",
     "ScreenLowLatency",
     &ScreenInfo::getLowLatency,
     R"({"enable":1})",
     {{"enable", true}},
     {{"enable", false}}},
    {"ScreenInfo::getUniformDisplay",
     "ScreenUniformDisplay",
     &ScreenInfo::getUniformDisplay,
     R"({"enable":true})",
     {{"enable", true}},
     {{"enable", false}}},
    {"ScreenInfo::getDeviceScreenHdrparamHdrSwitch",
     "ScreenHDRSwitch",
     &ScreenInfo::getDeviceScreenHdrparamHdrSwitch,
     R"({"enable":true})",
     {{"enable", true}},
     {{"enable", false}}},
    {"ScreenInfo::getDeviceScreenHdrparamHdrMode",
     "ScreenHDRType",
     &ScreenInfo::getDeviceScreenHdrparamHdrMode,
     R"({"mode":2})",
     {{"mode", 2}},
     {{"mode", 0}}},
    {"ScreenInfo::getDeviceScreenHdrparamHlgtype",
     "ScreenHLGMode",
     &ScreenInfo::getDeviceScreenHdrparamHlgtype,
     R"({"hlgMode":-3})",
     {{"hlgMode", -3}},
     {{"hlgMode", 0}}},
    {"ScreenInfo::getDeviceScreenHdrparamMaxoflight",
     "ScreenHDRPeakBrightness",
     &ScreenInfo::getDeviceScreenHdrparamMaxoflight,
     R"({"peakBrightness":"1000"})",
     {{"peakBrightness", 1000}},
     {{"peakBrightness", 0}}},
    {"ScreenInfo::getDeviceScreenHdrparamIlluminance",
     "ScreenHDRIlluminance",
     &ScreenInfo::getDeviceScreenHdrparamIlluminance,
     R"({"illuminance":5})",
     {{"illuminance", 5}},
     {{"illuminance", 0}}},
    {"ScreenInfo::getDeviceScreenHdrparamLowgray",
     "ScreenHDRLowgray",
     &ScreenInfo::getDeviceScreenHdrparamLowgray,
     R"({"lowGray":35})",
     {{"lowGray", 35}},
     {{"lowGray", 0}}},
    {"ScreenInfo::getDeviceScreenthreeDSwitch",
     "Screen3DSwitch",
     &ScreenInfo::getDeviceScreenthreeDSwitch,
     R"({"enable":true})",
     {{"enable", true}},
     {{"enable", false}}},
    {"ScreenInfo::getDeviceScreenthreeDSourceMode",
     "ScreenSourceMode",
     &ScreenInfo::getDeviceScreenthreeDSourceMode,
     R"({"sourceMode":1})",
     {{"sourceMode", 1}},
     {{"sourceMode", 0}}},
    {"ScreenInfo::getDeviceScreenthreeDEyepriority",
     "Screen3DEyepriority",
     &ScreenInfo::getDeviceScreenthreeDEyepriority,
     R"({"eyePriority":1})",
     {{"eyePriority", 1}},
     {{"eyePriority", 0}}},
    {"ScreenInfo::getDeviceScreenthreeDDepthField",
     "Screen3DFieldDepth",
     &ScreenInfo::getDeviceScreenthreeDDepthField,
     R"({"fieldDepth":9})",
     {{"fieldDepth", 9}},
     {{"fieldDepth", 0}}},
    {"ScreenInfo::getDeviceScreenthreeDStartposition",
     "Screen3DRighteyeOffset",
     &ScreenInfo::getDeviceScreenthreeDStartposition,
     R"({"rightEyeOffset":{"x":3,"y":-4}})",
     {{"rightEyeOffset.x", 3}, {"rightEyeOffset.y", -4}},
     {{"rightEyeOffset.x", 0}, {"rightEyeOffset.y", 0}},
     false},
};

bool memoryRunsOut = false; // at the next look-up of a path

} // namespace

// In front of the library's own.
QString AllUrlResource::getUrl(const QString& key)
{
    static const auto library = replaced<QString(const QString&)>("_ZN14AllUrlResource6getUrlERK7QString");
    if (memoryRunsOut) {
        throw std::bad_alloc();
    }
    return library(key);
}

Q_DECLARE_METATYPE(const Property*)

class TestScreenInfoProperties : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    static void everyProperty()
    {
        QTest::addColumn<const Property*>("property");
        for (const Property& property : properties) {
            QTest::newRow(property.name) << &property;
        }
    }
    bool read(const Property* property, Map& out, bool force = false) const
    {
        return (screenInfo()->*property->read)(m_device, screen, out, force);
    }
    // Equal in value and in type.
    static void compareExactly(const Map& out, const Map& expected)
    {
        QCOMPARE(out, expected);
        for (auto member = out.begin(); member != out.end(); ++member) {
            QCOMPARE(member->userType(), expected.value(member.key()).userType());
        }
    }

private Q_SLOTS:
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        for (const Property& property : properties) {
            const Read get = property.read;
            QTest::newRow(property.name)
                << OperationRow{property.name,
                                property.routeKey,
                                HttpMethod::Get,
                                Decoder::None,
                                [get](Outputs&) {
                                    Map out;
                                    return (screenInfo()->*get)(sampleDevice, screen, out, true);
                                },
                                {},
                                {{"id", screen}}};
        }
        const OperationRow rows[] = {
            {"ScreenInfo::getColorTemperature",
             "ScreenColorTemperature",
             HttpMethod::Get,
             Decoder::Map,
             [](Outputs& out) {
                 return screenInfo()->getColorTemperature(sampleDevice, screen, out.map, true);
             },
             R"({"stale":1})",
             {{"id", screen}}},
            {"ScreenInfo::getScreenColorSpaceInfo",
             "ScreenColorSpaceInfo",
             HttpMethod::Get,
             Decoder::Map,
             [](Outputs& out) {
                 return screenInfo()->getScreenColorSpaceInfo(sampleDevice, screen, out.map);
             },
             {},
             {{"id", screen}}},
            {"ScreenInfo::getXbitMode",
             "ScreenXbitMode",
             HttpMethod::Get,
             Decoder::Map,
             [](Outputs& out) { return screenInfo()->getXbitMode(sampleDevice, screen, out.map); },
             {},
             {{"id", screen}}},
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

    void theFirstReadAsksTheDeviceAndTheSecondTheCache_data() { everyProperty(); }
    void theFirstReadAsksTheDeviceAndTheSecondTheCache()
    {
        QFETCH(const Property*, property);
        m_engine->answer(RecordingEngine::data(property->data));
        Map out{{"stale", 1}};
        QVERIFY(read(property, out));
        compareExactly(out, property->out);
        QCOMPARE(m_engine->count(), 1);
        out = {{"stale", 1}};
        QVERIFY(read(property, out));
        compareExactly(out, property->out);
        QCOMPARE(m_engine->count(), property->cacheAnswers ? 1 : 2);
    }

    void aForcedReadAlwaysAsksTheDevice_data() { everyProperty(); }
    void aForcedReadAlwaysAsksTheDevice()
    {
        QFETCH(const Property*, property);
        Map out;
        QVERIFY(read(property, out, true));
        m_engine->answer(RecordingEngine::data(property->data));
        QVERIFY(read(property, out, true));
        QCOMPARE(out, property->out);
        QCOMPARE(m_engine->count(), 2);
    }

    void aFailedReadStoresNothingAndLeavesTheOutput_data() { everyProperty(); }
    void aFailedReadStoresNothingAndLeavesTheOutput()
    {
        QFETCH(const Property*, property);
        m_engine->answer(RecordingEngine::failure());
        Map out{{"kept", 1}};
        QVERIFY(!read(property, out));
        QVERIFY(!read(property, out));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void aFailedForcedReadKeepsTheEarlierValue_data() { everyProperty(); }
    void aFailedForcedReadKeepsTheEarlierValue()
    {
        QFETCH(const Property*, property);
        if (!property->cacheAnswers) {
            return;
        }
        m_engine->answer(RecordingEngine::data(property->data));
        Map out;
        QVERIFY(read(property, out));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!read(property, out, true));
        out.clear();
        QVERIFY(read(property, out));
        QCOMPARE(out, property->out);
        QCOMPARE(m_engine->count(), 2);
    }

    void aReplyWithoutThePropertyIsCachedAsZero_data() { everyProperty(); }
    void aReplyWithoutThePropertyIsCachedAsZero()
    {
        QFETCH(const Property*, property);
        m_engine->answer(RecordingEngine::reply(R"({"code":5,"data":{"other":1}})"));
        Map out;
        QVERIFY(read(property, out));
        compareExactly(out, property->zero);
        m_engine->answer(RecordingEngine::data(property->data));
        QVERIFY(read(property, out));
        compareExactly(out, property->cacheAnswers ? property->zero : property->out);
    }

    void aLogoutLeavesTheProperty_data() { everyProperty(); }
    void aLogoutLeavesTheProperty()
    {
        QFETCH(const Property*, property);
        if (!property->cacheAnswers) {
            return;
        }
        m_engine->answer(RecordingEngine::data(property->data));
        Map out;
        QVERIFY(read(property, out));
        QVERIFY(screenInfo()->getScreens(m_device, false));
        DeviceSide::logOut(m_device);
        m_engine->forget();
        QVERIFY(read(property, out));
        QCOMPARE(out, property->out);
        QCOMPARE(m_engine->count(), 0);
        QVERIFY2(screenInfo()->getScreens(m_device, false) && m_engine->count() == 1,
                 "while the screen list is forgotten");
    }

    void noPropertySharesItsCacheKeyWithAnother()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            for (const Property& property : properties) {
                if (AllUrlResource::getUrl(property.routeKey) == request.path) {
                    return RecordingEngine::data(property.data);
                }
            }
            return RecordingEngine::failure();
        });
        Map out;
        for (const Property& property : properties) {
            QVERIFY(read(&property, out));
        }
        m_engine->forget();
        for (const Property& property : properties) {
            QVERIFY(read(&property, out));
            QCOMPARE(out, property.out);
        }
        QCOMPARE(m_engine->count(), 1);
    }

    void noLockIsHeldDuringTheRequest_data() { everyProperty(); }
    void noLockIsHeldDuringTheRequest()
    {
        QFETCH(const Property*, property);
        Map out;
        checkNoLockDuringTheRequest(m_engine, m_device, [&] { return read(property, out); });
    }

    void screensAndDevicesHaveValuesOfTheirOwn()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return RecordingEngine::data(R"({"mode":)" + request.placeHolders.value("id").toUtf8() + "}");
        });
        const QString other = DeviceSide::fresh();
        Map out;
        for (int round = 1; round <= 2; ++round) {
            QVERIFY(screenInfo()->getDeviceScreenHdrparamHdrMode(m_device, "1", out, false));
            QCOMPARE(out, (Map{{"mode", 1}}));
            QVERIFY(screenInfo()->getDeviceScreenHdrparamHdrMode(m_device, "2", out, false));
            QCOMPARE(out, (Map{{"mode", 2}}));
            QVERIFY(screenInfo()->getDeviceScreenHdrparamHdrMode(other, "1", out, false));
            QCOMPARE(m_engine->count(), 3);
        }
    }

    void theWatchHasNoInfluenceOnProperties()
    {
        Map out;
        QVERIFY(screenInfo()->get18bit(m_device, screen, out, false));
        screenInfo()->shutDownWatch();
        const bool answered = screenInfo()->get18bit(m_device, screen, out, false);
        screenInfo()->startWatch();
        QVERIFY(answered);
        QCOMPARE(m_engine->count(), 1);
    }

    void anEventLeavesTheProperties()
    {
        Map out;
        QVERIFY(screenInfo()->get18bit(m_device, screen, out, false));
        DeviceSide::push(m_device, R"({"dataType":"change","changeTag":"screensInfo"})");
        QTRY_COMPARE(m_engine->held(), 0);
        QVERIFY(screenInfo()->get18bit(m_device, screen, out, false));
        QCOMPARE(m_engine->count(), 2);
    }

    void theColourTemperatureIsReadWithTheCallersMapAsBody()
    {
        m_engine->answer(RecordingEngine::data(R"({"value":6500})"));
        for (const bool force : {false, true}) {
            Map map{{"type", 1}};
            QVERIFY(screenInfo()->getColorTemperature(m_device, screen, map, force));
            QCOMPARE(m_engine->last().body, QByteArray(R"({"type":1})"));
            QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
            QCOMPARE(map, (Map{{"value", qlonglong(6500)}}));
        }
        QCOMPARE(m_engine->count(), 2);
    }

    void theModeOfTheExtendedBitDepthIsReadAfresh()
    {
        Map reply;
        for (const char* data : {R"({"mode":1})", R"({"mode":2})"}) {
            m_engine->answer(RecordingEngine::data(data));
            QVERIFY(screenInfo()->getXbitMode(m_device, screen, reply));
        }
        QCOMPARE(reply, (Map{{"mode", qlonglong(2)}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void theLatestRequestForTheModeStaysUntilTheNext()
    {
        const auto readMode = [this] {
            Map reply;
            screenInfo()->getXbitMode(m_device, screen, reply);
        };
        readMode();
        const std::vector<ObjectFate> second = objectFatesDuring(readMode);
        QCOMPARE(int(second.size()), 2);
        QVERIFY2(!second[0].made, "the latest goes before the next is made");
        QVERIFY(second[1].made);
        const std::vector<ObjectFate> third = objectFatesDuring(readMode);
        QCOMPARE(int(third.size()), 2);
        QVERIFY(!third[0].made);
        QCOMPARE(third[0].object, second[1].object);
    }

    void aRequestForTheModeThatCannotBeMadeLeavesNoneToReleaseAgain()
    {
        Map reply;
        QVERIFY(screenInfo()->getXbitMode(m_device, screen, reply));
        memoryRunsOut = true;
        QVERIFY_EXCEPTION_THROWN(screenInfo()->getXbitMode(m_device, screen, reply), std::bad_alloc);
        memoryRunsOut = false;
        QVERIFY(screenInfo()->getXbitMode(m_device, screen, reply));
        QCOMPARE(m_engine->count(), 2);
    }

    void fineGrayIsNotInUse()
    {
        for (const bool force : {false, true}) {
            Map out{{"kept", 1}};
            QVERIFY(!screenInfo()->getFineGray(m_device, screen, out, force));
            QVERIFY(!screenInfo()->getFineGray(QString(), QString(), out, force));
            QCOMPARE(out, (Map{{"kept", 1}}));
        }
        QCOMPARE(m_engine->count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestScreenInfoProperties)
#include "tst_screeninfo_properties.moc"
