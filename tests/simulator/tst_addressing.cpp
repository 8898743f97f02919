// SPDX-License-Identifier: MIT
#include "simulator/resources/addressing.h"

#include <nlohmann/json.hpp>

#include <QtTest>

using namespace Tessel::Simulator;
using nlohmann::json;

class TestAddressing : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aBodyIsForWhomItNames_data()
    {
        QTest::addColumn<int>("family");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("addressed"); // "all", "nobody known", or index and members of each

        const int cabinet = static_cast<int>(Family::Cabinet);
        const int screen = static_cast<int>(Family::Screen);
        const int device = static_cast<int>(Family::Device);
        QTest::newRow("no name") << cabinet << QByteArray(R"({"weight":1})") << QByteArray("all");
        QTest::newRow("one") << cabinet << QByteArray(R"({"id":2,"weight":1})")
                             << QByteArray(R"([[1,{"weight":1}]])");
        QTest::newRow("several by one member") << cabinet << QByteArray(R"({"cids":["1","3"],"weight":1})")
                                               << QByteArray(R"([[0,{"weight":1}],[2,{"weight":1}]])");
        QTest::newRow("a list") << cabinet << QByteArray(R"([{"id":1,"weight":5},{"id":"2","weight":6}])")
                                << QByteArray(R"([[0,{"weight":5}],[1,{"weight":6}]])");
        QTest::newRow("a list in a member") << cabinet << QByteArray(R"({"cabinets":[{"id":3,"weight":7}]})")
                                            << QByteArray(R"([[2,{"weight":7}]])");
        QTest::newRow("screens in a member")
            << screen << QByteArray(R"({"screens":[{"screenID":"1","x":7}]})")
            << QByteArray(R"([[0,{"x":7}]])");
        QTest::newRow("another family's id")
            << cabinet << QByteArray(R"({"inputId":1})") << QByteArray("all");
        QTest::newRow("one that is not there") << cabinet << QByteArray(R"({"id":4})") << QByteArray("[]");
        QTest::newRow("the device, whatever its id")
            << device << QByteArray(R"({"id":"x","name":"n"})") << QByteArray(R"([[0,{"name":"n"}]])");
        QTest::newRow("a list with one that is not named")
            << cabinet << QByteArray(R"([{"id":1},{"weight":6}])") << QByteArray("nobody known");
        QTest::newRow("a number") << cabinet << QByteArray("5") << QByteArray("nobody known");
        QTest::newRow("more than a controller takes")
            << cabinet << QByteArray::fromStdString(json({{"ids", json::array_t(20001, 1)}}).dump())
            << QByteArray("nobody known");
    }
    void aBodyIsForWhomItNames()
    {
        QFETCH(int, family);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, addressed);
        const auto found =
            Tessel::Simulator::addressed(static_cast<Family>(family), 3, json::parse(body.toStdString()));
        if (!found) {
            QCOMPARE(addressed, QByteArray("nobody known"));
            return;
        }
        if (found->all) {
            QVERIFY(found->instances.empty());
            QCOMPARE(addressed, QByteArray("all"));
            return;
        }
        json instances = json::array();
        for (const auto& [index, members] : found->instances) {
            instances.push_back({index, members});
        }
        QCOMPARE(QByteArray::fromStdString(instances.dump()), addressed);
    }
};

QTEST_GUILESS_MAIN(TestAddressing)
#include "tst_addressing.moc"
