// SPDX-License-Identifier: MIT
//
// A transport that offers nothing beyond its interface: this program defines the functions that would offer
// it, which take the place of the library's.
#include "deviceside.h"
#include "recordingengine.h"

#include <communicator/httpproxy.h>

#include <tessel/inputinfo.h>
#include <tessel/pipeinfo.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

// In front of the library's own.
quintptr HttpProxy::replyReader(const QByteArray& /*decoder*/) const
{
    return 0;
}
quintptr HttpProxy::operationBoundary() const
{
    return 0;
}

class TestTransportOffer : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void repliesAreDecodedWithoutAReader_data()
    {
        QTest::addColumn<bool>("isBlank");
        QTest::newRow("into nothing") << true;
        QTest::newRow("into what is there") << false;
    }
    void repliesAreDecodedWithoutAReader()
    {
        QFETCH(bool, isBlank);
        RecordingEngine* const engine = RecordingEngine::install();
        const QString device = DeviceSide::fresh();
        Map map = isBlank ? Map() : Map{{"old", 1}};
        engine->answer(RecordingEngine::data(R"({"a":{"b":1}})"));
        QVERIFY(InputInfo::getInstance()->getSignal(device, "2", map));
        QCOMPARE(map, (Map{{"a.b", 1}}));

        engine->answer(RecordingEngine::data(R"([{"a":{"b":1}}])"));
        List flattened = isBlank ? List() : List{1, 2};
        QVERIFY(InputInfo::getInstance()->getAllInputBackup(device, flattened));
        QCOMPARE(flattened, (List{Map{{"a.b", 1}}}));
        List parsed = isBlank ? List() : List{1, 2};
        QVERIFY(PipeInfo::getInstance()->getDeviceOnePipeGroupScreenIds(device, "2", parsed));
        QCOMPARE(parsed, (List{Map{{"a", Map{{"b", 1}}}}}));
    }

    void anOperationOfSeveralRequestsNeedsNoMark()
    {
        RecordingEngine* const engine = RecordingEngine::install();
        List list;
        QVERIFY(InputInfo::getInstance()->getEDIDs(DeviceSide::fresh(), {"1", "2"}, list));
        QCOMPARE(engine->count(), 2);
    }
};

QTEST_GUILESS_MAIN(TestTransportOffer)
#include "tst_transportoffer.moc"
