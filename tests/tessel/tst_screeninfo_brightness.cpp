// SPDX-License-Identifier: MIT
#include "screenlocks.h"

#include <deviceside.h>
#include <logcollector.h>
#include <operationrow.h>
#include <protocolrow.h>
#include <recordingengine.h>
#include <refusingengine.h>

#include <communicator/httpproxy.h>

#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QtTest>

#include <climits>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;
using Call = std::function<bool(const QString& deviceKey)>;

namespace {

const QString screen = QStringLiteral("7");
const QMap<QString, QString> id{{"id", screen}};

ScreenInfo* screenInfo()
{
    return ScreenInfo::getInstance();
}

Map gammas(double r, double g, double b)
{
    return {{"rGamma", r}, {"gGamma", g}, {"bGamma", b}};
}

} // namespace

Q_DECLARE_METATYPE(Call)

class TestScreenInfoBrightness : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;
    QString m_device;

    void giveCabinets(const QString& device)
    {
        m_engine->answer(RecordingEngine::data(R"([{"id":"1"}])"));
        CabinetInfoOperator::getInstance()->getAllCabinetsInfo(device, true);
        m_engine->answer(RecordingEngine::data("{}"));
        m_engine->forget();
    }
    void useMultiScreenProtocol()
    {
        HWInfo::getInstance()->getHwProtoc(m_device, true);
        m_engine->forget();
    }
    QStringList noCabinetsLine() const { return {"debug: setBrightness cabinet empty: \"" + m_device + '"'}; }
    uint cachedBrightness() const
    {
        Map out;
        screenInfo()->getBrightness(m_device, screen, out, false);
        return out.value("brightness").toUInt();
    }
    static void everyChannel()
    {
        QTest::addColumn<int>("channel");
        QTest::newRow("red") << 0;
        QTest::newRow("green") << 1;
        QTest::newRow("blue") << 2;
    }

    Map cachedGammas() const
    {
        Map out;
        screenInfo()->getSingleGamma(m_device, screen, out, false);
        return out;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_engine = RecordingEngine::install();
        giveCabinets(sampleDevice);
    }
    void init()
    {
        m_engine = RecordingEngine::install();
        m_device = DeviceSide::fresh();
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const Map body{{"gamma", 2.2}, {"type", 1}};
        const QByteArray json = R"({"gamma":2.2,"type":1})";
        const OperationRow rows[] = {
            {"ScreenInfo::getBrightness",
             "ScreenBrightness",
             HttpMethod::Get,
             Decoder::None,
             [](Outputs&) {
                 Map out;
                 return screenInfo()->getBrightness(sampleDevice, screen, out, true);
             },
             {},
             id},
            {"ScreenInfo::getBrightnessMode",
             "ScreenBrightnessMode",
             HttpMethod::Get,
             Decoder::Map,
             [](Outputs& out) { return screenInfo()->getBrightnessMode(sampleDevice, screen, out.map); },
             {},
             id},
            {"ScreenInfo::getBrightnessRgb", "ScreenRgbBrightness", HttpMethod::Get, Decoder::Map,
             [](Outputs& out) { return screenInfo()->getBrightnessRgb(sampleDevice, screen, out.map); },
             R"({"stale":1})", id},
            {"ScreenInfo::setBrightnessRgb", "ScreenRgbBrightness", HttpMethod::Put, Decoder::None,
             [body](Outputs&) { return screenInfo()->setBrightnessRgb(sampleDevice, screen, body); }, json,
             id},
            {"ScreenInfo::getSingleGamma",
             "ScreenGamma",
             HttpMethod::Get,
             Decoder::None,
             [](Outputs&) {
                 Map out;
                 return screenInfo()->getSingleGamma(sampleDevice, screen, out, true);
             },
             {},
             id},
            {"ScreenInfo::setOneGamma", "ScreenGamma", HttpMethod::Put, Decoder::None,
             [body](Outputs&) { return screenInfo()->setOneGamma(sampleDevice, screen, body); }, json, id},
            {"ScreenInfo::getGammaAllList",
             "ScreenGammaTable",
             HttpMethod::Get,
             Decoder::Map,
             [](Outputs& out) { return screenInfo()->getGammaAllList(sampleDevice, screen, out.map); },
             {},
             id},
            {"ScreenInfo::setGammaTable", "ScreenGammaTable", HttpMethod::Put, Decoder::None,
             [body](Outputs&) { return screenInfo()->setGammaTable(sampleDevice, screen, body); }, json, id},
            {"ScreenInfo::getGammaCurve",
             "ScreenGammaCurve",
             HttpMethod::Get,
             Decoder::FlatList,
             [](Outputs& out) {
                 return screenInfo()->getGammaCurve(sampleDevice, screen,
                                                    {{"gammaValue", "2.2"},
                                                     {"grayScale", "14"},
                                                     {"lumRatio", "1"},
                                                     {"maxY", "800"},
                                                     {"qualityMode", "0"},
                                                     {"gammaMode", "3"},
                                                     {"other", "x"}},
                                                    out.list);
             },
             {},
             id,
             {{"gammaValue", "2.2"},
              {"grayScale", "14"},
              {"lumRatio", "1"},
              {"maxY", "800"},
              {"qualityMode", "0"},
              {"gammaMode", "3"}}},
            {"ScreenInfo::getGrayScale",
             "ScreenGrayScale",
             HttpMethod::Get,
             Decoder::Map,
             [](Outputs& out) { return screenInfo()->getGrayScale(sampleDevice, screen, out.map); },
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
            startCounting({"ScreenInfo::setBrightness", "ScreenBrightness", HttpMethod::Put, Decoder::None,
                           [](Outputs&) {
                               Map params{{"type", 1}};
                               return screenInfo()->setBrightness(sampleDevice, screen, params, 300);
                           },
                           R"({"brightness":300,"type":1})", id}),
            {"ScreenInfo::setBrightnessMode", "ScreenBrightnessMode", HttpMethod::Put, Decoder::Map,
             [](Outputs& out) {
                 return screenInfo()->setBrightnessMode(sampleDevice, screen, {{"mode", 2}}, out.map);
             },
             R"({"mode":2})", id},
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

    void theProtocolChoosesTheRoute_data()
    {
        QTest::addColumn<ProtocolRow>("row");
        const ProtocolRow rows[] = {
            {"ScreenInfo::getBrightness", "ScreenBrightness", "MulitScreenBrightness",
             [](const QString& device) {
                 Map out;
                 screenInfo()->getBrightness(device, screen, out, true);
             }},
            {"ScreenInfo::setBrightness", "ScreenBrightness", "MulitScreenBrightness",
             [](const QString& device) {
                 Map params;
                 screenInfo()->setBrightness(device, screen, params, 1);
             }},
            {"ScreenInfo::getSingleGamma", "ScreenGamma", "MuliScreenGamma",
             [](const QString& device) {
                 Map out;
                 screenInfo()->getSingleGamma(device, screen, out, true);
             }},
            {"ScreenInfo::setOneGamma", "ScreenGamma", "MuliScreenGamma",
             [](const QString& device) { screenInfo()->setOneGamma(device, screen, {}); }},
            {"ScreenInfo::getGammaAllList", "ScreenGammaTable", "MultScreenGammaTable",
             [](const QString& device) {
                 Map out;
                 screenInfo()->getGammaAllList(device, screen, out);
             }},
            {"ScreenInfo::setGammaTable", "ScreenGammaTable", "MultScreenGammaTable",
             [](const QString& device) { screenInfo()->setGammaTable(device, screen, {}); }},
        };
        for (const ProtocolRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void theProtocolChoosesTheRoute()
    {
        QFETCH(ProtocolRow, row);
        checkRouteByProtocol(row);
    }

    // Brightness

    void theBrightnessIsReadOnceAndUnscaled_data()
    {
        QTest::addColumn<bool>("isMultiScreen");
        QTest::newRow("single-screen protocol") << false;
        QTest::newRow("multi-screen protocol") << true;
    }
    void theBrightnessIsReadOnceAndUnscaled()
    {
        QFETCH(bool, isMultiScreen);
        giveCabinets(m_device);
        if (isMultiScreen) {
            useMultiScreenProtocol();
        }
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        Map out{{"stale", 1}};
        QVERIFY(screenInfo()->getBrightness(m_device, screen, out, false));
        QCOMPARE(out, (Map{{"brightness", 200U}}));
        QCOMPARE(out.value("brightness").userType(), int(QMetaType::UInt));
        QVERIFY(screenInfo()->getBrightness(m_device, screen, out, false));
        QCOMPARE(m_engine->count(), 1);
    }

    void aFailedReadOfTheBrightnessStoresNothingAndLeavesTheOutput()
    {
        giveCabinets(m_device);
        m_engine->answer(RecordingEngine::failure());
        Map out{{"kept", 1}};
        QVERIFY(!screenInfo()->getBrightness(m_device, screen, out, false));
        QVERIFY(!screenInfo()->getBrightness(m_device, screen, out, false));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void aKnownBrightnessIsAnsweredWithoutALookAtTheCabinets()
    {
        giveCabinets(m_device);
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        QCOMPARE(cachedBrightness(), 200U);
        DeviceSide::logOut(m_device);
        QCOMPARE(cachedBrightness(), 200U);
        QCOMPARE(m_engine->count(), 1);
    }

    void aScreenWithoutCabinetsReadsAsZeroFromThenOn_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::newRow("no cabinets") << true;
        QTest::newRow("cabinets unreadable") << false;
    }
    void aScreenWithoutCabinetsReadsAsZeroFromThenOn()
    {
        QFETCH(bool, answered);
        m_engine->answer(answered ? RecordingEngine::data("[]") : RecordingEngine::failure());
        Map out{{"stale", 1}};
        const LogCollector log;
        QVERIFY(screenInfo()->getBrightness(m_device, screen, out, false));
        QCOMPARE(log.lines(), noCabinetsLine());
        QCOMPARE(out, (Map{{"brightness", 0U}}));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/cabinet"));

        giveCabinets(m_device);
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        QVERIFY(screenInfo()->getBrightness(m_device, screen, out, false));
        QCOMPARE(out, (Map{{"brightness", 0U}}));
        QCOMPARE(m_engine->count(), 0);
        QVERIFY(screenInfo()->getBrightness(m_device, screen, out, true));
        QCOMPARE(out, (Map{{"brightness", 200U}}));
        QCOMPARE(log.lines(), noCabinetsLine());
    }

    void theBrightnessIsSentAsTheProtocolTakesIt_data()
    {
        QTest::addColumn<bool>("isMultiScreen");
        QTest::addColumn<int>("brightness");
        QTest::addColumn<int>("sent");
        for (const int brightness : {254, 255, 256, 510, 0, -254, -255, INT_MAX}) {
            QTest::addRow("single-screen protocol, %d", brightness) << false << brightness << brightness;
        }
        QTest::newRow("multi-screen protocol, 254") << true << 254 << 0;
        QTest::newRow("multi-screen protocol, 255") << true << 255 << 1;
        QTest::newRow("multi-screen protocol, 510") << true << 510 << 2;
        QTest::newRow("multi-screen protocol, -254") << true << -254 << 0;
        QTest::newRow("multi-screen protocol, -255") << true << -255 << -1;
    }
    void theBrightnessIsSentAsTheProtocolTakesIt()
    {
        QFETCH(bool, isMultiScreen);
        QFETCH(int, brightness);
        QFETCH(int, sent);
        giveCabinets(m_device);
        if (isMultiScreen) {
            useMultiScreenProtocol();
        }
        Map params{{"brightness", "stale"}, {"other", 1}};
        QVERIFY(screenInfo()->setBrightness(m_device, screen, params, brightness));
        QCOMPARE(params, (Map{{"brightness", sent}, {"other", 1}}));
        QCOMPARE(params.value("brightness").userType(), int(QMetaType::Int));
        QCOMPARE(m_engine->last().body,
                 QByteArray(R"({"brightness":)" + QByteArray::number(sent) + R"(,"other":1})"));
    }

    void aScreenWithoutCabinetsCountsAsSet_data() { aScreenWithoutCabinetsReadsAsZeroFromThenOn_data(); }
    void aScreenWithoutCabinetsCountsAsSet()
    {
        QFETCH(bool, answered);
        m_engine->answer(answered ? RecordingEngine::data("[]") : RecordingEngine::failure());
        Map params{{"kept", 1}};
        const LogCollector log;
        QVERIFY(screenInfo()->setBrightness(m_device, screen, params, 255));
        QCOMPARE(log.lines(), noCabinetsLine());
        QCOMPARE(params, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().path, QString("/api/v1/device/cabinet"));
    }

    void theCacheTakesTheBrightnessOnceTheDeviceAgreed()
    {
        giveCabinets(m_device);
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        QCOMPARE(cachedBrightness(), 200U);
        m_engine->hold();
        Map params;
        QVERIFY(screenInfo()->setBrightness(m_device, screen, params, 300));
        params.clear();
        QCOMPARE(cachedBrightness(), 200U);
        QVERIFY(m_engine->release());
        QTRY_COMPARE(cachedBrightness(), 300U);
        QCOMPARE(m_engine->count(), 2);
    }

    void onTheMultiScreenProtocolTheCacheTakesTheDividedBrightness()
    {
        giveCabinets(m_device);
        useMultiScreenProtocol();
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        QCOMPARE(cachedBrightness(), 200U);
        Map params;
        QVERIFY(screenInfo()->setBrightness(m_device, screen, params, 510));
        QTRY_COMPARE(cachedBrightness(), 2U);
    }

    void aRefusedBrightnessLeavesTheCache()
    {
        giveCabinets(m_device);
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        QCOMPARE(cachedBrightness(), 200U);
        m_engine->answer(RecordingEngine::failure());
        Map params;
        QVERIFY2(screenInfo()->setBrightness(m_device, screen, params, 300), "it was started");
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(cachedBrightness(), 200U);
    }

    void aBrightnessThatIsNotStartedSaysSoAndLeavesTheCache()
    {
        giveCabinets(m_device);
        m_engine->answer(RecordingEngine::data(R"({"brightness":200})"));
        QCOMPARE(cachedBrightness(), 200U);
        Krelm::Communicator::HttpDevice::HttpProxy::getInstance()->setEngine(
            std::make_unique<RefusingEngine>());
        Map params;
        QVERIFY(!screenInfo()->setBrightness(m_device, screen, params, 300));
        QCoreApplication::processEvents();
        QCOMPARE(cachedBrightness(), 200U);
    }

    void theBrightnessOfTheColoursIsReadWithTheCallersMapAsBody()
    {
        m_engine->answer(RecordingEngine::data(R"({"r":1})"));
        Map map{{"type", 1}};
        QVERIFY(screenInfo()->getBrightnessRgb(m_device, screen, map));
        QCOMPARE(m_engine->last().body, QByteArray(R"({"type":1})"));
        QCOMPARE(map, (Map{{"r", qlonglong(1)}}));
    }

    // Gamma

    void allThreeChannelsComeOfOneReadAndAreCached()
    {
        m_engine->answer(
            RecordingEngine::data(R"([{"type":2,"gamma":2.4},{"type":0,"gamma":2},{"type":1,"gamma":2.2}])"));
        Map out{{"stale", 1}};
        QVERIFY(screenInfo()->getSingleGamma(m_device, screen, out, false));
        QCOMPARE(out, gammas(2, 2.2, 2.4));
        for (const QVariant& gamma : qAsConst(out)) {
            QCOMPARE(gamma.userType(), int(QMetaType::Double));
        }
        QCOMPARE(cachedGammas(), gammas(2, 2.2, 2.4));
        QCOMPARE(m_engine->count(), 1);
        QVERIFY(screenInfo()->getSingleGamma(m_device, screen, out, true));
        QCOMPARE(m_engine->count(), 2);
    }

    void aFailedReadOfTheGammaStoresNothingAndLeavesTheOutput()
    {
        m_engine->answer(RecordingEngine::failure());
        Map out{{"kept", 1}};
        QVERIFY(!screenInfo()->getSingleGamma(m_device, screen, out, false));
        QVERIFY(!screenInfo()->getSingleGamma(m_device, screen, out, false));
        QCOMPARE(out, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void aChannelThatTheDeviceLacksReadsAsZeroFromThenOn()
    {
        m_engine->answer(RecordingEngine::data(R"([{"type":0,"gamma":2},{"type":1,"gamma":2.2}])"));
        QCOMPARE(cachedGammas(), gammas(2, 2.2, 0));
        QCOMPARE(cachedGammas(), gammas(2, 2.2, 0));
        QCOMPARE(m_engine->count(), 1);
    }

    void aDeviceWithoutChannelsReadsAsZero()
    {
        m_engine->answer(RecordingEngine::data("[]"));
        QCOMPARE(cachedGammas(), gammas(0, 0, 0));
    }

    void ofTwoElementsOfOneChannelTheLaterWins()
    {
        m_engine->answer(RecordingEngine::data(R"([{"type":1,"gamma":2},{"type":1,"gamma":3}])"));
        QCOMPARE(cachedGammas(), gammas(0, 3, 0));
    }

    void anElementOfNoSingleChannelIsSkippedOnReading()
    {
        m_engine->answer(RecordingEngine::data(
            R"([{"type":1,"gamma":2.2},{"type":3,"gamma":9},{"type":-1,"gamma":9},{"type":7,"gamma":9}])"));
        QCOMPARE(cachedGammas(), gammas(0, 2.2, 0));
    }

    void anElementWithoutMembersIsTheFirstChannelsZero()
    {
        m_engine->answer(RecordingEngine::data(R"([{"type":0,"gamma":2},7])"));
        QCOMPARE(cachedGammas(), gammas(0, 0, 0));
    }

    void channelsThatAReadDoesNotMentionKeepTheirValue()
    {
        m_engine->answer(RecordingEngine::data(R"([{"type":0,"gamma":1},{"type":1,"gamma":2}])"));
        QCOMPARE(cachedGammas(), gammas(1, 2, 0));
        m_engine->answer(RecordingEngine::data(R"([{"type":2,"gamma":3}])"));
        Map out;
        QVERIFY(screenInfo()->getSingleGamma(m_device, screen, out, true));
        QCOMPARE(out, gammas(1, 2, 3));
    }

    void aScreenThatLacksAChannelAsksTheDevice_data() { everyChannel(); }
    void aScreenThatLacksAChannelAsksTheDevice()
    {
        QFETCH(int, channel);
        double expected[] = {2.5, 2.5, 2.5};
        expected[channel] = 3;
        for (const int type : {0, 1, 2}) {
            if (type != channel) {
                QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", type}, {"gamma", 2.5}}));
            }
        }
        m_engine->answer(
            RecordingEngine::data(R"([{"type":)" + QByteArray::number(channel) + R"(,"gamma":3}])"));
        QCOMPARE(cachedGammas(), gammas(expected[0], expected[1], expected[2]));
        QCOMPARE(m_engine->count(), 3);
    }

    void aWriteOfOneChannelRenewsThatAlone_data() { everyChannel(); }
    void aWriteOfOneChannelRenewsThatAlone()
    {
        QFETCH(int, channel);
        double expected[] = {1, 2, 3};
        m_engine->answer(
            RecordingEngine::data(R"([{"type":0,"gamma":1},{"type":1,"gamma":2},{"type":2,"gamma":3}])"));
        QCOMPARE(cachedGammas(), gammas(expected[0], expected[1], expected[2]));
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", channel}, {"gamma", 2.5}}));
        expected[channel] = 2.5;
        QCOMPARE(cachedGammas(), gammas(expected[0], expected[1], expected[2]));
        QCOMPARE(m_engine->count(), 2);
    }

    void aWriteOfAllChannelsRenewsAllThree()
    {
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", 3}, {"gamma", 2.5}}));
        QCOMPARE(cachedGammas(), gammas(2.5, 2.5, 2.5));
        QCOMPARE(m_engine->count(), 1);
    }

    void aWriteOfAnUnknownChannelRenewsNone()
    {
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", 3}, {"gamma", 2.5}}));
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", 7}, {"gamma", 9}}));
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", -1}, {"gamma", 9}}));
        QCOMPARE(cachedGammas(), gammas(2.5, 2.5, 2.5));
    }

    void aWriteWithoutMembersIsTheFirstChannelsZero()
    {
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", 3}, {"gamma", 2.5}}));
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {}));
        QCOMPARE(cachedGammas(), gammas(0, 2.5, 2.5));
    }

    void noLockIsHeldDuringTheRequest_data()
    {
        QTest::addColumn<Call>("call");
        QTest::newRow("getBrightness") << Call([](const QString& device) {
            Map out;
            return screenInfo()->getBrightness(device, screen, out, false);
        });
        QTest::newRow("getSingleGamma") << Call([](const QString& device) {
            Map out;
            return screenInfo()->getSingleGamma(device, screen, out, false);
        });
        QTest::newRow("setOneGamma") << Call([](const QString& device) {
            return screenInfo()->setOneGamma(device, screen, {{"type", 1}, {"gamma", 2.5}});
        });
    }
    void noLockIsHeldDuringTheRequest()
    {
        QFETCH(Call, call);
        giveCabinets(m_device);
        checkNoLockDuringTheRequest(m_engine, m_device, [&] { return call(m_device); });
    }

    void aRefusedGammaLeavesTheCache()
    {
        QVERIFY(screenInfo()->setOneGamma(m_device, screen, {{"type", 3}, {"gamma", 2.5}}));
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!screenInfo()->setOneGamma(m_device, screen, {{"type", 3}, {"gamma", 9}}));
        QCOMPARE(cachedGammas(), gammas(2.5, 2.5, 2.5));
    }

    void theGammaCurveIsAskedForWithAllSixParametersEvenIfEmpty()
    {
        List out;
        QVERIFY(screenInfo()->getGammaCurve(m_device, screen, {}, out));
        const QMap<QString, QString> sent = m_engine->last().parameters;
        QCOMPARE(sent.keys(),
                 (QStringList{"gammaMode", "gammaValue", "grayScale", "lumRatio", "maxY", "qualityMode"}));
        for (const QString& value : sent) {
            QCOMPARE(value, QString(""));
        }
    }
};

QTEST_GUILESS_MAIN(TestScreenInfoBrightness)
#include "tst_screeninfo_brightness.moc"
