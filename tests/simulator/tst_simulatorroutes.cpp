// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <sourcetree.h>

#include <simulator/routes/routerules.h>
#include <simulator/routes/routetable.h>
#include <simulator/simulator.h>
#include <tessel/allurlresource.h>

#include <QRegularExpression>
#include <QSet>
#include <QtTest>

#include <set>
#include <string_view>

using namespace Tessel::Simulator;

namespace {

QByteArray filled(QString path)
{
    path.replace(QStringLiteral("{type}"), QStringLiteral("3"));
    for (const char* placeholder : {"{id}", "{cid}", "{outputid}"}) {
        path.replace(QLatin1String(placeholder), QStringLiteral("1"));
    }
    return path.replace(QLatin1Char(' '), QStringLiteral("%20")).toLatin1();
}

} // namespace

class TestSimulatorRoutes : public QObject
{
    Q_OBJECT

private:
    Simulator m_multiScreen;
    Simulator m_singleScreen{[] {
        Options options;
        options.protocol = Protocol::SingleScreen;
        return options;
    }()};

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_multiScreen.start(), qPrintable(m_multiScreen.errorString()));
        QVERIFY2(m_singleScreen.start(), qPrintable(m_singleScreen.errorString()));
    }

    void everyRouteAnswersItsVerbsWithAnEnvelope_data()
    {
        QTest::addColumn<QString>("path");
        const auto urls = AllUrlResource::getInstance()->getMapAllUrl();
        for (auto it = urls.cbegin(); it != urls.cend(); ++it) {
            QTest::newRow(qPrintable(it.key())) << it.value();
        }
        QCOMPARE(urls.size(), 427);
    }

    void everyRouteAnswersItsVerbsWithAnEnvelope()
    {
        QFETCH(QString, path);
        const QByteArray target = filled(path);
        for (const Simulator* simulator : {&m_multiScreen, &m_singleScreen}) {
            HttpClient client(simulator->port());
            const auto options = client.request("OPTIONS", target);
            const bool exists = options.status == 204;
            QVERIFY(exists || (simulator == &m_singleScreen && options.status == 404));
            const QByteArray allow = options.headers.value("allow");
            for (const char* verb : {"GET", "PUT", "POST", "DELETE"}) {
                const bool allowed = (", " + allow + ',').contains(", " + QByteArray(verb) + ',');
                const auto reply =
                    client.request(verb, target, qstrcmp(verb, "PUT") == 0 ? "{\"probe\":1}" : QByteArray());
                QVERIFY2(reply.whole, verb);
                if (!exists) {
                    QCOMPARE(reply.status, 404);
                } else if (!allowed) {
                    QCOMPARE(reply.status, 405);
                    QCOMPARE(reply.headers.value("allow"), allow);
                } else {
                    QCOMPARE(reply.status, 200);
                }
                if (reply.headers.value("content-type") != "application/octet-stream") {
                    QVERIFY2(reply.isEnvelope(), verb);
                }
                QCOMPARE(reply.code(), reply.headers.value("content-type") == "application/octet-stream" ? -1
                                       : reply.status == 200                                             ? 0
                                                             : reply.status);
            }
        }
    }

    void everyRouteTakesTheVerbsOfItsKind_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QByteArray>("allow");
        QTest::newRow("most") << "Device_Hwinfo" << QByteArray("GET, HEAD, PUT, OPTIONS");
        QTest::newRow("version") << "Device_Version" << QByteArray("GET, HEAD, PUT, POST, OPTIONS");
        QTest::newRow("screens") << "Device_AllScreens" << QByteArray("GET, HEAD, PUT, POST, OPTIONS");
        QTest::newRow("lock") << "Device_lock" << QByteArray("GET, HEAD, PUT, DELETE, OPTIONS");
        QTest::newRow("read-only") << "Device_HwUpdateProgress" << QByteArray("GET, HEAD, OPTIONS");
    }

    void everyRouteTakesTheVerbsOfItsKind()
    {
        QFETCH(QString, key);
        QFETCH(QByteArray, allow);
        HttpClient client(m_multiScreen.port());
        QCOMPARE(client.request("OPTIONS", filled(AllUrlResource::getUrl(key))).headers.value("allow"),
                 allow);
    }

    void aSingleScreenControllerLacksTheMultiScreenRoutes_data()
    {
        QTest::addColumn<QByteArray>("target");
        for (const char* target : {"/api/protocol/version", "/api/v1/screen", "/api/v1/screen/brightness",
                                   "/api/v1/screen/1/gamma", "/api/v1/hwscreen/correction/drawid"}) {
            QTest::newRow(target) << QByteArray(target);
        }
    }

    void aSingleScreenControllerLacksTheMultiScreenRoutes()
    {
        QFETCH(QByteArray, target);
        QCOMPARE(HttpClient(m_singleScreen.port()).get(target).status, 404);
        QCOMPARE(HttpClient(m_multiScreen.port()).get(target).status, 200);
    }

    void whatIsNoResourceAnswers404_data()
    {
        QTest::addColumn<QByteArray>("target");
        for (const char* target : {"/",
                                   "//",
                                   "/api",
                                   "/api/v1",
                                   "/api/v1/",
                                   "/api/v1/nothing",
                                   "/api/v1/device/hw//",
                                   "/api/v1//device/hw",
                                   "/api/v1/device/cabinet/0/brightness",
                                   "/api/v1/device/cabinet/01/brightness",
                                   "/api/v1/device/cabinet/241/brightness",
                                   "/api/v1/device/cabinet/99999999999999999999/brightness",
                                   "/api/v1/device/cabinet/-1/brightness",
                                   "/api/v1/device/cabinet/a/brightness",
                                   "/api/v1/device/cabinet//brightness",
                                   "/api/v1/device/cabinet/1%2F2/brightness",
                                   "/api/v1/device/cabinet/%00/brightness",
                                   "/api/v1/device/screen/3/gamma",
                                   "/api/v1/device/input/5/hue",
                                   "/api/v1/device/output/17/enable",
                                   "/api/v1/device/pipeline/5",
                                   "/API/v1/device/hw",
                                   "/sim",
                                   "/sim/counts",
                                   "/api/v1/../v1/device/hw"}) {
            QTest::newRow(target) << QByteArray(target);
        }
    }

    void whatIsNoResourceAnswers404()
    {
        QFETCH(QByteArray, target);
        HttpClient client(m_multiScreen.port());
        for (const char* verb : {"GET", "PUT"}) {
            const auto reply = client.request(verb, target, qstrcmp(verb, "PUT") == 0 ? "{}" : QByteArray());
            QCOMPARE(reply.status, 404);
            QVERIFY(reply.isEnvelope());
            QCOMPARE(reply.code(), 404);
        }
    }

    void pathsAreDecodedSegmentBySegment_data()
    {
        QTest::addColumn<QByteArray>("target");
        QTest::addColumn<int>("status");
        QTest::newRow("letters") << QByteArray("/api/v1/%64evice/h%77") << 200;
        QTest::newRow("blank at the end") << QByteArray("/api/v1/device/hw/enterhwmode%20") << 200;
        QTest::newRow("blank left out") << QByteArray("/api/v1/device/hw/enterhwmode") << 200;
        QTest::newRow("placeholder unfilled")
            << QByteArray("/api/v1/device/cabinet/%7Bid%7D/brightness") << 200;
        QTest::newRow("history unfilled")
            << QByteArray("/api/v1/device/monitor/cabinet/history/%7Bid%7D?starttime=1&endtime=2") << 200;
        QTest::newRow("query") << QByteArray("/api/v1/device/screen?subpixel=1&PageCorrection=1") << 200;
        QTest::newRow("absolute form") << QByteArray("http://wall.example/api/v1/device/hw") << 200;
        QTest::newRow("broken percent") << QByteArray("/api/v1/device/%zz") << 400;
        QTest::newRow("cut percent") << QByteArray("/api/v1/device/hw%2") << 400;
        QTest::newRow("no slash") << QByteArray("api/v1/device/hw") << 400;
    }

    void pathsAreDecodedSegmentBySegment()
    {
        QFETCH(QByteArray, target);
        QFETCH(int, status);
        const auto reply = HttpClient(m_multiScreen.port()).get(target);
        QCOMPARE(reply.status, status);
        QVERIFY(reply.isEnvelope());
    }

    void headAnswersLikeGetWithoutTheBody()
    {
        HttpClient client(m_multiScreen.port());
        const auto get = client.get("/api/v1/device/hw");
        const auto head = client.request("HEAD", "/api/v1/device/hw");
        QCOMPARE(head.status, 200);
        QCOMPARE(head.headers.value("content-length").toInt(), get.body.size());
        QVERIFY(head.body.isEmpty());
        QCOMPARE(client.get("/api/v1/device/hw").body, get.body);
    }

    void optionsOfEverythingIsAnswered()
    {
        QCOMPARE(HttpClient(m_multiScreen.port()).request("OPTIONS", "*").status, 204);
    }

    // A rule for a property that no route has would have no effect, and nobody would notice.
    void everySpecialRuleIsForARouteThatThereIs()
    {
        QSet<QString> properties;
        for (const Route& route : RouteTable::instance().routes()) {
            properties << QString::fromStdString(route.property);
        }
        const auto special = specialProperties();
        QVERIFY(special.size() > 40);
        for (const auto property : special) {
            const QString name = QString::fromUtf8(property.data(), static_cast<int>(property.size()));
            QVERIFY2(properties.contains(name), qPrintable(name));
        }
    }

    void everySpecialBehaviourIsThatOfARoute()
    {
        std::set<SpecialValue> values;
        std::set<WriteEffect> effects;
        std::set<Tessel::PushEvent> events;
        std::set<Tessel::CoefficientKind> uploads;
        std::set<Tessel::CoefficientKind> actions;
        for (const Route& route : RouteTable::instance().routes()) {
            values.insert(route.value);
            effects.insert(route.effect);
            for (const auto& event : {route.nameEvent, route.changeEvent}) {
                if (event) {
                    events.insert(*event);
                }
            }
            if (route.coefficients) {
                uploads.insert(*route.coefficients);
            }
            for (const auto& action : route.coefficientActions) {
                actions.insert(action.kind);
            }
        }
        QCOMPARE(values.size(), static_cast<std::size_t>(SpecialValue::Lock) + 1);
        QCOMPARE(effects.size(), static_cast<std::size_t>(WriteEffect::DisableTestPattern) + 1);
        for (const auto& row : Tessel::eventRows) {
            const bool isWarning = row.text.source.text == std::string_view("monitor");
            QVERIFY2((events.count(row.event) > 0) != isWarning, row.text.source.text);
        }
        for (const auto& row : Tessel::coefficientKinds) {
            QVERIFY2(uploads.count(row.kind) > 0, row.name);
            // Controllers take dynamic coefficients and do nothing else with them.
            QVERIFY2((actions.count(row.kind) > 0) != (row.kind == CoefficientKind::Dynamic), row.name);
        }
    }

    void onlyTheRulesLookAtTheTextOfARoute()
    {
        static const QRegularExpression comparison("(?:\\b(?:property|pattern)\\s*(?:==|!=|\\.compare|\\."
                                                   "find))|(?:isBelow|startsWith)\\((?:\\w+\\.)?(?:"
                                                   "property|pattern)");
        int compared = 0;
        for (const QString& file : sourcesBelow("simulator")) {
            const bool compares = textOf(file).contains(comparison);
            QVERIFY2(!compares || file == "simulator/routes/routerules.cpp", qPrintable(file));
            compared += compares ? 1 : 0;
        }
        QCOMPARE(compared, 1);
    }

    void anUnknownVerbIsRefused()
    {
        const auto reply = HttpClient(m_multiScreen.port()).request("PATCH", "/api/v1/device/hw", "{}");
        QCOMPARE(reply.status, 405);
        QCOMPARE(reply.headers.value("allow"), QByteArray("GET, HEAD, PUT, OPTIONS"));
    }
};

QTEST_GUILESS_MAIN(TestSimulatorRoutes)
#include "tst_simulatorroutes.moc"
