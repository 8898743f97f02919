// SPDX-License-Identifier: MIT
//
// Operations of a program that never makes a QCoreApplication. They run no event loop.
#include <recordingengine.h>

#include <tessel/frames/grouprequest.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpMethod;
using Tessel::GroupRequest;
using Tessel::putToDevices;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QString device = QStringLiteral("wall");

const char* routeOf(const QString&)
{
    return "HwScreen_DrawCorrectRegion";
}

RecordingEngine::Answer failingFor(const QString& id)
{
    return [id](const RecordingEngine::Request& request) {
        return request.placeHolders.value("id") == id ? RecordingEngine::failure()
                                                      : RecordingEngine::data(R"({"edid":"y"})");
    };
}

} // namespace

class TestWithoutApplication : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void aGroupReadAppendsEachReplyWithItsId()
    {
        m_engine->answer(RecordingEngine::data(R"({"edid":"x"})"));
        List results{"earlier"};
        QVERIFY(GroupRequest("Device_OneEDID").get(device, {"1", "2"}, results));
        QCOMPARE(results,
                 (List{"earlier", Map{{"edid", "x"}, {"id", "1"}}, Map{{"edid", "x"}, {"id", "2"}}}));
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(int(sent.method), int(HttpMethod::Get));
        }
    }

    void aGroupWriteSendsTheBodyToEachId()
    {
        QVERIFY(GroupRequest("Device_Hue").body(Map{{"hue", 7}}).put(device, {"1", "2"}));
        QStringList ids;
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(int(sent.method), int(HttpMethod::Put));
            QCOMPARE(sent.deviceKey, device);
            QCOMPARE(sent.path, QString("/api/v1/device/input/{id}/hue"));
            QCOMPARE(sent.body, QByteArray(R"({"hue":7})"));
            ids << sent.placeHolders.value("id");
        }
        QCOMPARE(ids, (QStringList{"1", "2"}));
    }

    void oneFailureFailsTheGroupAndLeavesTheOthersReplies_data()
    {
        QTest::addColumn<QString>("failing");
        QTest::addColumn<QString>("other");
        QTest::newRow("the first") << "1"
                                   << "2";
        QTest::newRow("the last") << "2"
                                  << "1";
    }
    void oneFailureFailsTheGroupAndLeavesTheOthersReplies()
    {
        QFETCH(QString, failing);
        QFETCH(QString, other);
        m_engine->answer(failingFor(failing));
        List results;
        QVERIFY(!GroupRequest("Device_OneEDID").get(device, {"1", "2"}, results));
        QCOMPARE(results, (List{Map{{"edid", "y"}, {"id", other}}}));
        QCOMPARE(m_engine->count(), 2);
    }

    void anEmptyGroupReturnsAtOnce()
    {
        QVERIFY(GroupRequest("Device_Hue").put(device, {}));
        QCOMPARE(m_engine->count(), 0);
    }

    void aBatchSendsEachItemToItsDevice()
    {
        QVERIFY(putToDevices("f", {{{"devKey", "a"}, {"x", 1}}, {{"devKey", "b"}}}, routeOf, 20000));
        const auto sent = m_engine->requests();
        QCOMPARE(sent.size(), std::size_t(2));
        QCOMPARE(sent[0].deviceKey, QString("a"));
        QCOMPARE(sent[0].body, QByteArray(R"({"devKey":"a","x":1})"));
        QCOMPARE(sent[1].deviceKey, QString("b"));
        for (const auto& request : sent) {
            QCOMPARE(request.path, QString("/api/v1/device/hwscreen/correction/drawregion"));
            QCOMPARE(request.expectedTime, 20000);
        }
    }

    void oneFailedDeviceFailsTheBatch()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.deviceKey == "a" ? RecordingEngine::failure() : RecordingEngine::data("{}");
        });
        QVERIFY(!putToDevices("f", {{{"devKey", "a"}}, {{"devKey", "b"}}}, routeOf, 20000));
        QCOMPARE(m_engine->count(), 2);
    }
};

QTEST_APPLESS_MAIN(TestWithoutApplication)
#include "tst_withoutapplication.moc"
