// SPDX-License-Identifier: MIT
#include "simulator/resources/writtenvalues.h"

#include <QtTest>

using namespace Tessel::Simulator;

namespace {

constexpr std::size_t bound = std::size_t(512) << 20;

WrittenValues::Value value(int data, std::size_t cost)
{
    return {data, nullptr, cost};
}

} // namespace

class TestWrittenValues : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aValueIsFoundByPropertyAndInstance()
    {
        WrittenValues values;
        QVERIFY(!values.find("weight"));
        QVERIFY(values.keep(values["weight"].own["1"], value(7, 1)));
        QVERIFY(values.find("weight"));
        QCOMPARE(values.find("weight", "1")->data.get<int>(), 7);
        QVERIFY(!values.find("weight", "2"));
        QVERIFY(!values.find("gamma", "1"));
    }

    void whatFindsNoRoomLeavesTheSlotAsItWas()
    {
        WrittenValues values;
        auto& slot = values["weight"].own["1"];
        QVERIFY(values.keep(slot, value(1, bound)));
        QVERIFY(!values.keep(slot, value(2, bound + 1)));
        QVERIFY(!values.keep(values["weight"].own["2"], value(3, 1)));
        QCOMPARE(slot.data.get<int>(), 1);
    }

    void whatIsReplacedOrErasedMakesRoom()
    {
        WrittenValues values;
        QVERIFY(values.keep(values["weight"].own["1"], value(1, bound)));
        QVERIFY(values.keep(values["weight"].own["1"], value(2, bound - 10)));
        QVERIFY(values.keep(values["weight"].own["2"], value(3, 10)));
        values.erase("weight", "1");
        QVERIFY(!values.find("weight", "1"));
        QVERIFY(values.keep(values["gamma"].own["1"], value(4, bound - 10)));
        values.erase("gamma", "2");
        QVERIFY(!values.keep(values["gamma"].own["2"], value(5, 1)));
        values.clear();
        QVERIFY(!values.find("gamma"));
        QVERIFY(values.keep(values["gamma"].own["2"], value(5, bound)));
    }
};

QTEST_GUILESS_MAIN(TestWrittenValues)
#include "tst_writtenvalues.moc"
