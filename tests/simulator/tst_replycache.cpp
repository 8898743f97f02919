// SPDX-License-Identifier: MIT
#include "simulator/resources/replycache.h"

#include <QtTest>

using namespace Tessel::Simulator;

namespace {

Route route(const char* pattern, Family family)
{
    Route made;
    made.pattern = pattern;
    made.family = family;
    return made;
}

const Route cabinets = route("/cabinet", Family::Cabinet);
const Route screens = route("/screen", Family::Screen);
const Route inputs = route("/input", Family::Input);

} // namespace

class TestReplyCache : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aReplyIsKeptForItsRouteAndInstance()
    {
        ReplyCache cache;
        const SharedText reply = successEnvelope("1");
        cache.insert(cabinets, "1", reply);
        QCOMPARE(cache.find(cabinets, "1"), reply);
        QVERIFY(!cache.find(cabinets, "2"));
        QVERIFY(!cache.find(inputs, "1"));
    }

    void aWriteDropsItsFamilyAndWhatShowsIt_data()
    {
        QTest::addColumn<int>("family");
        QTest::addColumn<QString>("kept");
        QTest::newRow("cabinets are listed by screens") << static_cast<int>(Family::Cabinet) << "input";
        QTest::newRow("screens") << static_cast<int>(Family::Screen) << "cabinet input";
        QTest::newRow("inputs") << static_cast<int>(Family::Input) << "cabinet screen";
        QTest::newRow("the device") << static_cast<int>(Family::Device) << "cabinet screen input";
    }
    void aWriteDropsItsFamilyAndWhatShowsIt()
    {
        QFETCH(int, family);
        QFETCH(QString, kept);
        ReplyCache cache;
        for (const Route* shown : {&cabinets, &screens, &inputs}) {
            cache.insert(*shown, {}, successEnvelope());
        }
        cache.invalidate(static_cast<Family>(family));
        QStringList left;
        for (const Route* shown : {&cabinets, &screens, &inputs}) {
            if (cache.find(*shown, {})) {
                left << QString::fromStdString(shown->pattern.substr(1));
            }
        }
        QCOMPARE(left.join(' '), kept);
    }

    void tooManyRepliesStartItAnew()
    {
        ReplyCache cache;
        const SharedText reply = successEnvelope();
        cache.insert(inputs, "1", reply);
        for (int i = 0; i < 8192; ++i) {
            cache.insert(cabinets, std::to_string(i), reply);
        }
        QVERIFY(cache.find(inputs, "1"));
        cache.insert(cabinets, "one more", reply);
        QVERIFY(cache.find(cabinets, "one more"));
        QVERIFY(!cache.find(cabinets, "0"));
        QVERIFY(!cache.find(inputs, "1"));
    }

    void tooManyBytesStartItAnew()
    {
        ReplyCache cache;
        // One text of a quarter of the bound, which many entries share.
        const auto quarter = std::make_shared<const std::string>(64U << 20, ' ');
        for (int i = 0; i < 4; ++i) {
            cache.insert(cabinets, std::to_string(i), quarter);
        }
        QVERIFY(cache.find(cabinets, "0"));
        cache.insert(inputs, "1", successEnvelope());
        QVERIFY(!cache.find(cabinets, "0"));
        QVERIFY(cache.find(inputs, "1"));
        // What was dropped counts no longer.
        for (int i = 0; i < 3; ++i) {
            cache.insert(screens, std::to_string(i), quarter);
        }
        cache.invalidate(Family::Screen);
        for (int i = 0; i < 3; ++i) {
            cache.insert(cabinets, std::to_string(i), quarter);
        }
        QVERIFY(cache.find(inputs, "1"));
        QVERIFY(cache.find(cabinets, "0"));
    }
};

QTEST_GUILESS_MAIN(TestReplyCache)
#include "tst_replycache.moc"
