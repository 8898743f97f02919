// SPDX-License-Identifier: MIT
//
// What the simulated controller sends against the description of the device API.
#include "../simulator/httpclient.h"
#include "apidocument.h"

#include <simulator/simulator.h>
#include <tessel/protocols.h>
#include <tessel/pushevents.h>

#include <QtTest>

#include <map>
#include <memory>

using namespace Tessel::Simulator;

Q_DECLARE_METATYPE(Tessel::Protocol)

namespace {

Json jsonOf(const QByteArray& text)
{
    return Json::parse(text.toStdString(), nullptr, false);
}

bool isServed(const ApiOperation& one, Protocol protocol)
{
    const Json protocols = one.pathItem.value("x-tessel-protocols", Json::array());
    return std::find(protocols.begin(), protocols.end(), Tessel::protocolName(protocol)) != protocols.end();
}

bool isJson(const Json& response)
{
    return response.value("content", Json::object()).contains("application/json");
}

/// What is wrong with a JSON reply to @p one, envelope and all.
QByteArray errorInReply(const ApiOperation& one, const QByteArray& status, const HttpReply& reply)
{
    const Json response = resolved(one.operation.at("responses").at(status.toStdString()));
    const Json value = jsonOf(reply.body);
    return value.is_discarded() ? QByteArray("not JSON: ") + reply.body.left(200)
                                : errorIn(response.at("content").at("application/json").at("schema"), value);
}

/// The body of a request as its description exemplifies it; an empty object where it does not.
QByteArray sampleBody(const ApiOperation& one)
{
    const Json content = one.operation.value("requestBody", Json::object()).value("content", Json::object());
    if (!content.contains("application/json")) {
        return {};
    }
    return QByteArray::fromStdString(content.at("application/json").value("example", Json::object()).dump());
}

} // namespace

class TestApiReplies : public QObject
{
    Q_OBJECT

private:
    static void addProtocols()
    {
        QTest::addColumn<Tessel::Protocol>("protocol");
        QTest::addColumn<int>("cabinets");
        for (const auto& row : Tessel::protocols) {
            QTest::addRow("%s", row.name) << row.protocol << -1;
            QTest::addRow("%s, no cabinets", row.name) << row.protocol << 0;
        }
    }
    static Options options(Protocol protocol, int cabinets)
    {
        Options options;
        options.protocol = protocol;
        options.cabinets = cabinets;
        options.receivingCards = 2;
        return options;
    }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(apiDocument().is_object(), "api/openapi.json is not JSON"); }

    void everyReadIsAsDescribed_data() { addProtocols(); }
    void everyReadIsAsDescribed()
    {
        QFETCH(Tessel::Protocol, protocol);
        QFETCH(int, cabinets);
        Simulator simulator(options(protocol, cabinets));
        QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
        HttpClient client(simulator.port());
        QByteArray errors;
        int replies = 0;
        for (const auto& one : apiOperations()) {
            if (one.verb != "GET" || one.path == "/api/v1/events") {
                continue;
            }
            const HttpReply reply = client.get(samplePath(one.path));
            const bool isThere =
                isServed(one, protocol) && (cabinets != 0 || one.path.find("/cabinet") == std::string::npos ||
                                            one.path.find('{') == std::string::npos);
            // The one file comes without an envelope, and without cabinets, too.
            if (!isJson(resolved(one.operation.at("responses").at("200")))) {
                errors += reply.status == 200 ? "" : "no file\n";
                continue;
            }
            const QByteArray error = isThere == (reply.status == 200)
                                         ? errorInReply(one, isThere ? "200" : "default", reply)
                                         : "status " + QByteArray::number(reply.status);
            ++replies;
            if (!error.isEmpty()) {
                errors += QByteArray::fromStdString(one.path) + ": " + error + '\n';
            }
        }
        QVERIFY2(errors.isEmpty(), errors.constData());
        QCOMPARE(replies, 412);
    }

    void everyWriteIsTakenAndAnsweredAsDescribed_data()
    {
        QTest::addColumn<Tessel::Protocol>("protocol");
        for (const auto& row : Tessel::protocols) {
            QTest::newRow(row.name) << row.protocol;
        }
    }
    void everyWriteIsTakenAndAnsweredAsDescribed()
    {
        QFETCH(Tessel::Protocol, protocol);
        Simulator simulator(options(protocol, -1));
        QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
        HttpClient client(simulator.port());
        QByteArray errors;
        int replies = 0;
        for (const auto& one : apiOperations()) {
            if (one.verb == "GET") {
                continue;
            }
            const HttpReply reply = client.request(QByteArray::fromStdString(one.verb), samplePath(one.path),
                                                   sampleBody(one), "Content-Type: application/json\r\n");
            const bool isThere = isServed(one, protocol);
            const QByteArray error = isThere == (reply.status == 200)
                                         ? errorInReply(one, isThere ? "200" : "default", reply)
                                         : "status " + QByteArray::number(reply.status) + ' ' + reply.body;
            ++replies;
            if (!error.isEmpty()) {
                errors += QByteArray::fromStdString(one.verb + ' ' + one.path) + ": " + error + '\n';
            }
        }
        QVERIFY2(errors.isEmpty(), errors.constData());
        QVERIFY(replies > 380);
    }

    // What a client writes as described comes back as described.
    void whatIsWrittenAsDescribedIsReadAsDescribed()
    {
        Simulator simulator(options(Protocol::MultiScreen, 12));
        QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
        HttpClient client(simulator.port());
        std::map<std::string, ApiOperation> reads;
        for (const auto& one : apiOperations()) {
            if (one.verb == "GET") {
                reads.emplace(one.path, one);
            }
        }
        QByteArray errors;
        int pairs = 0;
        for (const auto& one : apiOperations()) {
            const QByteArray body = sampleBody(one);
            if (one.verb != "PUT" || body.isEmpty() || body == "{}" || reads.count(one.path) == 0) {
                continue;
            }
            QCOMPARE(client.put(samplePath(one.path), body).status, 200);
            const QByteArray error = errorInReply(one, "default", client.get(samplePath(one.path)));
            const QByteArray readError =
                errorInReply(reads.at(one.path), "200", client.get(samplePath(one.path)));
            ++pairs;
            if (!error.isEmpty() || !readError.isEmpty()) {
                errors += QByteArray::fromStdString(one.path) + ": " + error + readError + '\n';
            }
        }
        QVERIFY2(errors.isEmpty(), errors.constData());
        QVERIFY(pairs > 150);
    }

    void everyPushedEventIsAsDescribed_data()
    {
        using Tessel::PushEvent;
        QTest::addColumn<QByteArray>("schema");
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("warning");
        const std::map<PushEvent, std::vector<QByteArray>> writes{
            {PushEvent::HwInfo, {"EventHwInfo", "/device/hw/mapping", R"({"enable":true})"}},
            {PushEvent::CustomName, {"EventCustomName", "/device/hw/customname", R"({"name":"B"})"}},
            {PushEvent::Screens, {"EventScreens", "/device/screen/1/brightness", R"({"brightness":1})"}},
            {PushEvent::ScreenTags, {"EventScreenTags", "/device/screen/enable", R"({"tags":[]})"}},
            {PushEvent::ScreenName,
             {"EventScreenName", "/device/screen/name", R"({"screenID":"1","name":"N"})"}},
            {PushEvent::Inputs, {"EventInputs", "/device/input/3/hue", R"({"hue":5})"}},
            {PushEvent::Outputs, {"EventOutputs", "/device/output/2/enable", R"({"enable":false})"}},
            {PushEvent::Pipelines, {"EventPipelines", "/device/pipeline/1/inputid", R"({"inputId":2})"}},
            {PushEvent::Cabinets,
             {"EventCabinets", "/device/cabinet/weight", R"({"ids":["1","2"],"weight":1})"}},
            {PushEvent::CabinetFlags,
             {"EventCabinetFlags", "/device/cabinet/flags", R"([{"id":"9","module":1}])"}},
            {PushEvent::FanSpeed, {"EventFanSpeed"}},
            {PushEvent::Voltage, {"EventVoltage"}},
            {PushEvent::Temperature, {"EventTemperature"}},
            {PushEvent::OutputState, {"EventOutputState"}},
            {PushEvent::CabinetWarning, {"EventCabinetWarning"}},
        };
        for (const auto& row : Tessel::eventRows) {
            const auto& write = writes.at(row.event);
            const bool isWarning = write.size() == 1;
            QTest::newRow(write[0].constData())
                << write[0] << (isWarning ? QByteArray() : "/api/v1" + write[1])
                << (isWarning ? QByteArray() : write[2])
                << (isWarning ? QByteArray(row.text.kind.text) : QByteArray());
        }
    }
    void everyPushedEventIsAsDescribed()
    {
        QFETCH(QByteArray, schema);
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, warning);
        Simulator simulator;
        QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
        EventReader reader(simulator.port());
        QVERIFY(simulator.waitForEventStreams(1));
        QByteArrayList described;
        if (warning.isEmpty()) {
            QCOMPARE(HttpClient(simulator.port()).put(path, body).status, 200);
            for (const auto& one : apiOperations()) {
                const std::string pattern = QByteArray(samplePath(one.path)).toStdString();
                const bool same =
                    one.verb == "PUT" && (pattern == path.toStdString() ||
                                          QByteArray::fromStdString(pattern).replace("/1/", "/2/") == path ||
                                          QByteArray::fromStdString(pattern).replace("/1/", "/3/") == path);
                if (same) {
                    for (const auto& name : one.operation.at("x-tessel-events")) {
                        described << QByteArray::fromStdString(name);
                    }
                }
            }
            QVERIFY2(described.contains(schema), "the write does not say that it causes this event");
        } else {
            QVERIFY(simulator.pushWarning(warning) > 0);
            described << schema;
        }
        const Json& schemas = apiDocument().at("components").at("schemas");
        for (const QByteArray& name : described) {
            const Json event = jsonOf(reader.next().data);
            const QByteArray error = errorIn(schemas.at(name.toStdString()), event);
            QVERIFY2(error.isEmpty(), error.constData());
            const QByteArray errorInAny = errorIn(schemas.at("Event"), event);
            QVERIFY2(errorInAny.isEmpty(), errorInAny.constData());
        }
    }

    void theSimulatorServesTheDocument()
    {
        Simulator simulator;
        QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
        HttpClient client(simulator.port());
        const HttpReply reply = client.get("/openapi.json");
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.headers.value("content-type"), QByteArray("application/json"));
        QVERIFY(jsonOf(reply.body) == apiDocument());
        const HttpReply refused = client.put("/openapi.json", "{}");
        QCOMPARE(refused.status, 405);
        QCOMPARE(refused.headers.value("allow"), QByteArray("GET, HEAD, OPTIONS"));
    }

    // A checker that takes everything would let all of the above pass.
    void whatIsNotAsDescribedIsNoticed_data()
    {
        QTest::addColumn<QByteArray>("schema");
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<bool>("valid");
        const auto row = [](const char* name, const char* schema, const char* value, bool valid) {
            QTest::newRow(name) << QByteArray(schema) << QByteArray(value) << valid;
        };
        row("as it is", "Cabinet", R"({"id":"1","weight":7500})", true);
        row("another type", "Cabinet", R"({"id":"1","weight":"7500"})", false);
        row("a missing member", "Cabinet", R"({"weight":7500})", false);
        row("a member that is not described", "Cabinet", R"({"id":"1","wait":7500})", false);
        row("deeper", "Cabinets", R"([{"id":"1","position":{"x":1,"z":2}}])", false);
        row("beyond the range", "Update", R"({"progress":101})", false);
        row("anything where nothing is specified", "NotSpecifiedObject", R"({"x":1})", true);
        row("a list where an object is", "NotSpecifiedObject", R"([1])", false);
        row("an event", "Event", R"({"dataType":"change","changeTag":"hwInfo"})", true);
        row("an event of another kind", "Event", R"({"dataType":"change","changeTag":"hwinfo"})", false);
    }
    void whatIsNotAsDescribedIsNoticed()
    {
        QFETCH(QByteArray, schema);
        QFETCH(QByteArray, value);
        QFETCH(bool, valid);
        const Json& schemas = apiDocument().at("components").at("schemas");
        QCOMPARE(errorIn(schemas.at(schema.toStdString()), jsonOf(value)).isEmpty(), valid);
    }
};

QTEST_GUILESS_MAIN(TestApiReplies)
#include "tst_apireplies.moc"
