// SPDX-License-Identifier: MIT
#include <logcollector.h>
#include <recordingengine.h>
#include <replaced.h>
#include <singleshots.h>

#include <communicator/httpjsonpackage.h>

#include <tessel/frames/grouprequest.h>

#include "objectsleft.h"

#include <QEventLoop>
#include <QThread>
#include <QTimer>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpMethod;
using Tessel::GroupRequest;
using Tessel::putToDevices;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QString device = QStringLiteral("wall");

QEventLoop::ProcessEventsFlags flagsOfTheLoop; // of the latest QEventLoop::exec()

const char* routeOf(const QString& deviceKey)
{
    return deviceKey == QLatin1String("new") ? "HwScreen_MultDrawCorrectRegion"
                                             : "HwScreen_DrawCorrectRegion";
}

} // namespace

// In front of Qt's own.
int QEventLoop::exec(ProcessEventsFlags flags)
{
    static const auto qts = replaced<int(QEventLoop*, ProcessEventsFlags)>(
        "_ZN10QEventLoop4execE6QFlagsINS_17ProcessEventsFlagEE");
    flagsOfTheLoop = flags;
    return qts(this, flags);
}

class TestGroupRequest : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void allRequestsAreOutBeforeTheFirstReplyIsAwaited()
    {
        m_engine->hold();
        int outTogether = 0;
        QTimer::singleShot(0, this, [&] {
            outTogether = m_engine->held();
            while (m_engine->held() > 0) {
                m_engine->release();
                QCoreApplication::processEvents();
            }
        });
        List results;
        QVERIFY(GroupRequest("Device_OneEDID").get(device, {"1", "2", "3"}, results));
        QCOMPARE(outTogether, 3);
    }

    void aGroupReadAppendsEachReplyWithItsId()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return RecordingEngine::data(R"({"edid":")" + request.placeHolders.value("id").toUtf8() +
                                         R"(x"})");
        });
        List results{"earlier"};
        QVERIFY(GroupRequest("Device_OneEDID").get(device, {"1", "2"}, results));
        QCOMPARE(results,
                 (List{"earlier", Map{{"edid", "1x"}, {"id", "1"}}, Map{{"edid", "2x"}, {"id", "2"}}}));
    }

    void oneFailureFailsTheCallAndLeavesTheOthersReplies()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.placeHolders.value("id") == "1" ? RecordingEngine::failure()
                                                           : RecordingEngine::data(R"({"edid":"y"})");
        });
        List results;
        QVERIFY(!GroupRequest("Device_OneEDID").get(device, {"1", "2"}, results));
        QCOMPARE(results, (List{Map{{"edid", "y"}, {"id", "2"}}}));
    }

    void aGroupWriteSendsTheBodyToEachId()
    {
        QVERIFY(GroupRequest("Device_Hue").body(Map{{"hue", 7}}).put(device, {"1", "2"}));
        QCOMPARE(m_engine->count(), 2);
        QStringList ids;
        for (const RecordingEngine::Request& sent : m_engine->requests()) {
            QCOMPARE(int(sent.method), int(HttpMethod::Put));
            QCOMPARE(sent.body, QByteArray(R"({"hue":7})"));
            ids << sent.placeHolders.value("id");
        }
        QCOMPARE(ids, (QStringList{"1", "2"}));
    }

    void anEmptyGroupWaitsUntilSomethingElseQuitsTheLoop()
    {
        bool quit = false;
        bool ok = false;
        List results;
        // On a thread of its own, whose loops quit() ends without ending those of the program.
        const std::unique_ptr<QThread> caller(QThread::create([&] {
            QObject home;
            QTimer::singleShot(0, &home, [&] {
                quit = true;
                QThread::currentThread()->quit();
            });
            ok = GroupRequest("Device_OneEDID").get(device, {}, results);
        }));
        caller->start();
        QVERIFY(caller->wait(60000));
        QVERIFY(ok);
        QVERIFY(quit);
        QCOMPARE(m_engine->count(), 0);
    }

    void otherEventsOfTheThreadAreDeliveredDuringTheWait()
    {
        m_engine->hold();
        bool delivered = false;
        QTimer::singleShot(0, this, [&] {
            delivered = true;
            m_engine->release();
        });
        QVERIFY(GroupRequest("Device_Hue").put(device, {"1"}));
        QVERIFY(delivered);
    }

    void aGroupLetsEachPackageGoWithItsReplyOrItsTime_data()
    {
        QTest::addColumn<bool>("answered");
        QTest::newRow("its reply") << true;
        QTest::newRow("its time") << false;
    }
    void aGroupLetsEachPackageGoWithItsReplyOrItsTime()
    {
        QFETCH(bool, answered);
        fireAllSingleShots(10000);
        m_engine->hold();
        int living[2] = {0, 0};
        int turns = 0;
        QTimer turning;
        QObject::connect(&turning, &QTimer::timeout, this, [&] {
            // What a reply or a timer sets off takes a few turns of the loop.
            if (++turns == 20) {
                living[0] = livingNow<HttpJsonPackage>();
                if (answered) {
                    m_engine->release();
                } else {
                    fireSingleShots(10000, 1);
                }
            } else if (turns == 40) {
                living[1] = livingNow<HttpJsonPackage>();
                fireAllSingleShots(10000);
            }
        });
        turning.start(0);
        objectFatesDuring([] { GroupRequest("Device_Hue").put(device, {"1", "2", "3"}); });
        QCOMPARE(living[0], 3);
        QCOMPARE(living[1], 2);
        while (m_engine->release()) {
            QCoreApplication::processEvents();
        }
    }

    void whatIsUnansweredWhenAGroupEndsGoesWithTheNextEvents()
    {
        fireAllSingleShots(10000);
        m_engine->hold();
        QTimer::singleShot(0, this, [this] {
            m_engine->release();
            QTRY_COMPARE(m_engine->held(), 1);
            // The timer of the answered one counts it a second time, and the other is not waited for.
            fireSingleShots(10000, 1);
        });
        int living[2] = {0, 0};
        objectFatesDuring([&living] {
            GroupRequest("Device_Hue").put(device, {"1", "2"});
            living[0] = livingNow<HttpJsonPackage>();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            living[1] = livingNow<HttpJsonPackage>();
        });
        QCOMPARE(living[0], 1);
        QCOMPARE(living[1], 0);
        while (m_engine->release()) {
            QCoreApplication::processEvents();
        }
    }

    void aBatchSendsEachItemToItsOwnDeviceAndRoute()
    {
        const std::vector<Map> items{
            {{"devKey", "old"}, {"x", 1}}, {{"devKey", "new"}, {"x", 2}}, {{"x", 3}}};
        QVERIFY(putToDevices("f", items, routeOf, 20000));
        const auto sent = m_engine->requests();
        QCOMPARE(sent.size(), std::size_t(3));
        QCOMPARE(sent[0].deviceKey, QString("old"));
        QCOMPARE(sent[0].path, QString("/api/v1/device/hwscreen/correction/drawregion"));
        QCOMPARE(sent[0].body, QByteArray(R"({"devKey":"old","x":1})"));
        QCOMPARE(sent[1].deviceKey, QString("new"));
        QCOMPARE(sent[1].path, QString("/api/v1/screen/hwscreen/correction/drawregion"));
        QCOMPARE(sent[2].deviceKey, QString());
        for (const auto& request : sent) {
            QCOMPARE(request.expectedTime, 20000);
        }
    }

    void theUsersInputWaitsForABatchAndNotForAGroup()
    {
        QVERIFY(putToDevices("f", {{{"devKey", "old"}}}, routeOf, 20000));
        QCOMPARE(int(flagsOfTheLoop), int(QEventLoop::ExcludeUserInputEvents));
        QVERIFY(GroupRequest("Device_Hue").put(device, {"1"}));
        QCOMPARE(int(flagsOfTheLoop), int(QEventLoop::AllEvents));
    }

    void oneFailedDeviceFailsTheBatch()
    {
        m_engine->answer([](const RecordingEngine::Request& request) {
            return request.deviceKey == "old" ? RecordingEngine::failure() : RecordingEngine::data("{}");
        });
        QVERIFY(!putToDevices("f", {{{"devKey", "old"}}, {{"devKey", "new"}}}, routeOf, 20000));
    }

    void theTimerFailsTheWholeBatch()
    {
        m_engine->hold();
        QTimer::singleShot(0, this, [this] { m_engine->release(); });
        QVERIFY2(!putToDevices("f", {{{"devKey", "old"}}, {{"devKey", "new"}}}, routeOf, 50),
                 "one device answered, the other was silent");
        QCOMPARE(m_engine->held(), 1);
    }

    void aBatchKeepsItsNumberWhateverBecomesOfTheCallersList_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("grows") << 20;
        QTest::newRow("shrinks") << 1;
        QTest::newRow("is emptied") << 0;
    }
    void aBatchKeepsItsNumberWhateverBecomesOfTheCallersList()
    {
        QFETCH(int, size);
        m_engine->hold();
        std::vector<Map> items{{{"devKey", "old"}}, {{"devKey", "new"}}, {{"devKey", "other"}}};
        items.shrink_to_fit();
        int turns = 0;
        QTimer turning;
        QObject::connect(&turning, &QTimer::timeout, this, [&] {
            if (turns == 0) {
                items.resize(static_cast<std::size_t>(size));
                items.shrink_to_fit();
            }
            // A reply takes a few turns of the loop: each is handled before the next one comes.
            if (++turns % 20 == 0) {
                m_engine->release();
            }
        });
        turning.start(0);
        QVERIFY(putToDevices("f", items, routeOf, 20000));
        QCOMPARE(m_engine->held(), 0);
        QCOMPARE(m_engine->count(), 3);
    }

    void anEmptyBatchLogsAndSendsNothing()
    {
        const LogCollector log;
        QVERIFY(!putToDevices("ScreenInfo::setMultPixelImage", {}, routeOf, 20000));
        QCOMPARE(log.lines(),
                 QStringList{"critical: ScreenInfo::setMultPixelImage System error! trigger is nullptr"});
        QCOMPARE(m_engine->count(), 0);
    }
};

QTEST_GUILESS_MAIN(TestGroupRequest)
#include "tst_grouprequest.moc"
