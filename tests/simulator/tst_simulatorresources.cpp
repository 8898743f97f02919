// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>

#include <QJsonDocument>
#include <QtTest>

using namespace Tessel::Simulator;

namespace {

QJsonValue parsed(const QByteArray& json)
{
    return QJsonDocument::fromJson("[" + json + "]").array().first();
}

// Whether everything in expected is also in actual.
bool holds(const QJsonValue& actual, const QJsonValue& expected)
{
    if (!expected.isObject()) {
        return actual == expected;
    }
    const QJsonObject members = expected.toObject();
    for (auto it = members.begin(); it != members.end(); ++it) {
        if (!holds(actual.toObject().value(it.key()), it.value())) {
            return false;
        }
    }
    return true;
}

Options optionsOf(Protocol protocol)
{
    Options options;
    options.protocol = protocol;
    return options;
}

} // namespace

class TestSimulatorResources : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    HttpReply get(const QByteArray& path) const
    {
        return HttpClient(m_simulator->port()).get("/api/v1" + path);
    }
    HttpReply put(const QByteArray& path, const QByteArray& body) const
    {
        return HttpClient(m_simulator->port()).put("/api/v1" + path, body);
    }

private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>();
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    void theDeviceTellsWhoItIs()
    {
        const QJsonObject device = get("/device/hw").object();
        for (const char* member : {"name", "customName", "mac", "ip"}) {
            QVERIFY2(!device.value(QLatin1String(member)).toString().isEmpty(), member);
        }
        QVERIFY(device.value(QStringLiteral("capability"))
                    .toObject()
                    .value(QStringLiteral("deviceType"))
                    .isDouble());
    }

    void theKindsDifferInSizeAndVersion()
    {
        Simulator old(optionsOf(Protocol::SingleScreen));
        QVERIFY(old.start());
        HttpClient client(old.port());
        const auto capability = [](const HttpReply& reply) {
            return reply.object().value(QStringLiteral("CapabilityVersion")).toString();
        };
        QCOMPARE(capability(HttpClient(m_simulator->port()).get("/api/capability/version")),
                 QStringLiteral("V3.0"));
        QCOMPARE(capability(client.get("/api/capability/version")), QStringLiteral("V2.0"));
        QCOMPARE(get("/device/cabinet").list().size(), 240);
        QCOMPARE(client.get("/api/v1/device/cabinet").list().size(), 16);
        QCOMPARE(get("/screen").object().value(QStringLiteral("screens")).toArray().size(), 2);
        QCOMPARE(client.get("/api/v1/device/screen").object().value(QStringLiteral("screenID")).toString(),
                 QStringLiteral("1"));
    }

    void countsFollowTheOptions()
    {
        Options options;
        options.screens = 3;
        options.cabinets = 50;
        options.receivingCards = 2;
        Simulator simulator(options);
        QVERIFY(simulator.start());
        HttpClient client(simulator.port());
        QCOMPARE(client.get("/api/v1/device/cabinet").list().size(), 50);
        QCOMPARE(client.get("/api/v1/device/cabinet/rxs").list().size(), 100);
        QCOMPARE(client.get("/api/v1/device/cabinet/rx").list().size(), 100);
        QCOMPARE(client.get("/api/v1/device/cabinet/7/rxs").list().size(), 2);
        QCOMPARE(client.get("/api/v1/screen").object().value(QStringLiteral("screens")).toArray().size(), 3);
        QCOMPARE(simulator.screenIds(),
                 QStringList({QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")}));
        QCOMPARE(simulator.cabinetIds().size(), 50);
    }

    void aControllerWithoutCabinetsWorks()
    {
        Options options;
        options.cabinets = 0;
        Simulator simulator(options);
        QVERIFY(simulator.start());
        HttpClient client(simulator.port());
        QCOMPARE(client.get("/api/v1/device/cabinet").body,
                 QByteArray(R"({"code":0,"message":"success","data":[]})"));
        QCOMPARE(client.get("/api/v1/device/cabinet/shortname").list().size(), 0);
        QCOMPARE(client.get("/api/v1/screen").status, 200);
        QCOMPARE(client.put("/api/v1/device/cabinet/brightness", "{\"brightness\":1}").status, 200);
    }

    void everyCabinetHangsOnOneScreenAndOneOutput()
    {
        QSet<QString> onScreens;
        const QJsonArray screens = get("/screen").object().value(QStringLiteral("screens")).toArray();
        for (const auto& screen : screens) {
            for (const auto& part : screen.toObject().value(QStringLiteral("subScreens")).toArray()) {
                for (const char* member : {"subScreenID", "inputID", "postion", "size", "cabinets"}) {
                    QVERIFY2(part.toObject().contains(QLatin1String(member)), member);
                }
                for (const auto& cabinet : part.toObject().value(QStringLiteral("cabinets")).toArray()) {
                    onScreens.insert(cabinet.toObject().value(QStringLiteral("id")).toString());
                }
            }
        }
        QCOMPARE(onScreens.size(), 240);
        for (const auto& entry : get("/device/cabinet").list()) {
            const QJsonObject cabinet = entry.toObject();
            QVERIFY(onScreens.contains(cabinet.value(QStringLiteral("id")).toString()));
            for (const char* member : {"outputId", "outputID", "moduleCount", "weight", "power", "voltage"}) {
                QVERIFY2(cabinet.value(QLatin1String(member)).isDouble(), member);
            }
            const int output = cabinet.value(QStringLiteral("outputID")).toInt();
            QVERIFY(output >= 1 && output <= 16);
        }
    }

    void theSameSeedGivesTheSameWall()
    {
        Options other;
        other.seed = 2;
        Simulator same;
        Simulator different(other);
        const QString path = QStringLiteral("/api/v1/device/cabinet");
        QCOMPARE(same.value(path), m_simulator->value(path));
        QVERIFY(different.value(path) != same.value(path));
    }

    void whatIsPutIsGivenBack_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        const auto row = [](const char* path, const char* body) {
            QTest::newRow(path) << QByteArray(path) << QByteArray(body);
        };
        row("/device/hw", R"({"displayMode":3})");
        row("/device/hw/syncinfo", R"({"source":2,"new":{"deep":[1,2]}})");
        row("/device/hw/hotbackup", R"([{"role":1}])");
        row("/device/log/level", R"({"level":4})");
        row("/device/screen/1/brightness", R"({"brightness":41})");
        row("/device/screen/2/hdr/mode", R"({"mode":2})");
        row("/device/screen/1/threed/righteyeoffset", R"({"rightEyeOffset":{"x":4,"y":-1}})");
        row("/device/screen/displaycolor", R"({"red":1})");
        row("/screen/2/gammatable", R"({"type":1,"table":[1,2,3]})");
        row("/screen/brightness", R"({"brightness":12})");
        row("/device/cabinet/17/brightness", R"({"brightness":33})");
        row("/device/cabinet/240/customgamma", R"({"red":2.2})");
        row("/device/factoryop/cabinets/3/struct/module", R"({"count":4})");
        row("/device/correctionop/cabinets/5/effectmode", R"({"mode":3})");
        row("/device/correctionop/cabinets/multilayer/5/coefficient",
            R"([{"layer":1,"coefficient":"AAAA"}])");
        row("/device/correctionop/screens/1/effectmode", R"({"mode":2})");
        row("/device/input/2/hue", R"({"hue":9})");
        row("/device/output/3", R"({"name":"Left"})");
        row("/device/output/3/resolution", R"({"resolution":{"width":640,"height":480}})");
        row("/device/output/pipelinemapping", R"({"1":2})");
        row("/device/pipeline/2", R"({"mirrorMode":1,"hdr":{"mode":2}})");
        row("/device/pipeline/2/gid", "[2,3]");
        row("/device/pipeline/1/handle/zoommode", R"({"zoomMode":2})");
        row("/device/channel/4/contrast", R"({"contrast":61})");
        row("/device/cabinet/%7Bid%7D/xbitenable", R"({"enable":true})");
        row("/device/hwscreen/correction/drawregion", R"({"regions":[{"x":1}]})");
    }

    void whatIsPutIsGivenBack()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        const QJsonValue before = get(path).data();
        QVERIFY(!holds(before, parsed(body)));
        QCOMPARE(put(path, body).status, 200);
        const QJsonValue after = get(path).data();
        QVERIFY2(holds(after, parsed(body)), QJsonDocument(QJsonArray{after}).toJson().constData());
        if (before.isObject()) {
            for (const QString& key : before.toObject().keys()) {
                QVERIFY2(after.toObject().contains(key), qPrintable(key));
            }
        }
        m_simulator->reset();
        QCOMPARE(get(path).data(), before);
    }

    void aPropertyAndTheRecordAgree()
    {
        put("/device/cabinet/4/weight", R"({"weight":9000})");
        QCOMPARE(get("/device/cabinet").list().at(3).toObject().value(QStringLiteral("weight")).toInt(),
                 9000);
        QCOMPARE(get("/device/cabinet").list().at(4).toObject().value(QStringLiteral("weight")).toInt(),
                 7500);
        put("/device/output", R"([{"id":2,"enable":false}])");
        QCOMPARE(get("/device/output/2/enable").object().value(QStringLiteral("enable")).toBool(true), false);
        put("/device/hw/customname", R"({"name":"Arena"})");
        QCOMPARE(get("/device/hw").object().value(QStringLiteral("customName")).toString(),
                 QStringLiteral("Arena"));
        QVERIFY(get("/device/hw").object().value(QStringLiteral("name")).toString() !=
                QStringLiteral("Arena"));
    }

    void aScreenListsItsCabinetsAsTheyAre()
    {
        const auto weight = [this] {
            return get("/device/screen")
                .object()
                .value(QStringLiteral("subScreens"))
                .toArray()
                .first()
                .toObject()
                .value(QStringLiteral("cabinets"))
                .toArray()
                .first()
                .toObject()
                .value(QStringLiteral("weight"))
                .toInt();
        };
        QCOMPARE(weight(), 7500);
        put("/device/cabinet/1/weight", R"({"weight":1})");
        QCOMPARE(weight(), 1);
    }

    void anIdIsNeverOverwritten()
    {
        put("/device/output/3", R"({"id":77,"name":"x"})");
        QCOMPARE(get("/device/output/3").object().value(QStringLiteral("id")).toInt(), 3);
    }

    void aPluralRouteGoesToTheCabinetsThatTheBodyNames_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QList<int>>("changed");
        QTest::newRow("ids") << QByteArray(R"({"ids":["1","3"],"brightness":7})") << QList<int>{1, 3};
        QTest::newRow("numbers") << QByteArray(R"({"ids":[2],"brightness":7})") << QList<int>{2};
        QTest::newRow("cids") << QByteArray(R"({"cids":["4"],"brightness":7})") << QList<int>{4};
        QTest::newRow("one id") << QByteArray(R"({"id":"5","brightness":7})") << QList<int>{5};
        QTest::newRow("list") << QByteArray(R"([{"id":"1","brightness":7},{"id":"6","brightness":7}])")
                              << QList<int>{1, 6};
        QTest::newRow("cabinets") << QByteArray(R"({"cabinets":[{"id":"2","brightness":7}]})")
                                  << QList<int>{2};
        QTest::newRow("unknown ids") << QByteArray(R"({"ids":["999","x",null,{}],"brightness":7})")
                                     << QList<int>{};
        QTest::newRow("all") << QByteArray(R"({"brightness":7})") << QList<int>{1, 2, 3, 4, 5, 6};
    }

    void aPluralRouteGoesToTheCabinetsThatTheBodyNames()
    {
        QFETCH(QByteArray, body);
        QFETCH(QList<int>, changed);
        QCOMPARE(put("/device/cabinet/brightness", body).status, 200);
        const QJsonArray list = get("/device/cabinet/brightness").list();
        QCOMPARE(list.size(), 240);
        for (int id = 1; id <= 6; ++id) {
            const int expected = changed.contains(id) ? 7 : 100;
            const auto single = get("/device/cabinet/" + QByteArray::number(id) + "/brightness").object();
            QCOMPARE(single.value(QStringLiteral("brightness")).toInt(), expected);
            QCOMPARE(list.at(id - 1).toObject().value(QStringLiteral("brightness")).toInt(), expected);
            QCOMPARE(list.at(id - 1).toObject().value(QStringLiteral("id")).toString(), QString::number(id));
        }
    }

    void allCabinetsKeepWhatEachWasGivenLater()
    {
        put("/device/cabinet/rgbgain", R"({"red":10})");
        put("/device/cabinet/2/rgbgain", R"({"red":20})");
        put("/device/cabinet/rgbgain", R"({"green":30})");
        QVERIFY(
            holds(get("/device/cabinet/1/rgbgain").data(), parsed(R"({"red":10,"green":30,"blue":128})")));
        QVERIFY(
            holds(get("/device/cabinet/2/rgbgain").data(), parsed(R"({"red":20,"green":30,"blue":128})")));
    }

    void aListThatNamesNobodyIsKeptByTheRoute()
    {
        QCOMPARE(put("/device/cabinet/bootimage/imageregion", R"([{"x":1},{"x":2}])").status, 200);
        QCOMPARE(get("/device/cabinet/bootimage/imageregion").data(), parsed(R"([{"x":1},{"x":2}])"));
    }

    void aGammaIsWrittenByItsChannel_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QList<double>>("gamma");
        QTest::newRow("one") << QByteArray(R"({"type":1,"gamma":2.2})") << QList<double>{2.8, 2.2, 2.8};
        QTest::newRow("all") << QByteArray(R"({"type":3,"gamma":2.4})") << QList<double>{2.4, 2.4, 2.4};
        QTest::newRow("none") << QByteArray(R"({"type":7,"gamma":2.4})") << QList<double>{2.8, 2.8, 2.8};
    }

    void aGammaIsWrittenByItsChannel()
    {
        QFETCH(QByteArray, body);
        QFETCH(QList<double>, gamma);
        put("/screen/1/gamma", body);
        const QJsonArray list = get("/device/screen/1/gamma").list();
        QCOMPARE(list.size(), 3);
        for (int type = 0; type < 3; ++type) {
            QCOMPARE(list.at(type).toObject().value(QStringLiteral("type")).toInt(), type);
            QCOMPARE(list.at(type).toObject().value(QStringLiteral("gamma")).toDouble(), gamma.at(type));
        }
    }

    void screensAreWrittenByTheirId()
    {
        HttpClient client(m_simulator->port());
        QCOMPARE(client
                     .request("POST", "/api/v1/device/screen",
                              R"({"screens":[{"screenID":"2","refreshRate":120}]})")
                     .status,
                 200);
        const auto screens = get("/screen").object().value(QStringLiteral("screens")).toArray();
        QCOMPARE(screens.at(0).toObject().value(QStringLiteral("refreshRate")).toInt(), 60);
        QCOMPARE(screens.at(1).toObject().value(QStringLiteral("refreshRate")).toInt(), 120);
        put("/device/screen/name", R"({"screenID":"2","name":"Balcony"})");
        QCOMPARE(get("/screen")
                     .object()
                     .value(QStringLiteral("screens"))
                     .toArray()
                     .at(1)
                     .toObject()
                     .value(QStringLiteral("screenName"))
                     .toString(),
                 QStringLiteral("Balcony"));
    }

    void theLockTakesNoBodyAndIsDeleted()
    {
        HttpClient client(m_simulator->port());
        const auto locked = [&] {
            return client.get("/api/v1/device/hw/lock").object().value(QStringLiteral("locked"));
        };
        QCOMPARE(locked().toBool(true), false);
        QCOMPARE(client.request("PUT", "/api/v1/device/hw/lock").status, 200);
        QCOMPARE(locked().toBool(), true);
        QCOMPARE(client.request("DELETE", "/api/v1/device/hw/lock").status, 200);
        QCOMPARE(locked().toBool(true), false);
    }

    void aPutWithoutBodyTakesTheQuery()
    {
        HttpClient client(m_simulator->port());
        QCOMPARE(client.request("PUT", "/api/v1/device/hw/system?state=re%20start&x=%ff").status, 200);
        QCOMPARE(client.get("/api/v1/device/hw/system").object().value(QStringLiteral("state")).toString(),
                 QStringLiteral("re start"));
    }

    void filesAreTakenWhereARouteTakesThem()
    {
        HttpClient client(m_simulator->port());
        const QByteArray bytes(300000, '\0');
        const QByteArray binary = "Content-Type: application/octet-stream\r\n";
        QCOMPARE(client.request("PUT", "/api/v1/device/hw/update", bytes, binary).status, 200);
        QCOMPARE(client.get("/api/v1/device/hw/update").object().value(QStringLiteral("size")).toInt(),
                 bytes.size());
        QCOMPARE(client.request("PUT", "/api/v1/device/cabinet/1/weight", bytes, binary).status, 415);
        QCOMPARE(m_simulator->requests().first().bodySize, qint64(bytes.size()));
    }

    void aFormTellsSizeAndTypeOfItsFile()
    {
        const QByteArray path = "/api/v1/device/cabinet/1/prestoreimage/image";
        const QByteArray pixels = QByteArray(70000, '\0') + "\r\n--\r\n-";
        const QByteArray form =
            "pre\r\n--b\r\nContent-Disposition: form-data; name=\"id\"\r\n\r\n1\r\n"
            "--b \r\nContent-Type: image/png\r\n"
            "content-disposition: form-data; x; ; names=\"y\"; name=image; filename=\"a \\\"b\\\";c.png\"\r\n"
            "\r\n" +
            pixels + "\r\n--b\r\n\r\n\r\n--b--\r\n";
        HttpClient client(m_simulator->port());
        QCOMPARE(
            client.request("PUT", path, form, "Content-Type: multipart/form-data; boundary=b\r\n").status,
            200);
        const auto image = client.get(path).object();
        QCOMPARE(image.value("size").toInt(), pixels.size());
        QCOMPARE(image.value("contentType").toString(), QStringLiteral("image/png"));
        QCOMPARE(image.value("fileName").toString(), QStringLiteral("a \"b\";c.png"));
        QStringList parts;
        for (const auto& part : image.value("parts").toArray()) {
            parts << part.toObject().value("name").toString() + ' ' +
                         QString::number(part.toObject().value("size").toInt());
        }
        QCOMPARE(parts, (QStringList{"id 1", "image " + QString::number(pixels.size()), " 0"}));
    }

    void whatIsNoFormIsRefused_data()
    {
        QTest::addColumn<QByteArray>("boundary");
        QTest::addColumn<QByteArray>("body");
        const QByteArray part = "--b\r\nContent-Disposition: form-data; name=\"a\"\r\n\r\n1";
        QTest::newRow("no boundary") << QByteArray() << part + "\r\n--b--\r\n";
        QTest::newRow("long boundary") << QByteArray(71, 'b') << part + "\r\n--b--\r\n";
        QTest::newRow("another boundary") << QByteArray("c") << part + "\r\n--b--\r\n";
        QTest::newRow("cut in the content") << QByteArray("b") << part;
        QTest::newRow("cut in the head") << QByteArray("b") << QByteArray("--b\r\nContent-Disposition: form");
        QTest::newRow("cut behind a delimiter") << QByteArray("b") << part + "\r\n--b";
        QTest::newRow("thousands of parts")
            << QByteArray("b") << QByteArray("--b\r\n\r\n\r\n").repeated(100000) + "--b--";
        QTest::newRow("bytes") << QByteArray("b") << QByteArray(1000, '\xff');
    }
    void whatIsNoFormIsRefused()
    {
        QFETCH(QByteArray, boundary);
        QFETCH(QByteArray, body);
        const QByteArray path = "/api/v1/device/cabinet/1/prestoreimage/image";
        const QByteArray before = get("/device/cabinet/1/prestoreimage/image").body;
        HttpClient client(m_simulator->port());
        QCOMPARE(client
                     .request("PUT", path, body,
                              "Content-Type: multipart/form-data; boundary=" + boundary + "\r\n")
                     .status,
                 400);
        QCOMPARE(client.get(path).body, before);
    }

    void loadedFirmwareIsReadBackAsItWasUploaded()
    {
        const QByteArray firmware = "/api/v1/device/cabinet/rvfirmware/1/3";
        const QByteArray image = QByteArray("\0\r\n\xff{", 5).repeated(20000);
        const QByteArray form =
            "--b\r\nContent-Disposition: form-data; name=\"file\"; filename=\"card.bin\"\r\n\r\n" + image +
            "\r\n--b--\r\n";
        HttpClient client(m_simulator->port());
        const QByteArray delivered = client.get(firmware).body;
        const QByteArray type = "Content-Type: multipart/form-data; boundary=\"b\"\r\n";
        QCOMPARE(client.request("PUT", "/api/v1/device/cabinet/rvupdate", form, type).status, 200);
        QCOMPARE(client.get(firmware).body, delivered);
        QCOMPARE(client.put("/api/v1/device/cabinet/rvupdateload", "{}").status, 200);
        QCOMPARE(client.get(firmware).body, image);
        m_simulator->reset();
        QCOMPARE(client.get(firmware).body, delivered);
    }

    void firmwareIsDownloadedAsBytes()
    {
        const auto reply = get("/device/cabinet/rvfirmware/1/3");
        QCOMPARE(reply.status, 200);
        QCOMPARE(reply.headers.value("content-type"), QByteArray("application/octet-stream"));
        QCOMPARE(reply.body.size(), 65536);
    }

    void aBodyThatIsNoJsonIsRefused_data()
    {
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("text") << QByteArray("hello");
        QTest::newRow("cut") << QByteArray("{\"a\":");
        QTest::newRow("two") << QByteArray("{} {}");
        QTest::newRow("bad UTF-8") << QByteArray("{\"a\":\"\xff\xfe\"}");
        QTest::newRow("zero bytes") << QByteArray(5, '\0');
        QTest::newRow("deep") << QByteArray(100000, '[');
        QTest::newRow("deep and whole") << QByteArray(100, '[') + QByteArray(100, ']');
        QTest::newRow("huge number") << QByteArray("{\"a\":1e999}");
        QTest::newRow("large text") << QByteArray(1 << 20, 'x');
    }

    void aBodyThatIsNoJsonIsRefused()
    {
        QFETCH(QByteArray, body);
        const auto before = get("/device/hw/mapping").body;
        HttpClient client(m_simulator->port());
        const auto reply = client.put("/api/v1/device/hw/mapping", body);
        QCOMPARE(reply.status, 400);
        QVERIFY(reply.isEnvelope());
        QCOMPARE(client.get("/api/v1/device/hw/mapping").body, before);
    }

    void jsonMayNestSixtyFourLevels_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("bracket");
        const auto rows = [](const QByteArray& kind, const QByteArray& path) {
            QTest::newRow(kind + ", arrays") << path << QByteArray("[]");
            QTest::newRow(kind + ", objects") << path << QByteArray("{}");
        };
        rows("value", "/api/v1/device/hw/mapping");
        rows("coefficients", "/api/v1/device/correctionop/cabinets/2/coefficientv2");
    }

    void jsonMayNestSixtyFourLevels()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, bracket);
        const QByteArray open = bracket == "{}" ? "{\"a\":" : "[";
        const auto nested = [&](int levels) {
            return open.repeated(levels - 1) + bracket + bracket.right(1).repeated(levels - 1);
        };
        // Brackets in a text are none.
        const QByteArray text = "\"" + QByteArray(100, '[') + "\\\"{\"";
        HttpClient client(m_simulator->port());
        QCOMPARE(client.put(path, nested(65)).status, 400);
        QCOMPARE(client.put(path, nested(64)).status, 200);
        QCOMPARE(client.put(path, "[" + text + "]").status, 200);
    }

    void aLargeBodyIsKeptAsItIs()
    {
        QByteArray body = "[";
        for (int i = 0; i < 400000; ++i) {
            body += "{\"c\":\"AAAA\"},";
        }
        body += "{}]";
        QCOMPARE(put("/device/correctionop/cabinets/2/coefficientv2", body).status, 200);
        QVERIFY(get("/device/correctionop/cabinets/2/coefficientv2").body.contains(body));
        QCOMPARE(put("/device/correctionop/cabinets/2/coefficientv2", "[1]").status, 200);
        QCOMPARE(get("/device/correctionop/cabinets/2/coefficientv2").data(), parsed("[1]"));
    }

    void aControllerKeepsOnlySoMuch()
    {
        const QByteArray large = "{\"x\":\"" + QByteArray(200000, 'x') + "\"}";
        QCOMPARE(put("/device/cabinet/rgbgain", large).status, 200);
        int status = 200;
        for (int i = 0; i < 40 && status == 200; ++i) {
            status = put("/device/factoryop/cabinets/" +
                             QByteArray(i % 2 == 0 ? "struct/extends/signaldelay" : "chipregister"),
                         "{\"x" + QByteArray::number(i) + "\":\"" + QByteArray(200000, 'x') + "\"}")
                         .status;
        }
        QCOMPARE(status, 507);
        QCOMPARE(get("/device/hw").status, 200);
    }
};

QTEST_GUILESS_MAIN(TestSimulatorResources)
#include "tst_simulatorresources.moc"
