// SPDX-License-Identifier: MIT
#include <cachedlisttest.h>
#include <cachedoperator.h>
#include <oneinstance.h>
#include <operationforms.h>

#include <tessel/allurlresource.h>
#include <tessel/outputinfooperator.h>

#include <QSignalSpy>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QByteArray outputsChanged = R"({"dataType":"change","changeTag":"outputsInfo"})";

OutputInfoOperator* outputs()
{
    return OutputInfoOperator::getInstance();
}

CachedOperator cachedOutputs()
{
    CachedOperator subject{
        []() -> QObject* { return outputs(); },
        "Device_AllOutputsInfo",
        CachedOperator::Entry::List,
        [](const QString& deviceKey, bool force) { return outputs()->getAllOutputsInfo(deviceKey, force); },
        handingOut(&OutputInfoOperator::getAllOutputsInfo),
        [](bool on) { on ? outputs()->startWatch() : outputs()->shutDownWatch(); },
        outputsChanged,
        {"dataType", "changeTag"}};
    subject.otherEvents = {
        {"another operator's tag", R"({"dataType":"change","changeTag":"inputsInfo"})"},
        {"an envelope", R"({"eventSender":"monitor","eventType":"outputsInfo"})"},
    };
    return subject;
}

// The setters take a body that they do not change by non-const reference.
using Setter = bool (OutputInfoOperator::*)(const QString&, const QString&, Map&, Map&);

OperationRow setter(const char* name, const char* routeKey, Setter operation)
{
    OperationRow row{name, routeKey, HttpMethod::Put, Decoder::Map, [operation](Outputs& out) {
                         Map params{{"x", 1}};
                         const bool ok = (outputs()->*operation)(sampleDevice, sampleId, params, out.map);
                         return params == Map{{"x", 1}} && ok;
                     }};
    row.body = R"({"x":1})";
    row.placeHolders = {{"outputid", sampleId}};
    return row;
}

} // namespace

class TestOutputInfoOperator : public CachedListTest
{
    Q_OBJECT

public:
    TestOutputInfoOperator()
        : CachedListTest([](const QString& deviceKey, List& list) {
            return outputs()->getAllOutputsInfo(deviceKey, list, false);
        })
    {}

private Q_SLOTS:
    void init() { beginWithAFreshDevice(); }

    void twoCallsGiveTheSameInstance() { checkOneInstance<OutputInfoOperator>(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<OutputInfoOperator>;
        using Op = OutputInfoOperator;
        OperationRow copy{"OutputInfoOperator::getAllOutputsInfo (output)", "Device_AllOutputsInfo",
                          HttpMethod::Get, Decoder::FlatList, [](Outputs& out) {
                              return outputs()->getAllOutputsInfo(sampleDevice, out.list, true);
                          }};
        copy.onFailure = OnFailure::KeepOutput;
        OperationRow mapping{"OutputInfoOperator::setAllOutputsPipeMapping", "Device_AllOutputsPipeMapping",
                             HttpMethod::Put, Decoder::Map, [](Outputs& out) {
                                 Map params{{"x", 1}};
                                 return outputs()->setAllOutputsPipeMapping(sampleDevice, params, out.map);
                             }};
        mapping.body = R"({"x":1})";
        const OperationRow rows[] = {
            {"OutputInfoOperator::getAllOutputsInfo", "Device_AllOutputsInfo", HttpMethod::Get, Decoder::None,
             [](Outputs&) { return outputs()->getAllOutputsInfo(sampleDevice, true); }},
            copy,
            Forms::listWrite("OutputInfoOperator::setAllOutputsInfo", "Device_AllOutputsInfo",
                             &Op::setAllOutputsInfo),
            mapping,
            setter("OutputInfoOperator::setOutputInfo", "Device_OutputInfo", &Op::setOutputInfo),
            setter("OutputInfoOperator::setOutputEnable", "Device_OutputEnable", &Op::setOutputEnable),
            setter("OutputInfoOperator::setOutputResolution", "Device_OutputResolution",
                   &Op::setOutputResolution),
            setter("OutputInfoOperator::setOutputOffset", "Device_OutputOffset", &Op::setOutputOffset),
            setter("OutputInfoOperator::setOutputPipeMapping", "Device_OutputPipeMapping",
                   &Op::setOutputPipeMapping),
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

    // OutputInfoOperator::getOutputInfo

    void getOutputInfoFindsTheFirstOutputWithTheId_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("found");
        QTest::newRow("text") << QByteArray(R"([{"id":"a","n":1},{"id":"b","n":2}])") << "b" << 2;
        QTest::newRow("number") << QByteArray(R"([{"id":1,"n":1},{"id":2,"n":2}])") << "2" << 2;
        QTest::newRow("twice") << QByteArray(R"([{"id":"a","n":1},{"id":"a","n":2}])") << "a" << 1;
        QTest::newRow("other case") << QByteArray(R"([{"id":"A","n":1}])") << "a" << 0;
        QTest::newRow("other name") << QByteArray(R"([{"outputid":"a","n":1}])") << "a" << 0;
        QTest::newRow("no objects") << QByteArray(R"(["a",1,null,["a"],{"id":"a","n":5}])") << "a" << 5;
        QTest::newRow("object as id") << QByteArray(R"([{"id":{"a":1},"n":1}])") << "a" << 0;
        QTest::newRow("another text of the number") << QByteArray(R"([{"id":2,"n":1}])") << "02" << 0;
        QTest::newRow("truth by its word") << QByteArray(R"([{"id":true,"n":1}])") << "true" << 1;
        QTest::newRow("truth by a number") << QByteArray(R"([{"id":true,"n":1}])") << "1" << 0;
        QTest::newRow("no list") << QByteArray("[]") << "a" << 0;
    }
    void getOutputInfoFindsTheFirstOutputWithTheId()
    {
        QFETCH(QByteArray, list);
        QFETCH(QString, id);
        QFETCH(int, found);
        answerList(list);
        Map result{{"kept", 1}};
        QCOMPARE(outputs()->getOutputInfo(m_device, id, result), found != 0);
        if (found != 0) {
            QCOMPARE(result.value("n").toInt(), found);
        } else {
            QCOMPARE(result, (Map{{"kept", 1}}));
        }
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("Device_AllOutputsInfo"));
    }

    void getOutputInfoOfAnUnknownIdKeepsTheResult()
    {
        answerList(R"([{"id":"a"}])");
        Map result{{"kept", 1}};
        QVERIFY(!outputs()->getOutputInfo(m_device, "b", result));
        QCOMPARE(result, (Map{{"kept", 1}}));
        QVERIFY(!outputs()->getOutputInfo(m_device, "b", result));
        QCOMPARE(m_engine->count(), 1);
    }

    void getOutputInfoOfAnUnreachableDeviceKeepsTheResult()
    {
        m_engine->answer(RecordingEngine::failure());
        Map result{{"kept", 1}};
        QVERIFY(!outputs()->getOutputInfo(m_device, "a", result));
        QCOMPARE(result, (Map{{"kept", 1}}));
    }

    // The list and its cache

    void theCacheFollowsItsDevice_data() { addCachedOperatorChecks(cachedOutputs()); }
    void theCacheFollowsItsDevice()
    {
        QFETCH(CachedOperatorCheck, check);
        checkCachedOperator(cachedOutputs(), check);
    }

    void setOutputEnableDoesNotChangeTheCachedList()
    {
        answerList(R"([{"id":"a","enable":false}])");
        QVERIFY(outputs()->getAllOutputsInfo(m_device, false));
        const List before = cachedList();
        Map params{{"enable", true}};
        Map result;
        QVERIFY(outputs()->setOutputEnable(m_device, "a", params, result));
        QCOMPARE(cachedList(), before);
        QCOMPARE(m_engine->count(), 2);
    }

    // Events

    void anEventsRefreshChangesWhatGetOutputInfoReturnsWithoutASignal()
    {
        answerList(R"([{"id":"a","enable":false}])");
        Map result;
        QVERIFY(outputs()->getOutputInfo(m_device, "a", result));
        QCOMPARE(result.value("enable").toBool(), false);
        QSignalSpy needed(outputs(), &OutputInfoOperator::needGetAllInputsInfo);
        answerList(R"([{"id":"a","enable":true}])");
        push(outputsChanged);
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Get));
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("Device_AllOutputsInfo"));
        QTRY_COMPARE(m_engine->held(), 0);
        QCoreApplication::processEvents();
        QVERIFY(outputs()->getOutputInfo(m_device, "a", result));
        QCOMPARE(result.value("enable").toBool(), true);
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(needed.size(), 0);
        const QMetaObject& meta = OutputInfoOperator::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    }
};

QTEST_GUILESS_MAIN(TestOutputInfoOperator)
#include "tst_outputinfooperator.moc"
