// SPDX-License-Identifier: MIT
#include <oneinstance.h>
#include <operationrow.h>
#include <recordingengine.h>

#include <tessel/algorithm.h>
#include <tessel/allurlresource.h>

#include <QSignalSpy>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using Parameters = QMap<QString, QString>;
using Calculation = bool (Algorithm::*)(const QString&, const Parameters&, Map&);

namespace {

struct Named
{
    const char* name;
    const char* routeKey;
    Calculation calculation;
};

const Named calculations[] = {
    {"Algorithm::getRGBLight", "Algorithm_RGBLight", &Algorithm::getRGBLight},
    {"Algorithm::getWhiteLightCoord", "Algorithm_WhiteLightCoord", &Algorithm::getWhiteLightCoord},
    {"Algorithm::getColorTemperature", "Algorithm_colorTemperature", &Algorithm::getColorTemperature},
};

} // namespace

Q_DECLARE_METATYPE(const Named*)

class TestAlgorithm : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

    static void everyCalculation()
    {
        QTest::addColumn<const Named*>("named");
        for (const Named& named : calculations) {
            QTest::newRow(named.name) << &named;
        }
    }
    static bool calculate(const Named* named, const Parameters& parameters, Map& reply)
    {
        return (Algorithm::getInstance()->*named->calculation)(sampleDevice, parameters, reply);
    }

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        for (const Named& named : calculations) {
            QTest::newRow(named.name)
                << OperationRow{named.name,
                                named.routeKey,
                                HttpMethod::Get,
                                Decoder::Map,
                                [&named](Outputs& out) {
                                    return calculate(&named, {{"r", "1"}, {"g", "2"}}, out.map);
                                },
                                {},
                                {},
                                {{"g", "2"}, {"r", "1"}}};
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void everyRequestGoesOutWithoutAPath_data() { everyCalculation(); }
    void everyRequestGoesOutWithoutAPath()
    {
        QFETCH(const Named*, named);
        Map reply;
        for (const Parameters& parameters : {Parameters(), Parameters{{"path", "/api"}}}) {
            QVERIFY(calculate(named, parameters, reply));
            QCOMPARE(m_engine->last().path, QString());
        }
        QCOMPARE(m_engine->count(), 2);
    }

    void noCallPutsAPathIntoTheTable_data() { everyCalculation(); }
    void noCallPutsAPathIntoTheTable()
    {
        QFETCH(const Named*, named);
        const auto table = AllUrlResource::getInstance()->getMapAllUrl();
        Map reply;
        calculate(named, {}, reply);
        calculate(named, {}, reply);
        QCOMPARE(AllUrlResource::getUrl(QLatin1String(named->routeKey)), QString());
        QCOMPARE(AllUrlResource::getInstance()->getMapAllUrl(), table);
        QVERIFY(!table.contains(QLatin1String(named->routeKey)));
    }

    void withoutParametersNoQueryGoesOut_data() { everyCalculation(); }
    void withoutParametersNoQueryGoesOut()
    {
        QFETCH(const Named*, named);
        Map reply;
        QVERIFY(calculate(named, {}, reply));
        QVERIFY(m_engine->last().parameters.isEmpty());
    }

    void aFailureEmptiesTheReply_data() { everyCalculation(); }
    void aFailureEmptiesTheReply()
    {
        QFETCH(const Named*, named);
        m_engine->answer(RecordingEngine::failure());
        Map reply{{"stale", 1}};
        QVERIFY(!calculate(named, {}, reply));
        QVERIFY(reply.isEmpty());
    }

    void noCallRaisesTheSignal()
    {
        QSignalSpy raised(Algorithm::getInstance(), &Algorithm::needGetAlgorithmInfo);
        Map reply;
        for (const Named& named : calculations) {
            calculate(&named, {}, reply);
        }
        QCoreApplication::processEvents();
        QCOMPARE(raised.size(), 0);
    }

    void theMetaObjectDeclaresTheSignalOnly()
    {
        const QMetaObject& meta = Algorithm::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        QCOMPARE(meta.method(meta.methodOffset()).methodSignature(), QByteArray("needGetAlgorithmInfo()"));
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<Algorithm>(); }
};

QTEST_GUILESS_MAIN(TestAlgorithm)
#include "tst_algorithm.moc"
