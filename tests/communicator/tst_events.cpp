// SPDX-License-Identifier: MIT
#include "communicator/events/eventchannels.h"
#include "communicator/runtime/postedcall.h"
#include "misbehavingserver.h"
#include "sleepingthread.h"

#include <closedport.h>
#include <logcollector.h>

#include <QDir>
#include <QEventLoop>
#include <QLoggingCategory>
#include <QtTest>

#include <future>
#include <netinet/in.h>
#include <sys/socket.h>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using namespace std::chrono_literals;
using Mode = MisbehavingServer::Mode;

namespace {

const QByteArray head = QByteArrayLiteral("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n\r\n");

EventTimings quickTimings()
{
    EventTimings timings;
    timings.connect = 5s;
    timings.firstDelay = 20ms;
    timings.longestDelay = 100ms;
    timings.loginDelay = 1h;
    timings.stableAfter = 1h;
    timings.silence = 1h;
    timings.goneAfter = 1h;
    return timings;
}

/// The channels, and what they reported to this thread.
struct Listening : QObject
{
    explicit Listening(const EventTimings& timings = quickTimings())
        : channels(loop, queue, board, timings)
    {
        queue.onDelivered([this] { channels.resume(); });
    }

    void deliver()
    {
        ++wakeUps;
        queue.deliver([this](const ProxyEvent& event) {
            proxyEvents.append(event);
            if (event.kind == ProxyEvent::Kind::Event) {
                events.append(event.data);
            }
            if (receive) {
                receive(event);
            }
        });
    }
    void open(const QString& key, const QString& address, DeviceEndpoint endpoint = {})
    {
        endpoint.address = address;
        registry.add(key, endpoint);
        channels.open(registry.find(key), {});
    }
    int count(ProxyEvent::Kind kind) const
    {
        return static_cast<int>(
            std::count_if(proxyEvents.cbegin(), proxyEvents.cend(),
                          [kind](const ProxyEvent& event) { return event.kind == kind; }));
    }

    DeviceRegistry registry;
    std::shared_ptr<IoLoop> loop = std::make_shared<IoLoop>();
    int wakeUps = 0;
    QList<QByteArray> events;
    QList<ProxyEvent> proxyEvents;
    std::function<void(const ProxyEvent&)> receive;
    ProxyEventQueue queue{[this] { postCall(this, [this] { deliver(); }); }};
    ConnectionBoard board;
    EventChannels channels;
};

const QString wall = QStringLiteral("wall");

/// Until what was due after @p time has run. @return whether it has.
bool waitFor(Listening& listening, std::chrono::milliseconds time)
{
    const auto passed = std::make_shared<std::promise<void>>();
    std::future<void> due = passed->get_future();
    listening.loop->run(
        [&] { listening.loop->startTimer(IoLoop::Clock::now() + time, [passed] { passed->set_value(); }); });
    return due.wait_for(30s) == std::future_status::ready;
}

/// The states and reasons of @p deviceKey that are told, in order.
std::shared_ptr<QStringList> statesTold(Listening& listening, const QString& deviceKey)
{
    auto told = std::make_shared<QStringList>();
    listening.receive = [told, deviceKey](const ProxyEvent& event) {
        if (event.kind == ProxyEvent::Kind::Connection && event.deviceKey == deviceKey) {
            const DeviceConnection& now = *event.connection;
            *told << (connectionStateName(now.state) + ' ' + now.reason).trimmed();
        }
    };
    return told;
}

QByteArray digestChallenge(const char* nonce, int length = 0)
{
    return QByteArray("HTTP/1.1 401 Who\r\nWWW-Authenticate: Digest realm=r, qop=auth, nonce=") + nonce +
           "\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n";
}

DeviceEndpoint digestLogin()
{
    DeviceEndpoint endpoint;
    endpoint.login = DeviceEndpoint::Login::Digest;
    endpoint.user = QStringLiteral("admin");
    endpoint.secret = QStringLiteral("secret");
    return endpoint;
}

} // namespace

class TestEvents : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false")); }

    void eventsArriveInOrderWithTheirDevice()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "data: {\"a\":1}\n\nda", "ta: {\"a\":2}\n\n"});
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 2);
        QCOMPARE(listening.events, (QList<QByteArray>{"{\"a\":1}", "{\"a\":2}"}));
        QCOMPARE(listening.proxyEvents.last().deviceKey, wall);
        const auto received = server.received();
        QCOMPARE(received[0].target, QByteArray("/api/v1/events"));
        QCOMPARE(received[0].headers.value("accept"), QByteArray("text/event-stream"));
        QVERIFY(!received[0].headers.contains("last-event-id"));
    }

    void aStreamThatIsClosedIsNeverWokenAgain()
    {
        EventTimings timings = quickTimings();
        timings.connect = 100ms;
        timings.firstDelay = 1ms;
        timings.longestDelay = 1ms;
        MisbehavingServer server(Mode::ResetOnAccept);
        Listening listening(timings);
        listening.open(wall, server.address());
        QTRY_VERIFY(server.connections() >= 3);
        listening.channels.close(wall, {});
        QVERIFY(waitFor(listening, timings.connect)); // whatever it left is due by then
        const int connections = server.connections();
        QTRY_COMPARE(server.open(), 0);
        QCOMPARE(server.connections(), connections);
    }

    void aDeviceThatNeverAnswersIsTriedAgain()
    {
        MisbehavingServer server(Mode::Stall);
        EventTimings timings = quickTimings();
        timings.connect = 50ms;
        Listening listening(timings);
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(3));
    }

    void theTimingsAreThoseThatArePromised()
    {
        const EventTimings timings;
        QCOMPARE(timings.connect.count(), 10000);
        QCOMPARE(timings.firstDelay.count(), 1000);
        QCOMPARE(timings.longestDelay.count(), 60000);
        QCOMPARE(timings.loginDelay.count(), 300000);
        QCOMPARE(timings.stableAfter.count(), 30000);
        QCOMPARE(timings.silence.count(), 45000);
        QCOMPARE(timings.goneAfter.count(), 60000);
        QCOMPARE(timings.proof.count(), 5000);
        QCOMPARE(timings.reportGap.count(), 20);
        QCOMPARE(timings.reportAgain.count(), 100);
        QCOMPARE(timings.longestReportAgain.count(), 10000);
        QCOMPARE(timings.jitter, 0.3);
    }

    void aBrokenStreamIsResumedBehindTheLastEvent()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: 41\ndata: 1\n\nid: 42\ndata: 2\n\nid: 43\ndata: cut"});
        server.addScript({head, "id: 43\ndata: 3\n\n"});
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 2);
        server.dropConnections();
        QTRY_COMPARE(listening.events.size(), 3);
        QCOMPARE(listening.events.last(), QByteArray("3"));
        QCOMPARE(server.received().at(1).headers.value("last-event-id"), QByteArray("42"));
    }

    void aDeviceMadeKnownAgainIsResumedAtTheSameAddressOnly()
    {
        MisbehavingServer server(Mode::Scripted);
        MisbehavingServer other(Mode::Scripted);
        server.addScript({head, "id: 42\ndata: 1\n\n"});
        server.addScript({head, "data: 2\n\n"});
        other.addScript({head, "data: 3\n\n"});
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 2);
        QCOMPARE(server.received().at(1).headers.value("last-event-id"), QByteArray("42"));
        listening.open(wall, other.address());
        QTRY_COMPARE(listening.events.size(), 3);
        QVERIFY(!other.received().at(0).headers.contains("last-event-id"));
    }

    void whatADeviceMadeKnownAgainMayHaveMissedIsReported_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<bool>("elsewhere");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<bool>("missed");
        const QByteArray known = "id: e:7\n\nid: e:8\ndata: 1\n\n";
        const QByteArray goesOn = "id: e:8\n\nid: e:9\ndata: 2\n\n";
        QTest::newRow("its stream goes on") << known << false << goesOn << false;
        QTest::newRow("it has no ids")
            << QByteArray("data: 1\n\n") << false << QByteArray("data: 2\n\n") << true;
        QTest::newRow("it is elsewhere") << known << true << QByteArray("id: f:3\n\ndata: 2\n\n") << true;
        QTest::newRow("it is elsewhere, with an id of the same look") << known << true << goesOn << true;
    }
    void whatADeviceMadeKnownAgainMayHaveMissedIsReported()
    {
        QFETCH(QByteArray, first);
        QFETCH(bool, elsewhere);
        QFETCH(QByteArray, second);
        QFETCH(bool, missed);
        MisbehavingServer server(Mode::Scripted);
        MisbehavingServer other(Mode::Scripted);
        server.addScript({head, first});
        (elsewhere ? other : server).addScript({head, second});
        Listening listening;
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events, QList<QByteArray>{"1"});
        listening.open(wall, (elsewhere ? other : server).address());
        QTRY_COMPARE(listening.events.count("2"), 1);
        if (missed) {
            QTRY_COMPARE(listening.events.count("\"x\""), 1);
        }
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), missed ? 1 : 0);
    }

    void aReportThatIsOwedIsNotForgottenWhenTheDeviceIsMadeKnownAgain()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\n\nid: e:5\ndata: 1\n\n"});
        server.addScript({head, "id: e:5\n\nid: e:6\ndata: 2\n\n"});
        EventTimings timings = quickTimings();
        timings.firstDelay = 1h; // of a report after a read that failed
        timings.longestDelay = 1h;
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.count("\"x\""), 1);
        listening.channels.readFailed(wall);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.count("2"), 1);
        QTRY_COMPARE(listening.events.count("\"x\""), 2);
    }

    void aDeviceThatWasGoneIsReportedWhenItIsMadeKnownAgain()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.goneAfter = 60ms;
        timings.firstDelay = timings.longestDelay = 1h;
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        server.dropConnections();
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
        server.addScript({head, "id: e:1\n\nid: e:2\ndata: 2\n\n"});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.count("2"), 1);
        QTRY_COMPARE(listening.events.count("\"x\""), 1);
    }

    void whatADeviceOwesProofForIsReportedWhenItIsMissing_data()
    {
        QTest::addColumn<QByteArray>("first");
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<bool>("missed");
        const QByteArray begin = "id: e:7\n\n";
        const QByteArray event = "id: e:8\ndata: 1\n\n";
        QTest::newRow("goes on") << begin + event << QByteArray("id: e:8\n\nid: e:9\ndata: 2\n\n") << false;
        QTest::newRow("goes on with the next event")
            << begin + event << QByteArray("id: e:9\ndata: 2\n\n") << false;
        QTest::newRow("restarted") << begin + event << QByteArray("id: f:0\n\nid: f:1\ndata: 2\n\n") << true;
        QTest::newRow("says that it lost some")
            << begin + event << QByteArray("event: gap\nid: e:20\ndata: {}\n\nid: e:21\ndata: 2\n\n") << true;
        QTest::newRow("says so and nothing else")
            << begin + event << QByteArray("id: e:8\n\nevent: gap\n\nid: e:9\ndata: 2\n\n") << true;
        QTest::newRow("leaves some out") << begin + event << QByteArray("id: e:10\ndata: 2\n\n") << true;
        QTest::newRow("knows no ids") << QByteArray("data: 1\n\n") << QByteArray("data: 2\n\n") << true;
        QTest::newRow("knows ids no more") << begin + event << QByteArray("data: 2\n\n") << true;
        QTest::newRow("silent, ids known before") << begin + event << QByteArray() << true;
        QTest::newRow("an id that no header may hold")
            << QByteArray("id: e:\x01\ndata: 1\n\n") << QByteArray("id: e:\x01\ndata: 2\n\n") << true;
        QTest::newRow("an id that is not UTF-8")
            << QByteArray("id: e\xff:1\ndata: 1\n\n") << QByteArray("id: e\xff:1\ndata: 2\n\n") << true;
        const QByteArray longId = "id: " + QByteArray(5000, 'e') + ":1\n";
        QTest::newRow("an id that is too long for a header") << longId + "data: 1\n\n"
                                                             << longId + "data: 2\n\n"
                                                             << true;
    }
    void whatADeviceOwesProofForIsReportedWhenItIsMissing()
    {
        QFETCH(QByteArray, first);
        QFETCH(QByteArray, second);
        QFETCH(bool, missed);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, first});
        server.addScript({head, second});
        EventTimings timings = quickTimings();
        timings.proof = 50ms;
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\"", "\"y\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events, QList<QByteArray>{"1"});
        server.dropConnections();
        if (missed) {
            QTRY_COMPARE(listening.events.count("\"y\""), 1);
            QCOMPARE(listening.events.count("\"x\""), 1);
            QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
        }
        if (!second.isEmpty()) {
            QTRY_COMPARE(listening.events.count("2"), 1);
            server.broadcast("data: 3\n\n");
            QTRY_COMPARE(listening.events.count("3"), 1);
        }
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), missed ? 1 : 0);
        const QByteArray resumed = server.received().at(1).headers.value("last-event-id");
        QVERIFY(!resumed.contains('\x01'));
        QVERIFY2(resumed.size() <= 4096, "a device would refuse the head, again and again");
    }

    void aStreamThatHasEndedOwesNoProof()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.firstDelay = timings.longestDelay = 1h;
        timings.proof = 1s;
        Listening listening(timings);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        server.setMode(Mode::Raw);
        server.setRaw(head);
        const auto told = statesTold(listening, wall);
        listening.open(wall, server.address());
        QTRY_COMPARE(told->filter(QStringLiteral("the stream ended")).size(), 1);
        QVERIFY(waitFor(listening, timings.proof));
        QVERIFY(waitFor(listening, timings.reportGap));
        QCoreApplication::processEvents();
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 0);
    }

    void aFirstStreamThatHadToWaitReportsWhatMayHaveChanged()
    {
        MisbehavingServer server(Mode::Raw);
        Listening listening;
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(2));
        server.setMode(Mode::Scripted);
        server.addScript({head, "id: e:1\n\n"});
        server.addScript({head, "id: e:1\n\n"});
        QTRY_COMPARE(listening.events, QList<QByteArray>{"\"x\""});
    }

    void aDeviceThatWasGoneIsReportedEvenIfItsStreamGoesOn()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.goneAfter = 60ms;
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        server.setMode(Mode::Raw);
        server.setRaw({});
        server.dropConnections();
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
        QCOMPARE(listening.board.connection(wall).state, ConnectionState::Gone);
        server.addScript({head, "id: e:1\n\n"});
        server.addScript({head, "id: e:1\n\n"});
        server.setMode(Mode::Scripted);
        QTRY_COMPARE(listening.events, (QList<QByteArray>{"1", "\"x\""}));
        QCOMPARE(listening.board.connection(wall).state, ConnectionState::Live);
    }

    void aFleetThatComesBackIsReportedOneDeviceAfterTheOther()
    {
        constexpr int count = 20;
        MisbehavingServer server(Mode::Scripted);
        for (int i = 0; i < 2 * count; ++i) {
            server.addScript({head, "data: 1\n\n"});
        }
        EventTimings timings = quickTimings();
        timings.reportGap = 10ms;
        Listening listening(timings);
        QList<std::chrono::steady_clock::time_point> reports;
        listening.receive = [&reports](const ProxyEvent& event) {
            if (event.kind == ProxyEvent::Kind::EventsMissed) {
                reports.append(std::chrono::steady_clock::now());
            }
        };
        for (int i = 0; i < count; ++i) {
            listening.open(QString::number(i), server.address());
        }
        QTRY_COMPARE(listening.events.size(), count);
        server.dropConnections();
        QTRY_COMPARE(reports.size(), count);
        QVERIFY(reports.last() - reports.first() >= 100ms);
    }

    void theBoardSaysWhereEachStreamIs_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<int>("state");
        QTest::addColumn<QString>("reason");
        const QByteArray empty = "\r\nContent-Length: 0\r\n\r\n";
        const auto row = [](const char* name, const QByteArray& reply, ConnectionState state,
                            const char* reason) {
            QTest::newRow(name) << reply << int(state) << QString::fromLatin1(reason);
        };
        row("streams", head + "id: e:1\n\n", ConnectionState::Live, "");
        row("not found", "HTTP/1.1 404 No" + empty, ConnectionState::Refused,
            "the device has no event stream (HTTP status 404)");
        row("not logged in", "HTTP/1.1 401 No" + empty, ConnectionState::Refused,
            "the device refused the login (HTTP status 401)");
        row("busy", "HTTP/1.1 503 Busy" + empty, ConnectionState::Waiting,
            "the device has no event stream (HTTP status 503)");
        row("too many", "HTTP/1.1 429 Busy" + empty, ConnectionState::Waiting,
            "the device has no event stream (HTTP status 429)");
        row("failing", "HTTP/1.1 500 Busy" + empty, ConnectionState::Waiting,
            "the device has no event stream (HTTP status 500)");
        row("the last refusal", "HTTP/1.1 499 No" + empty, ConnectionState::Refused,
            "the device has no event stream (HTTP status 499)");
        row("before too many", "HTTP/1.1 428 No" + empty, ConnectionState::Refused,
            "the device has no event stream (HTTP status 428)");
        row("no HTTP", "hello\r\n", ConnectionState::Waiting, "the device does not answer");
        row("ended for good", "HTTP/1.1 204 No Content\r\n\r\n", ConnectionState::Stopped,
            "the device ended its events (HTTP status 204)");
    }
    void theBoardSaysWhereEachStreamIs()
    {
        QFETCH(QByteArray, reply);
        QFETCH(int, state);
        QFETCH(QString, reason);
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw(reply);
        EventTimings timings = quickTimings();
        timings.firstDelay = timings.longestDelay = 1h;
        Listening listening(timings);
        QList<ConnectionState> told;
        listening.receive = [&told](const ProxyEvent& event) {
            if (event.kind == ProxyEvent::Kind::Connection) {
                told.append(event.connection->state);
            }
        };
        const QDateTime before = QDateTime::currentDateTimeUtc();
        QCOMPARE(listening.board.connection(wall).state, ConnectionState::Stopped);
        listening.open(wall, server.address());
        QTRY_COMPARE(told, (QList<ConnectionState>{ConnectionState::Connecting, ConnectionState(state)}));
        const DeviceConnection connection = listening.board.connection(wall);
        QCOMPARE(int(connection.state), state);
        QCOMPARE(connection.reason, reason);
        QVERIFY(connection.since >= before && connection.since <= QDateTime::currentDateTimeUtc());
        const bool triesAgain =
            connection.state == ConnectionState::Waiting || connection.state == ConnectionState::Refused;
        QCOMPARE(connection.nextAttempt.isValid(), triesAgain);
        if (triesAgain) {
            QVERIFY(connection.nextAttempt > before.addSecs(600));
        }
        listening.channels.close(wall, {});
        QTRY_COMPARE(told.last(), ConnectionState::Stopped);
        QTRY_VERIFY(listening.board.connections().isEmpty());
    }

    void aDeviceThatEndsItsEventsIsNotAskedAgain()
    {
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 204 No Content\r\n\r\n");
        MisbehavingServer other(Mode::Raw);
        EventTimings timings = quickTimings();
        timings.connect = 50ms;
        const LogCollector log;
        Listening listening(timings);
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(1));
        QVERIFY(waitFor(listening, timings.connect));
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5)); // time enough for the first one to come back
        QCOMPARE(server.deliveries(), 1);
        QVERIFY(log.lines().contains(QStringLiteral(
            "tessel.events.warning: wall: the device ended its events for good (HTTP status 204)")));
    }

    void theDeviceSaysHowLongToWait_data()
    {
        QTest::addColumn<QByteArray>("status");
        QTest::addColumn<QByteArray>("after");
        QTest::addColumn<bool>("waits");
        const QByteArray soon = QLocale::c()
                                    .toString(QDateTime::currentDateTimeUtc().addSecs(3600),
                                              QStringLiteral("ddd, dd MMM yyyy hh:mm:ss"))
                                    .toLatin1() +
                                " GMT";
        QTest::newRow("unavailable") << QByteArray("503") << QByteArray("3600") << true;
        QTest::newRow("too many") << QByteArray("429") << QByteArray("3600") << true;
        QTest::newRow("a date") << QByteArray("503") << soon << true;
        QTest::newRow("nothing") << QByteArray("503") << QByteArray("0") << false;
        QTest::newRow("a date that is past")
            << QByteArray("503") << QByteArray("Fri, 02 Jan 2015 10:00:00 GMT") << false;
        QTest::newRow("below zero") << QByteArray("503") << QByteArray("-3600") << false;
        QTest::newRow("neither") << QByteArray("503") << QByteArray("soon") << false;
        QTest::newRow("another status") << QByteArray("404") << QByteArray("3600") << false;
        QTest::newRow("the status before") << QByteArray("428") << QByteArray("3600") << false;
        QTest::newRow("the status behind") << QByteArray("504") << QByteArray("3600") << false;
        QTest::newRow("in the middle of a number") << QByteArray("503") << QByteArray("36 00") << false;
    }
    void theDeviceSaysHowLongToWait()
    {
        QFETCH(QByteArray, status);
        QFETCH(QByteArray, after);
        QFETCH(bool, waits);
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 " + status + " No\r\nRetry-After: " + after +
                      "\r\nContent-Length: 0\r\n\r\n");
        EventTimings timings = quickTimings();
        timings.firstDelay = timings.longestDelay = 10s;
        Listening listening(timings);
        listening.open(wall, server.address());
        QTRY_VERIFY(listening.board.connection(wall).nextAttempt.isValid());
        const qint64 seconds =
            QDateTime::currentDateTimeUtc().secsTo(listening.board.connection(wall).nextAttempt);
        QVERIFY2(waits ? seconds > 3000 : seconds <= 10, qPrintable(QString::number(seconds)));
    }

    void aDeviceMayAskForADayAtMost()
    {
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 503 No\r\nRetry-After: 90000\r\nContent-Length: 0\r\n\r\n");
        Listening listening;
        listening.open(wall, server.address());
        QTRY_VERIFY(listening.board.connection(wall).nextAttempt.isValid());
        const QDateTime day = QDateTime::currentDateTimeUtc().addDays(1);
        const qint64 before = listening.board.connection(wall).nextAttempt.secsTo(day);
        QVERIFY2(before >= 0 && before < 600, qPrintable(QString::number(before)));
    }

    void whatOneDeviceAskedForIsNotKeptForTheNextAttempt()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({"HTTP/1.1 503 No\r\nRetry-After: 1\r\nContent-Length: 0\r\n\r\n"});
        server.addScript({"HTTP/1.1 503 No\r\nContent-Length: 0\r\n\r\n"});
        server.addScript({head});
        Listening listening;
        QList<qint64> waits;
        listening.receive = [&waits](const ProxyEvent& event) {
            if (event.kind == ProxyEvent::Kind::Connection &&
                event.connection->state == ConnectionState::Waiting) {
                waits << event.connection->since.msecsTo(event.connection->nextAttempt);
            }
        };
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.board.connection(wall).state, ConnectionState::Live);
        QTRY_COMPARE(waits.size(), 2);
        QVERIFY2(waits[0] > 500, qPrintable(QString::number(waits[0])));
        QVERIFY2(waits[1] < 500, qPrintable(QString::number(waits[1])));
    }

    void aStreamMayAskForALongerDelay()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "retry: 3600000\n\ndata: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.longestDelay = 2h;
        Listening listening(timings);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        server.dropConnections();
        QTRY_COMPARE(listening.board.connection(wall).state, ConnectionState::Waiting);
        const QDateTime next = listening.board.connection(wall).nextAttempt;
        QVERIFY(next > QDateTime::currentDateTimeUtc().addSecs(1800));
    }

    void everyAttemptIsJudgedByItself()
    {
        const QString none = QStringLiteral("the device has no event stream (HTTP status %1)");
        const QString silent = QStringLiteral("the device does not answer");
        const QString large = QStringLiteral("an event is too large");
        MisbehavingServer server(Mode::Scripted);
        server.addScript({"HTTP/1.1 404 No\r\nContent-Length: 0\r\n\r\n"});
        server.addScript({"hello\r\n"});
        server.addScript({head, "data: " + QByteArray(2 << 20, 'x')});
        server.addScript({"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"});
        server.addScript({head});
        Listening listening;
        const auto told = statesTold(listening, wall);
        listening.open(wall, server.address());
        QTRY_COMPARE(told->size(), 11);
        QStringList wanted{QStringLiteral("connecting")};
        wanted << "refused " + none.arg(404) << "connecting " + none.arg(404);
        wanted << "waiting " + silent << "connecting " + silent << QStringLiteral("live");
        wanted << "waiting " + large << "connecting " + large;
        wanted << "refused " + none.arg(200) << "connecting " + none.arg(200) << QStringLiteral("live");
        QCOMPARE(*told, wanted);
    }

    void whatIsNoStreamIsCountedAnewEachTime()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({"HTTP/1.1 500 No\r\nContent-Length: 65536\r\n\r\n" + QByteArray(65536, 'x')});
        server.addScript({"HTTP/1.1 500 No\r\nContent-Length: 65536\r\n\r\n" + QByteArray(65535, 'x')});
        MisbehavingServer other(Mode::Raw);
        Listening listening;
        listening.open(wall, server.address());
        QVERIFY(server.waitForAnswers(2));
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5)); // time enough for the first one to give up
        QCOMPARE(server.deliveries(), 2);
    }

    void whatIsDroppedIsSaidOnEachConnection()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "data: a\n\ndata: b\n\ndata: 1\n\n"});
        server.addScript({head, "data: c\n\ndata: 2\n\n"});
        const LogCollector log;
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        server.dropConnections();
        QTRY_COMPARE(listening.events.size(), 2);
        QCOMPARE(log.lines().count(QStringLiteral(
                     "tessel.events.warning: wall: an event was dropped because it is not JSON in UTF-8; "
                     "further ones on this connection are not reported")),
                 2);
    }

    void anEventThatIsTooLargeWasMissed()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n", "id: e:2\ndata: " + QByteArray(2 << 20, 'x')});
        server.addScript({head, "id: e:2\n\n"});
        const LogCollector log;
        Listening listening;
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events, (QList<QByteArray>{"1", "\"x\""}));
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
        QCOMPARE(server.received().at(1).headers.value("last-event-id"), QByteArray("e:2"));
        QVERIFY(log.lines().contains(QStringLiteral(
            "tessel.events.info: wall: events may have been missed; every kind of change is reported")));
    }

    void whatIsMissedTwiceAtOnceIsReportedOnceAndLaterAgain()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\n\nid: e:5\n\nid: e:9\ndata: 1\n\n"});
        Listening listening;
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events, (QList<QByteArray>{"1", "\"x\""}));
        server.broadcast("id: e:10\ndata: 2\n\n");
        QTRY_COMPARE(listening.events.size(), 3);
        server.broadcast("id: e:20\ndata: 3\n\n");
        QTRY_COMPARE(listening.events, (QList<QByteArray>{"1", "\"x\"", "2", "3", "\"x\""}));
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 2);
    }

    void aDeviceWhoseIdsNeverFitIsNotReportedWithEachEvent_data()
    {
        QTest::addColumn<QByteArray>("id"); // %1 is the number of the event
        QTest::newRow("another epoch each time") << QByteArray("e%1:1");
        QTest::newRow("numbers that jump") << QByteArray("e:%10");
        QTest::newRow("numbers that go backwards") << QByteArray("e:-%1");
    }
    void aDeviceWhoseIdsNeverFitIsNotReportedWithEachEvent()
    {
        QFETCH(QByteArray, id);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: begin:1\ndata: 0\n\n"});
        EventTimings timings = quickTimings();
        timings.reportGap = 1ms;
        timings.reportAgain = timings.longestReportAgain = 1h;
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        for (int i = 1; i <= 20; ++i) {
            const QByteArray number = QByteArray::number(id.contains('-') ? 100 - i : i);
            server.broadcast("id: " + QByteArray(id).replace("-", "").replace("%1", number) +
                             "\ndata: " + QByteArray::number(i) + "\n\n");
            QTRY_VERIFY(listening.events.contains(QByteArray::number(i)));
            QVERIFY(waitFor(listening, 2 * timings.reportGap));
        }
        QTRY_COMPARE(listening.events.count("\"x\""), 1);
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
    }

    void whatIsMissedAgainAndAgainIsReportedLaterAndLater()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 0\n\n"});
        EventTimings timings = quickTimings();
        timings.reportAgain = 100ms;
        timings.longestReportAgain = 200ms;
        Listening listening(timings);
        QList<std::chrono::steady_clock::time_point> reports;
        listening.receive = [&reports](const ProxyEvent& event) {
            if (event.kind == ProxyEvent::Kind::EventsMissed) {
                reports.append(std::chrono::steady_clock::now());
            }
        };
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        for (int i = 1; i <= 4; ++i) { // each is reported in the end
            server.broadcast("id: e:" + QByteArray::number(10 * i) + "\n\n");
            QTRY_COMPARE(reports.size(), i);
        }
        // This thread may take up a report late, but the next one is not sent before its time.
        QVERIFY(reports[3] - reports[0] >= 400ms);
    }

    // A machine with much to do may be too late to close the stream in time, so there are several attempts.
    void aStreamThatIsClosedOwesItsProofNoLonger()
    {
        for (std::chrono::milliseconds proof = 200ms; proof < 20s; proof *= 2) {
            MisbehavingServer server(Mode::Scripted);
            server.addScript({head, "id: e:1\ndata: 1\n\n"});
            server.addScript({head});
            EventTimings timings = quickTimings();
            timings.proof = proof;
            timings.firstDelay = timings.longestDelay = 1ms;
            timings.connect = 1h;
            Listening listening(timings);
            const auto told = statesTold(listening, wall);
            listening.open(wall, server.address());
            QTRY_COMPARE(listening.events.size(), 1);
            server.dropConnections();
            QTRY_COMPARE(told->count(QStringLiteral("live")), 2);
            server.setMode(Mode::Stall); // the next one is not refused, which would take a report back
            server.dropConnections();
            QTRY_VERIFY(listening.board.connection(wall).state != ConnectionState::Live);
            QCoreApplication::processEvents();
            if (listening.count(ProxyEvent::Kind::EventsMissed) > 0) {
                continue;
            }
            QVERIFY(waitFor(listening, 2 * timings.proof));
            QCoreApplication::processEvents();
            QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 0);
            return;
        }
        QFAIL("the stream could not be closed in time");
    }

    void whatCouldNotBeReadIsReportedAgainLessAndLessOften()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\n\n"});
        EventTimings timings = quickTimings();
        timings.firstDelay = 40ms;
        timings.longestDelay = 200ms;
        timings.reportAgain = timings.longestReportAgain = 1ms; // whose delays would hide those
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.board.connection(wall).state, ConnectionState::Live);
        // Reads that fail together are repeated together; each report causes the next failure.
        const auto fail = [&] {
            listening.channels.readFailed(wall);
            listening.channels.readFailed(wall);
        };
        QElapsedTimer clock;
        QList<qint64> delays;
        listening.receive = [&](const ProxyEvent& event) {
            if (event.kind == ProxyEvent::Kind::Event) {
                delays << clock.restart();
                if (delays.size() < 5) {
                    fail();
                }
            }
        };
        clock.start();
        fail();
        QTRY_COMPARE(delays.size(), 5);
        for (int i = 0; i < 5; ++i) {
            QVERIFY2(delays[i] >= QList<qint64>({40, 80, 160, 200, 200})[i] - 1,
                     qPrintable(QString::number(i)));
        }
        QVERIFY(waitFor(listening, timings.longestDelay));
        QCoreApplication::processEvents();
        QCOMPARE(delays.size(), 5);
    }

    void whatCouldNotBeReadFromADeviceThatIsAwayIsReportedWhenItIsBack_data()
    {
        QTest::addColumn<bool>("before");
        QTest::newRow("it failed before the stream ended") << true;
        QTest::newRow("it failed when the stream had ended") << false;
    }
    void whatCouldNotBeReadFromADeviceThatIsAwayIsReportedWhenItIsBack()
    {
        QFETCH(bool, before);
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\ndata: 1\n\n"});
        server.addScript({head, "id: e:1\n\nid: e:2\ndata: 2\n\n"});
        EventTimings timings = quickTimings();
        timings.firstDelay = timings.longestDelay = 300ms;
        Listening listening(timings);
        listening.board.setChangeEvents({"\"x\""});
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events, (QList<QByteArray>{"1"}));
        if (before) {
            listening.channels.readFailed(wall);
        }
        server.dropConnections();
        QTRY_VERIFY(listening.board.connection(wall).state != ConnectionState::Live);
        if (!before) {
            listening.channels.readFailed(wall);
        }
        QTRY_VERIFY(listening.events.contains("\"x\""));
        QTRY_VERIFY(listening.events.contains("2"));
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
        QVERIFY(waitFor(listening, 2 * timings.firstDelay));
        QCoreApplication::processEvents();
        QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
    }

    void whatCouldNotBeReadFromADeviceWithoutAStreamIsNotReported()
    {
        Listening listening;
        listening.channels.readFailed(wall);
        QVERIFY(waitFor(listening, 50ms));
        QCoreApplication::processEvents();
        QVERIFY(listening.proxyEvents.isEmpty());
    }

    // A machine with much to do may be too late to close the stream before its turn, so there are several
    // attempts.
    void aReportThatIsDueWaitsForTheDevice()
    {
        for (std::chrono::milliseconds gap = 300ms; gap < 20s; gap *= 2) {
            MisbehavingServer first(Mode::Scripted);
            first.addScript({head, "id: e:1\n\nid: e:5\ndata: 1\n\n"});
            MisbehavingServer server(Mode::Scripted);
            server.addScript({head, "id: e:1\n\nid: e:5\ndata: 1\n\n"});
            EventTimings timings = quickTimings();
            timings.reportGap = gap;
            timings.firstDelay = timings.longestDelay = 1ms;
            Listening listening(timings);
            listening.board.setChangeEvents({"\"x\""});
            listening.open(QStringLiteral("first"), first.address());
            QTRY_COMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
            listening.open(wall, server.address());
            QTRY_COMPARE(listening.events.count("1"), 2);
            server.setMode(Mode::Raw);
            server.setRaw({});
            server.dropConnections();
            QTRY_VERIFY(listening.board.connection(wall).state != ConnectionState::Live);
            QCoreApplication::processEvents();
            if (listening.count(ProxyEvent::Kind::EventsMissed) == 2) {
                continue;
            }
            QVERIFY(waitFor(listening, timings.reportGap));
            QCoreApplication::processEvents();
            QCOMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
            server.addScript({head, "id: e:5\n\n"});
            server.addScript({head, "id: e:5\n\n"});
            server.setMode(Mode::Scripted);
            QTRY_COMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 2);
            QTRY_COMPARE(listening.events.count("\"x\""), 2);
            return;
        }
        QFAIL("the stream could not be closed before its turn");
    }

    void aReportThatIsOwedComesThoughTheStreamGoesOn()
    {
        MisbehavingServer first(Mode::Scripted);
        first.addScript({head, "id: e:1\n\nid: e:5\ndata: 1\n\n"});
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "id: e:1\n\nid: e:5\ndata: 1\n\n"});
        server.addScript({head, "id: e:5\n\nid: e:6\ndata: 2\n\n"});
        EventTimings timings = quickTimings();
        timings.reportGap = 300ms;
        timings.firstDelay = timings.longestDelay = 1ms;
        Listening listening(timings);
        listening.open(QStringLiteral("first"), first.address());
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 1);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.count("1"), 2);
        server.dropConnections();
        QTRY_COMPARE(listening.events.count("2"), 1);
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::EventsMissed), 2);
    }

    // A machine with much to do may be too late with what is to be heard, so there are several attempts.
    void aStreamThatIsHeardIsNotSilent()
    {
        bool lasted = false;
        for (std::chrono::milliseconds silence = 300ms; silence < 10s && !lasted; silence *= 2) {
            MisbehavingServer server(Mode::Scripted);
            server.addScript({head, "data: 1\n\n"});
            EventTimings timings = quickTimings();
            timings.silence = silence;
            Listening listening(timings);
            IoLoop::Clock::time_point ended;
            listening.receive = [&ended](const ProxyEvent& event) {
                if (event.kind == ProxyEvent::Kind::Connection &&
                    event.connection->state == ConnectionState::Waiting) {
                    ended = IoLoop::Clock::now();
                }
            };
            listening.open(wall, server.address());
            QTRY_COMPARE(listening.events.size(), 1);
            QVERIFY(waitFor(listening, silence / 2));
            const auto heard = IoLoop::Clock::now();
            server.broadcast(":\n");
            QTRY_VERIFY_WITH_TIMEOUT(ended != IoLoop::Clock::time_point(), 20000);
            lasted = ended - heard >= silence;
        }
        QVERIFY(lasted);
    }

    void aDeviceThatIsGoneSaysWhenItIsAskedAgain()
    {
        MisbehavingServer server(Mode::Raw);
        EventTimings timings = quickTimings();
        timings.firstDelay = timings.longestDelay = 1h;
        timings.goneAfter = 50ms;
        Listening listening(timings);
        listening.open(wall, server.address());
        const auto isGone = [&listening] {
            const DeviceConnection now = listening.board.connection(wall);
            return now.state == ConnectionState::Gone && now.nextAttempt.isValid();
        };
        QTRY_VERIFY(isGone());
        QCOMPARE(listening.board.connection(wall).reason, QStringLiteral("the device does not answer"));
        const QDateTime next = listening.board.connection(wall).nextAttempt;
        QVERIFY(next > QDateTime::currentDateTimeUtc().addSecs(1800));
        QVERIFY(next <= QDateTime::currentDateTimeUtc().addSecs(3600));
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
    }

    void aDeviceThatIsBeingAskedIsGoneWithoutANextTime()
    {
        MisbehavingServer server(Mode::Stall);
        EventTimings timings = quickTimings();
        timings.goneAfter = 50ms;
        Listening listening(timings);
        const auto told = statesTold(listening, wall);
        listening.open(wall, server.address());
        QTRY_COMPARE(*told, (QStringList{"connecting", "gone"}));
        QVERIFY(!listening.board.connection(wall).nextAttempt.isValid());
    }

    void aDeviceThatIsGoneRemainsSoUntilItIsBack()
    {
        MisbehavingServer server(Mode::Raw);
        EventTimings timings = quickTimings();
        timings.goneAfter = 1ms;
        Listening listening(timings);
        const auto told = statesTold(listening, wall);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
        told->clear();
        const int before = server.deliveries();
        QVERIFY(server.waitForDeliveries(before + 3));
        QTRY_VERIFY(told->size() >= 4);
        const QString gone = QStringLiteral("gone the device does not answer");
        QCOMPARE(told->count(gone), told->size());
        QCOMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
    }

    void aLoginIsAnsweredAnewOnEachStream_data()
    {
        QTest::addColumn<bool>("wasLive");
        QTest::newRow("after a stream that fell silent") << true;
        QTest::newRow("after one that was not HTTP") << false;
    }
    void aLoginIsAnsweredAnewOnEachStream()
    {
        QFETCH(bool, wasLive);
        const auto challenge = [](const char* nonce) {
            return QByteArray("HTTP/1.1 401 Who\r\nWWW-Authenticate: Basic realm=x\r\n"
                              "www-authenticate: Digest realm=r, qop=auth, nonce=") +
                   nonce + "\r\nContent-Length: 0\r\n\r\n";
        };
        MisbehavingServer server(Mode::Scripted);
        server.addScript({challenge("a")});
        server.addScript({wasLive ? head : QByteArray("hello\r\n")});
        server.addScript({challenge("b")});
        server.addScript({head, "data: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.silence = 200ms;
        Listening listening(timings);
        listening.open(wall, server.address(), digestLogin());
        QTRY_COMPARE(listening.events.size(), 1);
        QVERIFY(server.deliveries() >= 4);
        QVERIFY(server.received().at(3).headers.value("authorization").contains("nonce=\"b\""));
    }

    void aChallengeOfAnAttemptThatStalledIsForgotten()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({digestChallenge("a", 9)}); // whose body never comes
        server.addScript({digestChallenge("b")});
        server.addScript({head, "data: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.connect = 500ms;
        Listening listening(timings);
        listening.open(wall, server.address(), digestLogin());
        QTRY_COMPARE(listening.events.size(), 1);
        const QByteArray login = server.received().at(2).headers.value("authorization");
        QVERIFY2(login.contains("nonce=\"b\""), login.constData());
    }

    void aLoginIsAnsweredAnewAfterAnAttemptThatStalled()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({digestChallenge("a")});
        server.addScript({}); // the answer to it is never answered
        server.addScript({digestChallenge("b")});
        server.addScript({head, "data: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.connect = 500ms;
        Listening listening(timings);
        listening.open(wall, server.address(), digestLogin());
        QTRY_COMPARE(listening.events.size(), 1);
    }

    void aStreamWhoseTokenHasRunOutComesBackWithANewOne()
    {
        const QByteArray refusal = "HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n\r\n";
        MisbehavingServer server(Mode::Scripted);
        server.addScript({refusal});
        server.addScript({head, "data: {\"a\":1}\n\n"});
        DeviceEndpoint endpoint;
        endpoint.login = DeviceEndpoint::Login::Bearer;
        endpoint.secret = QStringLiteral("old");
        const auto calls = std::make_shared<std::atomic<int>>(0);
        endpoint.renewSecret = [calls](const QString& deviceKey) {
            ++*calls;
            return deviceKey + QStringLiteral("-new");
        };
        Listening listening;
        listening.open(wall, server.address(), endpoint);
        QTRY_COMPARE(listening.events.size(), 1);
        QCOMPARE(calls->load(), 1);
        const auto received = server.received();
        QCOMPARE(received.size(), std::size_t(2));
        QCOMPARE(received[0].headers.value("authorization"), QByteArray("Bearer old"));
        QCOMPARE(received[1].headers.value("authorization"), QByteArray("Bearer wall-new"));
    }

    void aStreamWhoseTokenIsNotRenewedIsRefused_data()
    {
        QTest::addColumn<QString>("given");
        QTest::addColumn<int>("attempts");
        QTest::newRow("nothing") << QString() << 1;
        QTest::newRow("the same") << "old" << 1;
        QTest::newRow("another that is refused") << "wrong" << 2;
    }
    void aStreamWhoseTokenIsNotRenewedIsRefused()
    {
        QFETCH(QString, given);
        QFETCH(int, attempts);
        MisbehavingServer server(Mode::Token);
        DeviceEndpoint endpoint;
        endpoint.login = DeviceEndpoint::Login::Bearer;
        endpoint.secret = QStringLiteral("old");
        const auto calls = std::make_shared<std::atomic<int>>(0);
        endpoint.renewSecret = [calls, given](const QString&) {
            ++*calls;
            return given;
        };
        LogCollector log;
        Listening listening;
        listening.open(wall, server.address(), endpoint);
        QTRY_VERIFY(!log.lines().filter(QStringLiteral("the login was not renewed")).isEmpty());
        QTRY_COMPARE(listening.board.connection(wall).state, ConnectionState::Refused);
        QCOMPARE(server.deliveries(), attempts);
        QCOMPARE(calls->load(), 1);
    }

    void whatIsNoJsonInUtf8IsDroppedAndSaidOnce()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "data: a\n\ndata: {\"x\":\"\xff\"}\n\ndata: {}\n\ndata: \n\ndata: [1]\n\n"});
        LogCollector log;
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events, (QList<QByteArray>{"{}", "[1]"}));
        const QStringList warnings = log.lines().filter(QStringLiteral(".warning: "));
        const QString told = QStringLiteral(
            "tessel.events.warning: wall: an event was dropped because it is not JSON in UTF-8; further ones "
            "on this connection are not reported");
        QCOMPARE(warnings, QStringList{told});
        // The next connection tells it again.
        server.addScript({head, "data: a\n\ndata: [2]\n\n"});
        server.dropConnections();
        QTRY_COMPARE(listening.events.last(), QByteArray("[2]"));
        QCOMPARE(log.lines().count(told), 2);
    }

    void whatIsNoStreamIsTriedAgain_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::newRow("closes") << QByteArray();
        QTest::newRow("not found") << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 0\r\n\r\n");
        QTest::newRow("another type") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}");
        QTest::newRow("no HTTP") << QByteArray("hello\r\n");
        QTest::newRow("cut head") << QByteArray("HTTP/1.1 200 OK\r\nContent-Type: text/event-stream\r\n");
        QTest::newRow("huge head") << QByteArray("HTTP/1.1 200 OK\r\n" + QByteArray(70000, 'x') +
                                                 ": 1\r\n\r\n");
        QTest::newRow("huge body") << QByteArray("HTTP/1.1 500 Oops\r\n\r\n" + QByteArray(1 << 20, 'x'));
        QTest::newRow("huge event") << QByteArray(head + "data: " + QByteArray(2 << 20, 'x') + "\n\n");
    }
    void whatIsNoStreamIsTriedAgain()
    {
        QFETCH(QByteArray, reply);
        MisbehavingServer server(Mode::Raw);
        server.setRaw(reply);
        Listening listening;
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(3));
        server.setMode(Mode::Scripted);
        server.addScript({head, "data: 1\n\n"});
        server.addScript({head, "data: 1\n\n"});
        QTRY_COMPARE(listening.events.value(0), QByteArray("1"));
    }

    void everyFailureIsToldOnce_data()
    {
        QTest::addColumn<QByteArray>("reply");
        QTest::addColumn<bool>("staysOpen");
        QTest::addColumn<QString>("failure");
        const auto row = [](const char* name, const QByteArray& reply, bool staysOpen, const char* failure) {
            QTest::newRow(name) << reply << staysOpen << QString::fromLatin1(failure);
        };
        const QByteArray empty = "\r\nContent-Length: 0\r\n\r\n";
        row("closes", {}, false, "the device does not answer");
        row("no HTTP", "hello\r\n", true, "the device does not answer");
        row("not found", "HTTP/1.1 404 No" + empty, true, "the device has no event stream");
        row("payment", "HTTP/1.1 402 No" + empty, true, "the device has no event stream");
        row("another type", "HTTP/1.1 200 OK\r\nContent-Type: text/plain" + empty, true,
            "the device has no event stream");
        row("another status", "HTTP/1.1 201 OK\r\nContent-Type: text/event-stream" + empty, true,
            "the device has no event stream");
        row("not logged in", "HTTP/1.1 401 No" + empty, true, "the device refused the login");
        row("forbidden", "HTTP/1.1 403 No" + empty, true, "the device refused the login");
        row("ends", head + "data: 1\n\n", false, "the stream ended");
        row("falls silent", "HTTP/1.1 200 OK\r\ncontent-TYPE: Text/Event-Stream ; a=b\r\n\r\n", true,
            "the stream timed out");
        row("huge event", head + "data: " + QByteArray(2 << 20, 'x') + "\n\n", true, "an event is too large");
    }
    void everyFailureIsToldOnce()
    {
        QFETCH(QByteArray, reply);
        QFETCH(bool, staysOpen);
        QFETCH(QString, failure);
        MisbehavingServer server(staysOpen ? Mode::RawKeepAlive : Mode::Raw);
        server.setRaw(reply);
        EventTimings timings = quickTimings();
        timings.silence = 100ms;
        timings.loginDelay = 20ms;
        LogCollector log;
        {
            Listening listening(timings);
            listening.open(wall, server.address());
            QVERIFY(server.waitForDeliveries(3));
        }
        QStringList warnings;
        int attempts = 0;
        for (const QString& line : log.lines()) {
            if (line.contains(QLatin1String(".warning: "))) {
                warnings += line;
            } else if (line.startsWith(QLatin1String("tessel.events.debug: wall: "))) {
                QVERIFY2(line.contains(failure), qPrintable(line));
                ++attempts;
            }
        }
        QCOMPARE(warnings, QStringList(QStringLiteral("tessel.events.warning: wall: ") + failure));
        QVERIFY(attempts >= 2);
    }

    void aStreamThatCannotBeOpenedAgainDidNotEndAgain()
    {
        LogCollector log;
        std::optional<MisbehavingServer> server(std::in_place, Mode::Scripted);
        server->addScript({head, "data: 1\n\n"});
        Listening listening;
        listening.open(wall, server->address());
        QTRY_COMPARE(listening.events.size(), 1);
        QVERIFY(log.lines().contains(QStringLiteral("tessel.events.info: wall: streaming")));
        server.reset();
        const auto has = [&log](const char* text) {
            return log.lines().join(QLatin1Char('\n')).contains(QLatin1String(text));
        };
        QTRY_VERIFY(has("wall: the device does not answer, next attempt in "));
        QVERIFY(has("wall: the stream ended, next attempt in "));
    }

    void soMuchIsReadOfWhatIsNoStream_data()
    {
        QTest::addColumn<int>("bytes");
        QTest::addColumn<bool>("givesUp");
        QTest::newRow("as much as is taken") << 65536 << false;
        QTest::newRow("a byte more") << 65537 << true;
    }
    void soMuchIsReadOfWhatIsNoStream()
    {
        QFETCH(int, bytes);
        QFETCH(bool, givesUp);
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 500 No\r\nContent-Length: 70000\r\n\r\n" + QByteArray(bytes, 'x'));
        MisbehavingServer other(Mode::Raw);
        Listening listening;
        listening.open(wall, server.address());
        QVERIFY(server.waitForAnswers(1));
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5)); // time enough for the first one to come back
        if (givesUp) {
            QVERIFY(server.waitForDeliveries(2));
        } else {
            QCOMPARE(server.deliveries(), 1);
        }
    }

    void whatWasReadOfTheLastReplyDoesNotCount()
    {
        const QByteArray body(40000, 'x');
        MisbehavingServer server(Mode::Scripted);
        server.addScript({"HTTP/1.1 500 No\r\nContent-Length: 40000\r\n\r\n" + body});
        server.addScript({"HTTP/1.1 500 No\r\nContent-Length: 70000\r\n\r\n" + body});
        MisbehavingServer other(Mode::Raw);
        Listening listening;
        listening.open(wall, server.address());
        QVERIFY(server.waitForAnswers(2));
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5)); // time enough for the first one to come back
        QCOMPARE(server.deliveries(), 2);
    }

    void aRequestThatIsNotReadStaysUnderWay()
    {
        MisbehavingServer silent(Mode::Silent);
        MisbehavingServer other(Mode::Raw);
        Listening listening;
        DeviceEndpoint endpoint;
        endpoint.login = DeviceEndpoint::Login::Bearer;
        endpoint.secret = QString(16 << 20, QLatin1Char('x')); // more than the system takes at once
        listening.open(wall, silent.address(), endpoint);
        QTRY_COMPARE(silent.connections(), 1);
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5)); // time enough for the first one to come back
        QCOMPARE(silent.connections(), 1);
        QCOMPARE(listening.board.connection(wall).state, ConnectionState::Connecting);
        const pid_t thread = threadOf(*listening.loop);
        listening.channels.close(QStringLiteral("other"), {});
        QTRY_VERIFY(sleeps(thread));
    }

    void anOpenStreamThatIsIdleCostsNothing()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "data: 1\n\n"});
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        const pid_t thread = threadOf(*listening.loop); // wakes it, so once
        QTRY_VERIFY(sleeps(thread));
    }

    void aStreamAsksTheSystemWhetherItsPeerIsThere()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "data: 1\n\n"});
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        QCOMPARE(server.received().at(0).method, QByteArray("GET"));
        QCOMPARE(server.received().at(0).headers.value("cache-control"), QByteArray("no-store"));
        int found = 0;
        const QDir descriptors(QStringLiteral("/proc/self/fd"));
        for (const QString& name : descriptors.entryList(QDir::Files | QDir::System)) {
            sockaddr_in peer{};
            socklen_t size = sizeof peer;
            if (::getpeername(name.toInt(), reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
                peer.sin_family == AF_INET && ntohs(peer.sin_port) == server.port()) {
                int on = 0;
                size = sizeof on;
                QCOMPARE(::getsockopt(name.toInt(), SOL_SOCKET, SO_KEEPALIVE, &on, &size), 0);
                QCOMPARE(on, 1);
                ++found;
            }
        }
        QCOMPARE(found, 1);
    }

    void aRefusedLoginIsNotRepeatedSoon()
    {
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 401 Unauthorized\r\nContent-Length: 0\r\n\r\n");
        MisbehavingServer other(Mode::Raw);
        Listening listening;
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(1));
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5)); // time enough for the first one to come back
        QCOMPARE(server.deliveries(), 1);
    }

    void aDigestLoginOpensTheStream()
    {
        MisbehavingServer server(Mode::Digest, "{}");
        Listening listening;
        listening.open(wall, server.address(), digestLogin());
        QVERIFY(server.waitForDeliveries(2));
        QVERIFY(server.received().at(1).headers.value("authorization").startsWith("Digest "));
    }

    void aSilentStreamIsReplaced()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head});
        server.addScript({head, "data: 1\n\n"});
        EventTimings timings = quickTimings();
        timings.silence = 100ms;
        Listening listening(timings);
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
    }

    void aDeviceThatStaysAwayIsLoggedOutOnce()
    {
        const LogCollector log;
        const ClosedPort closed;
        EventTimings timings = quickTimings();
        timings.goneAfter = 100ms;
        Listening listening(timings);
        MisbehavingServer other(Mode::Raw);
        listening.open(wall, closed.address());
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
        listening.open(QStringLiteral("other"), other.address());
        QVERIFY(other.waitForDeliveries(5));
        QCoreApplication::processEvents();
        QCOMPARE(std::count_if(listening.proxyEvents.cbegin(), listening.proxyEvents.cend(),
                               [](const ProxyEvent& event) {
                                   return event.deviceKey == wall && event.kind == ProxyEvent::Kind::Logout;
                               }),
                 1);
        QCOMPARE(log.lines().count(QStringLiteral("tessel.events.info: wall: gone")), 1);
    }

    void aFullQueuePausesTheStreamAndLosesNothing()
    {
        constexpr int count = 200000;
        QByteArray text;
        for (int i = 0; i < count; ++i) {
            text += "data: " + QByteArray::number(i) + "\n\n";
        }
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, text});
        Listening listening;
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(1));
        // Nothing is delivered while the loop turns: the stream must stop, not the queue grow.
        for (int i = 0; i < 200; ++i) {
            listening.loop->run([] {});
        }
        const pid_t thread = threadOf(*listening.loop);
        const auto staysAsleep = [thread] {
            bool asleep = true;
            for (int i = 0; i < 50 && asleep; ++i) {
                asleep = sleeps(thread);
            }
            return asleep;
        };
        const QDeadlineTimer deadline(10000); // without the event loop, which would deliver
        while (!staysAsleep() && !deadline.hasExpired()) {
            std::this_thread::yield();
        }
        QVERIFY(staysAsleep());
        QCoreApplication::processEvents();
        QVERIFY2(listening.events.size() < 8192, qPrintable(QString::number(listening.events.size())));
        QTRY_COMPARE_WITH_TIMEOUT(listening.events.size(), count, 60000);
        for (int i = 0; i < count; ++i) {
            QCOMPARE(listening.events[i].toInt(), i);
        }
        QVERIFY2(listening.wakeUps < count / 10, qPrintable(QString::number(listening.wakeUps)));
    }

    void aStreamThatFallsSilentAfterAPauseIsOpenedAnew()
    {
        constexpr int count = 20000;
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, QByteArray("data: 1\n\n").repeated(count)});
        server.addScript({head});
        EventTimings timings = quickTimings();
        timings.silence = 300ms;
        Listening listening(timings);
        const auto told = statesTold(listening, wall);
        listening.open(wall, server.address());
        QVERIFY(server.waitForDeliveries(1));
        // Without the event loop, which would deliver: the pause lasts longer than a stream may be silent.
        std::this_thread::sleep_for(2 * timings.silence);
        QTRY_COMPARE(listening.events.size(), count);
        QTRY_VERIFY(told->count(QStringLiteral("live")) >= 2);
    }

    void orderHoldsWhenAReceiverRunsAnEventLoop()
    {
        QByteArray text;
        for (int i = 0; i < 2000; ++i) {
            text += "data: " + QByteArray::number(i) + "\n\n";
        }
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, text});
        Listening listening;
        int depth = 0;
        listening.receive = [&](const ProxyEvent&) {
            if (depth < 3) {
                ++depth;
                QCoreApplication::processEvents();
                --depth;
            }
        };
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 2000);
        for (int i = 0; i < 2000; ++i) {
            QCOMPARE(listening.events[i].toInt(), i);
        }
    }

    void noEventFollowsTheDevicesRemoval()
    {
        MisbehavingServer server(Mode::Scripted);
        server.addScript({head, "data: 1\n\n"});
        Listening listening;
        listening.open(wall, server.address());
        QTRY_COMPARE(listening.events.size(), 1);
        listening.channels.close(wall, {{ProxyEvent::Kind::Logout, wall, {}, nullptr}});
        QTRY_COMPARE(listening.count(ProxyEvent::Kind::Logout), 1);
        server.broadcast("data: 2\n\n");
        QTRY_COMPARE(server.open(), 0);
        QCoreApplication::processEvents();
        QCOMPARE(listening.events.size(), 1);
        QCOMPARE(listening.proxyEvents.last().kind, ProxyEvent::Kind::Logout);
    }

    void manyDevicesStreamAtOnce()
    {
        constexpr int count = 100;
        MisbehavingServer server(Mode::Scripted);
        for (int i = 0; i < count; ++i) {
            server.addScript({head});
        }
        Listening listening;
        for (int i = 0; i < count; ++i) {
            listening.open(QString::number(i), server.address());
        }
        QVERIFY(server.waitForAnswers(count));
        server.broadcast("data: 1\n\n");
        QTRY_COMPARE(listening.events.size(), count);
    }
};

QTEST_GUILESS_MAIN(TestEvents)
#include "tst_events.moc"
