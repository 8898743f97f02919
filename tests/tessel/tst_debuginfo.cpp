// SPDX-License-Identifier: MIT
#include <oneinstance.h>
#include <operationrow.h>
#include <recordingengine.h>

#include <tessel/debuginfo.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;

class TestDebugInfo : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        const QMap<QString, QVariant> body{{"address", 12}, {"all", true}};
        const QByteArray json = R"({"address":12,"all":true})";
        const OperationRow rows[] = {
            {"DebugInfo::getParameters", "SelfTest_CabReadPara", HttpMethod::Put, Decoder::FlatList,
             [body](Outputs& out) {
                 return DebugInfo::getInstance()->getParameters(sampleDevice, body, out.list);
             },
             json},
            {"DebugInfo::sendParameters", "SelfTest_CabSendPara", HttpMethod::Put, Decoder::FlatList,
             [body](Outputs& out) {
                 return DebugInfo::getInstance()->sendParameters(sampleDevice, body, out.list);
             },
             json},
            {"DebugInfo::clearKeyParameters", "SelfTest_CabClearKeyPara", HttpMethod::Put, Decoder::Map,
             [](Outputs& out) {
                 return DebugInfo::getInstance()->clearKeyParameters(sampleDevice, out.map);
             }},
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

    void getParametersWithAnEmptyMapSendsAnEmptyObject()
    {
        RecordingEngine* engine = RecordingEngine::install();
        QList<QVariant> result;
        DebugInfo::getInstance()->getParameters(sampleDevice, {}, result);
        QCOMPARE(engine->last().body, QByteArray("{}"));
    }

    void clearKeyParametersSendsNoBody()
    {
        RecordingEngine* engine = RecordingEngine::install();
        QMap<QString, QVariant> result;
        DebugInfo::getInstance()->clearKeyParameters(sampleDevice, result);
        QVERIFY(engine->last().body.isEmpty());
        QCOMPARE(static_cast<int>(engine->last().method), static_cast<int>(HttpMethod::Put));
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<DebugInfo>(); }
};

QTEST_GUILESS_MAIN(TestDebugInfo)
#include "tst_debuginfo.moc"
