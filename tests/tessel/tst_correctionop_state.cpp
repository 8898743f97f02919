// SPDX-License-Identifier: MIT
#include <logcollector.h>
#include <operationforms.h>
#include <promiseoutcome.h>
#include <recordingengine.h>
#include <timelimits.h>

#include <communicator/httpproxy.h>

#include <tessel/allurlresource.h>
#include <tessel/correctionop.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;
using Krelm::Communicator::HttpDevice::HttpProxy;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

Correctionop* correction()
{
    return Correctionop::getInstance();
}

struct PromiseForm
{
    const char* name;
    const char* routeKey;
    HttpMethod method;
    QMap<QString, QString> placeHolders;
    QByteArray body;
    std::function<QString(const QString& deviceKey, const QString& id)> outcome;
    // What the promise comes to in each situation.
    const char* good;    // {"code":0,"data":{"mode":3,"enable":true}}
    const char* absent;  // {"code":0,"data":{}}
    const char* refused; // {"code":1,"data":{"mode":3,"enable":true}}
    const char* noJson;
    const char* failed;
    const char* noDevice;
    const char* noId;
};

const std::vector<PromiseForm>& promiseForms()
{
    static const std::vector<PromiseForm> all{
        {"Correctionop::getCabinetEffectMode (promise)",
         "Device_SetCabinetCorrect",
         HttpMethod::Get,
         {{"cid", sampleId}},
         {},
         [](const QString& deviceKey, const QString& id) {
             return PromiseOutcome::of(correction()->getCabinetEffectMode(deviceKey, id));
         },
         "3",
         "0",
         "rejected: undefined",
         "rejected: undefined",
         "rejected: undefined",
         "rejected: arguments error",
         "3"},
        {"Correctionop::getScreenEffectMode (promise)",
         "Device_ScreenEffectMode",
         HttpMethod::Get,
         {},
         {},
         [](const QString& deviceKey, const QString& id) {
             return PromiseOutcome::of(correction()->getScreenEffectMode(deviceKey, id));
         },
         "3",
         "0",
         "3",
         "0",
         "1",
         "3",
         "3"},
        {"Correctionop::getCorrectEnable (promise)",
         "Device_GetCorrectionEnable",
         HttpMethod::Get,
         {{"cid", sampleId}},
         {},
         [](const QString& deviceKey, const QString& id) {
             return PromiseOutcome::of(correction()->getCorrectEnable(deviceKey, id));
         },
         "true",
         "false",
         "false",
         "false",
         "false",
         "true",
         "true"},
        {"Correctionop::setCabinetEffectMode (promise)",
         "Device_SetCabinetCorrect",
         HttpMethod::Put,
         {{"cid", sampleId}},
         "{\"mode\":2}",
         [](const QString& deviceKey, const QString& id) {
             return PromiseOutcome::of(correction()->setCabinetEffectMode(deviceKey, id, 2));
         },
         "true",
         "true",
         "true",
         "true",
         "false",
         "rejected: arguments error",
         "rejected: arguments error"},
        {"Correctionop::setScreenEffectMode (promise)",
         "Device_ScreenEffectMode",
         HttpMethod::Put,
         {{"id", sampleId}},
         "{\"mode\":2}",
         [](const QString& deviceKey, const QString& id) {
             return PromiseOutcome::of(correction()->setScreenEffectMode(deviceKey, id, 2));
         },
         "true",
         "true",
         "true",
         "true",
         "false",
         "true",
         "true"},
    };
    return all;
}

} // namespace

Q_DECLARE_METATYPE(PromiseForm)

class TestCorrectionopState : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

    static void addRows()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<Correctionop>;
        using Op = Correctionop;
        OperationRow screenNicc{"Correctionop::getScreenCorrectNicc", "Device_ScreenNiccData",
                                HttpMethod::Get, Decoder::FlatList, [](Outputs& out) {
                                    int status = -1;
                                    return correction()->getScreenCorrectNicc(sampleDevice, sampleId,
                                                                              out.list, status);
                                }};
        screenNicc.placeHolders = {{"id", sampleId}};
        const OperationRow rows[] = {
            Forms::idRead("Correctionop::getCabinetEffectMode", "Device_GetCabinetsCorrect",
                          &Op::getCabinetEffectMode, "cid", 6000),
            Forms::idRead("Correctionop::getScreenEffectMode", "Device_ScreenEffectMode",
                          &Op::getScreenEffectMode, "id", 6000),
            Forms::idRead("Correctionop::getCorrectEnable", "Device_GetCorrectionEnable",
                          &Op::getCorrectEnable, "cid"),
            Forms::idRead("Correctionop::getCorrectAction", "Device_CorrectionAction", &Op::getCorrectAction),
            Forms::idRead("Correctionop::getCorrectColorManageMode", "Device_GetCorrectionColorManageMode",
                          &Op::getCorrectColorManageMode, "cid"),
            Forms::idRead("Correctionop::getCorrectNiccMeasure", "Device_GetCorrectionNiccMeasure",
                          &Op::getCorrectNiccMeasure, "cid"),
            Forms::idRead("Correctionop::getScreenColorCoeffAdjust", "Device_ScreenCorrColorMode",
                          &Op::getScreenColorCoeffAdjust),
            Forms::idListRead("Correctionop::getCorrectNicc", "Device_GetCorrectionNiccData",
                              &Op::getCorrectNicc, Decoder::FlatList, "cid"),
            screenNicc,
            Forms::mapWrite("Correctionop::setCorrectEnable", "Device_CorrectionEnable",
                            &Op::setCorrectEnable),
            Forms::mapWrite("Correctionop::setCorrectThreshold", "Device_CorrectionThreshold",
                            &Op::setCorrectThreshold),
            Forms::mapWrite("Correctionop::setCorrectGrayGather", "Device_CorrectionGrayGather",
                            &Op::setCorrectGrayGather),
            Forms::mapWrite("Correctionop::setCorrectGrayRGB", "Device_CorrectionGrayRGB",
                            &Op::setCorrectGrayRGB),
            Forms::mapWrite("Correctionop::setGrayCoefficient", "Device_CorrectionGrayCoeff",
                            &Op::setGrayCoefficient),
            Forms::mapWrite("Correctionop::setGrayDisplay", "Device_CorrectionGrayDisplay",
                            &Op::setGrayDisplay),
            Forms::mapWrite("Correctionop::setCorrectNicc", "Device_SetCorrectionNiccData",
                            &Op::setCorrectNicc),
            Forms::mapWrite("Correctionop::setCorrectNiccMeasure", "Device_SetCorrectionNiccMeasure",
                            &Op::setCorrectNiccMeasure),
            Forms::mapWrite("Correctionop::setCorrectColorManageMode", "Device_CorrectionColorManageMode",
                            &Op::setCorrectColorManageMode),
            Forms::idWrite("Correctionop::setCabinetEffectMode", "Device_SetCabinetCorrect",
                           &Op::setCabinetEffectMode, "cid"),
            Forms::mapWrite("Correctionop::setCabinetEffectMode (cabinets)", "Device_SetCabinetsCorrect",
                            &Op::setCabinetEffectMode, 6000),
            Forms::mapWrite("Correctionop::setCabinetCorrectEffect", "Device_SetCabinetCorrectEffect",
                            &Op::setCabinetCorrectEffect, 6000),
            Forms::idWrite("Correctionop::setScreenEffectMode", "Device_ScreenEffectMode",
                           &Op::setScreenEffectMode, "id", 6000),
            Forms::idWrite("Correctionop::setCorrectAction", "Device_CorrectionAction",
                           &Op::setCorrectAction),
            Forms::idWrite("Correctionop::setScreenColorCoeffAdjust", "Device_ScreenCorrColorMode",
                           &Op::setScreenColorCoeffAdjust),
            Forms::idWrite("Correctionop::setScreenXBit", "Device_setScreensXBit", &Op::setScreenXBit),
            Forms::idWrite("Correctionop::setScreenABLEnable", "Device_setScreensABL",
                           &Op::setScreenABLEnable),
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }

    void addPromiseForms()
    {
        QTest::addColumn<PromiseForm>("form");
        for (const PromiseForm& form : promiseForms()) {
            QTest::newRow(form.name) << form;
        }
    }
    void answerText(const QByteArray& body) { m_engine->answer(RecordingEngine::reply(body)); }

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void operationsSendAndReturnAsTold_data() { addRows(); }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void promiseFormsSendOneRequestAsTold_data() { addPromiseForms(); }
    void promiseFormsSendOneRequestAsTold()
    {
        QFETCH(PromiseForm, form);
        const int limitsBefore = timeLimitsGiven();
        form.outcome(sampleDevice, sampleId);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QCOMPARE(m_engine->count(), 1);
        const RecordingEngine::Request sent = m_engine->last();
        QCOMPARE(sent.deviceKey, sampleDevice);
        QCOMPARE(int(sent.method), int(form.method));
        QCOMPARE(sent.path, AllUrlResource::getUrl(form.routeKey));
        QVERIFY(!sent.path.isEmpty());
        QCOMPARE(sent.placeHolders, form.placeHolders);
        QCOMPARE(sent.body, form.body);
        QCOMPARE(sent.expectedTime, 10000);
        QCOMPARE(sent.daemon, false);
        QVERIFY(sent.parameters.isEmpty());
    }

    void promiseFormsFailEachInItsOwnWay_data() { addPromiseForms(); }
    void promiseFormsFailEachInItsOwnWay()
    {
        QFETCH(PromiseForm, form);
        const QByteArray good = R"({"code":0,"data":{"mode":3,"enable":true}})";
        answerText(good);
        QCOMPARE(form.outcome(sampleDevice, sampleId), QString(form.good));
        answerText(R"({"code":0,"data":{}})");
        QCOMPARE(form.outcome(sampleDevice, sampleId), QString(form.absent));
        answerText(R"({"code":1,"data":{"mode":3,"enable":true}})");
        QCOMPARE(form.outcome(sampleDevice, sampleId), QString(form.refused));
        answerText("<html>");
        QCOMPARE(form.outcome(sampleDevice, sampleId), QString(form.noJson));
        for (const auto state : {RecordingEngine::State::Unreachable, RecordingEngine::State::TimedOut}) {
            m_engine->answer(RecordingEngine::failure(state));
            QCOMPARE(form.outcome(sampleDevice, sampleId), QString(form.failed));
        }
        answerText(good);
        m_engine->forget();
        QCOMPARE(form.outcome(QString(), sampleId), QString(form.noDevice));
        QCOMPARE(m_engine->count(), QByteArray(form.noDevice).startsWith("rejected") ? 0 : 1);
        m_engine->forget();
        QCOMPARE(form.outcome(sampleDevice, QString()), QString(form.noId));
        QCOMPARE(m_engine->count(), QByteArray(form.noId).startsWith("rejected") ? 0 : 1);
        HttpProxy::getInstance()->setEngine(std::make_unique<ThrowingEngine>());
        QCOMPARE(form.outcome(sampleDevice, sampleId), QString("rejected: no start"));
        QCoreApplication::processEvents();
    }

    void modesConvertToIntegers_data()
    {
        QTest::addColumn<QByteArray>("mode");
        QTest::addColumn<QString>("outcome");
        QTest::newRow("number") << QByteArray("5") << "5";
        QTest::newRow("text") << QByteArray("\"5\"") << "5";
        QTest::newRow("no number") << QByteArray("\"x\"") << "0";
        QTest::newRow("object") << QByteArray("{}") << "0";
        QTest::newRow("null") << QByteArray("null") << "0";
        QTest::newRow("bool") << QByteArray("true") << "1";
    }
    void modesConvertToIntegers()
    {
        QFETCH(QByteArray, mode);
        QFETCH(QString, outcome);
        m_engine->answer(RecordingEngine::data("{\"mode\":" + mode + "}"));
        QCOMPARE(PromiseOutcome::of(correction()->getCabinetEffectMode(sampleDevice, "1")), outcome);
        QCOMPARE(PromiseOutcome::of(correction()->getScreenEffectMode(sampleDevice, "1")), outcome);
    }

    // Operations that do nothing

    void setCorrectEnableWithCabinetsDoesNothingAndWithAMapSends()
    {
        const LogCollector log;
        const auto promise = correction()->setCorrectEnable(sampleDevice, QStringList{"1"}, true);
        QVERIFY(promise.isFulfilled());
        QCOMPARE(PromiseOutcome::of(promise), QString("false"));
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(log.lines(), QStringList());
        Map result;
        QVERIFY(correction()->setCorrectEnable(sampleDevice, Map{{"enable", true}}, result));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
    }

    void setActionWritesOneWarningAndDoesNothing()
    {
        const LogCollector log;
        const auto promise = correction()->setAction(sampleDevice, "1", Map{{"x", 1}});
        QVERIFY(promise.isFulfilled());
        QCOMPARE(PromiseOutcome::of(promise), QString("false"));
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(log.lines(), QStringList{"warning: Unimplemented code."});
    }

    void setScreenCorrectionModeReturnsFalseAndLeavesTheResult()
    {
        Map result{{"kept", 1}};
        QVERIFY(!correction()->setScreenCorrectionMode(sampleDevice, "1", Map{{"x", 1}}, result));
        QCOMPARE(result, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 0);
    }

    // Pairs that differ

    void thePromiseOfGetScreenEffectModeLeavesTheIdUnfilled()
    {
        for (const char* id : {"1", "2"}) {
            PromiseOutcome::of(correction()->getScreenEffectMode(sampleDevice, id));
            QVERIFY(m_engine->last().placeHolders.isEmpty());
            QVERIFY(m_engine->last().path.contains("{id}"));
        }
        Map result;
        QVERIFY(correction()->getScreenEffectMode(sampleDevice, "1", result));
        QCOMPARE(m_engine->last().placeHolders.value("id"), QString("1"));
    }

    void againstADeadDeviceTheScreensModeIsOneAndTheCabinetsIsRejected()
    {
        m_engine->answer(RecordingEngine::failure());
        QCOMPARE(PromiseOutcome::of(correction()->getScreenEffectMode(sampleDevice, "1")), QString("1"));
        QCOMPARE(PromiseOutcome::of(correction()->getCabinetEffectMode(sampleDevice, "1")),
                 QString("rejected: undefined"));
    }

    void getCabinetEffectModeWithoutAModeIsZero()
    {
        m_engine->answer(RecordingEngine::data(R"({"other":7})"));
        QCOMPARE(PromiseOutcome::of(correction()->getCabinetEffectMode(sampleDevice, "1")), QString("0"));
    }

    void setCabinetEffectModeOfNoCabinetIsRejectedAsAPromiseAndSentOtherwise()
    {
        QCOMPARE(PromiseOutcome::of(correction()->setCabinetEffectMode(sampleDevice, QString(), 2)),
                 QString("rejected: arguments error"));
        QCOMPARE(m_engine->count(), 0);
        Map result;
        QVERIFY(correction()->setCabinetEffectMode(sampleDevice, QString(), Map{{"mode", 2}}, result));
        QCOMPARE(m_engine->count(), 1);
    }

    void getScreenCorrectNiccTellsTheHttpStatusInEveryCase()
    {
        List result;
        int status = -1;
        RecordingEngine::Reply reply = RecordingEngine::data(R"([{"a":{"b":1}}])");
        reply.status = 206;
        m_engine->answer(reply);
        QVERIFY(correction()->getScreenCorrectNicc(sampleDevice, "1", result, status));
        QCOMPARE(status, 206);
        QCOMPARE(result, (List{Map{{"a.b", qlonglong(1)}}}));
        reply = RecordingEngine::failure(RecordingEngine::State::HttpFailure);
        reply.status = 503;
        m_engine->answer(reply);
        QVERIFY(!correction()->getScreenCorrectNicc(sampleDevice, "1", result, status));
        QCOMPARE(status, 503);
        QVERIFY(result.isEmpty());
        m_engine->answer(RecordingEngine::failure());
        QVERIFY(!correction()->getScreenCorrectNicc(sampleDevice, "1", result, status));
        QCOMPARE(status, 0);
    }

    void threeKeysOfTheEffectModeAreTwoPaths()
    {
        const QString ofOne = "/api/v1/device/correctionop/cabinets/{cid}/effectmode";
        QCOMPARE(AllUrlResource::getUrl("Device_SetCabinetCorrect"), ofOne);
        QCOMPARE(AllUrlResource::getUrl("Device_GetCabinetsCorrect"), ofOne);
        QCOMPARE(AllUrlResource::getUrl("Device_SetCabinetsCorrect"),
                 QString("/api/v1/device/correctionop/cabinets/effectmode"));
    }
};

QTEST_GUILESS_MAIN(TestCorrectionopState)
#include "tst_correctionop_state.moc"
