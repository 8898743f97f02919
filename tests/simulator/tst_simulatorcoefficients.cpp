// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/simulator.h>

#include <QCryptographicHash>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonObject>
#include <QtTest>

#include <memory>

using namespace Tessel::Simulator;
using Bank = CoefficientBank;
using Kind = CoefficientKind;

Q_DECLARE_METATYPE(CoefficientKind)
Q_DECLARE_METATYPE(CoefficientBank)

namespace {

const QByteArray correction = "/api/v1/device/correctionop";
const QByteArray cabinets = correction + "/cabinets";
const QByteArray second = R"([ {"c" : "AAAA"}, 1.50, "x]" ])";

const QByteArray delivered = R"([{"module":0,"coefficient":""}])";

Options withControl()
{
    Options options;
    options.cabinets = 6;
    options.control = true;
    options.coefficientLimit = 32 << 20;
    return options;
}

} // namespace

/// Which coefficients a controller holds, and what becomes of them.
class TestSimulatorCoefficients : public QObject
{
    Q_OBJECT

private:
    std::unique_ptr<Simulator> m_simulator;

    HttpReply get(const QByteArray& path) const { return HttpClient(m_simulator->port()).get(path); }
    int put(const QByteArray& path, const QByteArray& body) const
    {
        return HttpClient(m_simulator->port()).put(path, body).status;
    }
    QByteArray table(const QString& cabinet, Kind kind = Kind::Plain, Bank bank = Bank::Loaded) const
    {
        return m_simulator->coefficients(cabinet, kind, bank);
    }

private Q_SLOTS:
    void init()
    {
        m_simulator = std::make_unique<Simulator>(withControl());
        QVERIFY2(m_simulator->start(), qPrintable(m_simulator->errorString()));
    }

    void aTableOfACabinetIsReadBackToTheByte_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<Kind>("kind");
        QTest::newRow("plain") << QByteArray("/2/coefficientv2") << Kind::Plain;
        QTest::newRow("multilayer") << QByteArray("/multilayer/2/coefficient") << Kind::Multilayer;
    }
    void aTableOfACabinetIsReadBackToTheByte()
    {
        QFETCH(QByteArray, path);
        QFETCH(Kind, kind);
        const QByteArray before = table("3", kind);
        QCOMPARE(put(cabinets + path, second), 200);
        QVERIFY(get(cabinets + path).body.endsWith("\"data\":" + second + "}"));
        QCOMPARE(table("2", kind), second);
        QCOMPARE(table("3", kind), before);
        QCOMPARE(put(cabinets + path, "[]"), 200);
        QCOMPARE(get(cabinets + path).list(), QJsonArray());
    }

    void aCabinetThatTheWallLacksIsRefused()
    {
        for (const char* cabinet : {"0", "7", "x", "02"}) {
            const QByteArray path = cabinets + "/multilayer/" + cabinet + "/coefficient";
            QCOMPARE(put(path, "[1]"), 404);
            QCOMPARE(get(path).status, 404);
            QCOMPARE(table(cabinet), QByteArray());
        }
    }

    void anUnfilledPlaceholderIsACabinetOfItsOwn()
    {
        const QByteArray path = cabinets + "/multilayer/%7Bcid%7D/coefficient";
        QCOMPARE(put(path, "[1]"), 200);
        QCOMPARE(get(path).list(), QJsonArray{1});
    }

    void anUploadWithoutBodyChangesNothing()
    {
        QCOMPARE(put(cabinets + "/2/coefficientv2", second), 200);
        QCOMPARE(put(cabinets + "/2/coefficientv2", ""), 200);
        QCOMPARE(table("2"), second);
    }

    void whatIsNoJsonIsRefusedAndTheTableStays()
    {
        QCOMPARE(put(cabinets + "/2/coefficientv2", second), 200);
        for (const QByteArray& body : {QByteArray("[1"), QByteArray("hello"), QByteArray(100000, '[')}) {
            QCOMPARE(put(cabinets + "/2/coefficientv2", body), 400);
            QCOMPARE(put(cabinets + "/chroma/coefficient", body), 400);
        }
        QCOMPARE(table("2"), second);
    }

    void aListGoesToTheCabinetsThatItsElementsName_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<Kind>("kind");
        QTest::newRow("plain") << QByteArray("chroma") << Kind::Plain;
        QTest::newRow("multilayer") << QByteArray("multilayer") << Kind::Multilayer;
        QTest::newRow("adaptive") << QByteArray("adaptive") << Kind::Adaptive;
        QTest::newRow("dynamic") << QByteArray("dynamic") << Kind::Dynamic;
        QTest::newRow("low gray") << QByteArray("lowgray") << Kind::LowGray;
    }
    void aListGoesToTheCabinetsThatItsElementsName()
    {
        QFETCH(QByteArray, name);
        QFETCH(Kind, kind);
        const QByteArray path = cabinets + "/" + name + "/coefficient";
        const QByteArray first = "{\"cid\":\"1\",\"c\":[\"]\",{}]}";
        const QByteArray again = "{ \"c\": \"\\\"[\", \"id\": 1 }";
        const QByteArray fourth = R"({"cabinetId":4})";
        QCOMPARE(put(path, "[" + first + " ,\n" + fourth + "," + again + R"(,{"cid":"77"}])"), 200);
        QCOMPARE(table("1", kind), "[" + first + "," + again + "]");
        QCOMPARE(table("4", kind), "[" + fourth + "]");
        const QByteArray all = get(path).body;
        QVERIFY2(all.contains(first + "," + again) && all.contains(fourth), all);
        QVERIFY(!all.contains("77"));
        QCOMPARE(m_simulator->coefficientCounts(kind).uploads, quint64(1));
    }

    void aListOfWhichOneElementNamesNobodyIsGivenBackWhole()
    {
        const QByteArray path = cabinets + "/chroma/coefficient";
        for (const QByteArray& list : {QByteArray(R"([{"cid":"1"},{"c":2}])"), QByteArray("[ 1,[2] ]"),
                                       QByteArray(R"({"cid":"1"})")}) {
            QCOMPARE(put(path, list), 200);
            QVERIFY(get(path).body.endsWith("\"data\":" + list + "}"));
        }
        QCOMPARE(put(cabinets + "/2/coefficientv2", "[5]"), 200);
        const QJsonArray all = get(path).list();
        QCOMPARE(all.size(), 6);
        QCOMPARE(all.at(1).toObject(), (QJsonObject{{"id", "2"}, {"value", QJsonArray{5}}}));
    }

    void anEmptyListChangesNoCabinet()
    {
        QCOMPARE(put(cabinets + "/2/coefficientv2", second), 200);
        QCOMPARE(put(cabinets + "/chroma/coefficient", " [ ] "), 200);
        QCOMPARE(table("2"), second);
        QCOMPARE(get(cabinets + "/chroma/coefficient").list().size(), 6);
    }

    void aLargeListIsTakenApartToo()
    {
        QByteArray list = "[";
        for (int i = 0; i < 300000; ++i) {
            list += "{\"cid\":" + QByteArray::number(1 + i % 6) + ",\"coefficient\":\"AAAAAAAA\"},";
        }
        list += "{\"cid\":\"1\"}]";
        QCOMPARE(put(cabinets + "/adaptive/coefficient", list), 200);
        QVERIFY(table("1", Kind::Adaptive).endsWith(R"(,{"cid":"1"}])"));
        QCOMPARE(table("6", Kind::Adaptive).count("AAAAAAAA"), 50000);
        QCOMPARE(m_simulator->coefficientCounts(Kind::Adaptive).bytes, static_cast<quint64>(list.size()));
    }

    void savedCoefficientsComeBackWhenTheyAreLoaded()
    {
        QCOMPARE(put(cabinets + "/2/coefficientv2", second), 200);
        QCOMPARE(table("2", Kind::Plain, Bank::Saved), delivered);
        QCOMPARE(put(cabinets + "/savecoefficient", R"({"cids":["2"]})"), 200);
        QCOMPARE(table("2", Kind::Plain, Bank::Saved), second);
        for (const char* cabinet : {"2", "3"}) {
            QCOMPARE(put(cabinets + "/" + cabinet + "/coefficientv2", "[0]"), 200);
        }
        QCOMPARE(put(cabinets + "/loadcoefficient", R"({"cids":["2","3"]})"), 200);
        QCOMPARE(table("2"), second);
        QCOMPARE(table("3"), delivered);
    }

    void aSaveCopiesWhatIsLoaded_data()
    {
        QTest::addColumn<QByteArray>("upload");
        QTest::addColumn<QByteArray>("save");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<Bank>("bank");
        const auto row = [](const char* name, const QByteArray& upload, const QByteArray& save, Kind kind,
                            Bank bank) { QTest::newRow(name) << upload << save << kind << bank; };
        row("plain", "chroma", "/cabinets/savecoefficient", Kind::Plain, Bank::Saved);
        row("of a screen", "chroma", "/screens/1/usereffectadjustcoeffsave", Kind::Plain, Bank::Saved);
        row("factory", "chroma", "/cabinets/savefactorycoefficient", Kind::Plain, Bank::Factory);
        row("module", "chroma", "/cabinets/savecoefftomodule", Kind::Plain, Bank::Module);
        row("multilayer", "multilayer", "/cabinets/multilayer/save", Kind::Multilayer, Bank::Saved);
        row("adaptive", "adaptive", "/cabinets/rvcardcoefficient", Kind::Adaptive, Bank::Saved);
        row("low gray", "lowgray", "/cabinets/lowgray/save", Kind::LowGray, Bank::Saved);
        row("low gray in use", "lowgray", "/cabinets/lowgray/apply/coefficient", Kind::LowGray,
            Bank::Applied);
    }
    void aSaveCopiesWhatIsLoaded()
    {
        QFETCH(QByteArray, upload);
        QFETCH(QByteArray, save);
        QFETCH(Kind, kind);
        QFETCH(Bank, bank);
        const QByteArray list = R"([{"cid":"1","v":1}])";
        QCOMPARE(put(cabinets + "/" + upload + "/coefficient", list), 200);
        QVERIFY(table("1", kind, bank) != list);
        QCOMPARE(put(correction + save, "{}"), 200);
        QCOMPARE(table("1", kind, bank), list);
        QCOMPARE(put(cabinets + "/" + upload + "/coefficient", R"([{"cid":"1","v":2}])"), 200);
        QCOMPARE(table("1", kind, bank), list);
    }

    void aScreenSavesItsOwnCabinetsOnly()
    {
        for (const QString& cabinet : m_simulator->cabinetIds()) {
            QCOMPARE(put(cabinets + "/" + cabinet.toLatin1() + "/coefficientv2", "[9]"), 200);
        }
        QCOMPARE(put(correction + "/screens/2/usereffectadjustcoeffsave", ""), 200);
        QCOMPARE(table("1", Kind::Plain, Bank::Saved), delivered);
        QCOMPARE(table("6", Kind::Plain, Bank::Saved), QByteArray("[9]"));
    }

    void clearedCoefficientsAreGone_data()
    {
        QTest::addColumn<QByteArray>("upload");
        QTest::addColumn<QByteArray>("save");
        QTest::addColumn<QByteArray>("clear");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<Bank>("bank");
        QTest::newRow("plain") << QByteArray("/chroma") << QByteArray("/savecoefficient")
                               << QByteArray("/clearcoefficient") << Kind::Plain << Bank::Saved;
        QTest::newRow("module") << QByteArray("/chroma") << QByteArray("/savecoefftomodule")
                                << QByteArray("/clearmodulecoefficient") << Kind::Plain << Bank::Module;
        QTest::newRow("multilayer") << QByteArray("/multilayer") << QByteArray("/multilayer/save")
                                    << QByteArray("/multilayer/clear") << Kind::Multilayer << Bank::Saved;
        QTest::newRow("low gray") << QByteArray("/lowgray") << QByteArray("/lowgray/apply/coefficient")
                                  << QByteArray("/lowgray/clear") << Kind::LowGray << Bank::Applied;
    }
    void clearedCoefficientsAreGone()
    {
        QFETCH(QByteArray, upload);
        QFETCH(QByteArray, save);
        QFETCH(QByteArray, clear);
        QFETCH(Kind, kind);
        QFETCH(Bank, bank);
        const bool loadedToo = bank != Bank::Module;
        QCOMPARE(put(cabinets + upload + "/coefficient", R"([{"cid":"2"},{"cid":"3"}])"), 200);
        QCOMPARE(put(cabinets + save, R"({"cids":["2","3"]})"), 200);
        QCOMPARE(put(cabinets + clear, R"({"cids":["2"],"mode":1})"), 200);
        QCOMPARE(table("2", kind, bank), QByteArray("[]"));
        QCOMPARE(table("2", kind), QByteArray(loadedToo ? "[]" : R"([{"cid":"2"}])"));
        QCOMPARE(table("3", kind, bank), QByteArray(R"([{"cid":"3"}])"));
        QCOMPARE(put(cabinets + clear, R"({"mode":2})"), 200);
        QCOMPARE(table("3", kind, bank), QByteArray("[]"));
        QCOMPARE(get(cabinets + upload + "/coefficient").list().isEmpty(), loadedToo);
    }

    void aCabinetShowsWhatItIsToldToShow_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<Bank>("bank");
        QTest::newRow("factory") << QByteArray("/showfactorycoefficient") << Bank::Factory;
        QTest::newRow("module") << QByteArray("/showmodulecoefficient") << Bank::Module;
    }
    void aCabinetShowsWhatItIsToldToShow()
    {
        QFETCH(QByteArray, path);
        QFETCH(Bank, bank);
        QCOMPARE(put(cabinets + path, R"({"cids":["2"]})"), 200);
        QCOMPARE(m_simulator->shownCoefficients("2"), bank);
        QCOMPARE(m_simulator->shownCoefficients("3"), Bank::Loaded);
        QCOMPARE(put(cabinets + "/showcoefficient", "{}"), 200);
        QCOMPARE(m_simulator->shownCoefficients("2"), Bank::Loaded);
    }

    void aSaveTakesAsLongAsTold()
    {
        Options options = withControl();
        options.saveTime = 300;
        Simulator slow(options);
        QVERIFY(slow.start());
        QElapsedTimer clock;
        clock.start();
        for (const char* save : {"/savecoefficient", "/multilayer/save"}) {
            const qint64 before = clock.elapsed();
            QCOMPARE(HttpClient(slow.port()).put(cabinets + save, "{}").status, 200);
            QVERIFY(clock.elapsed() - before >= 300);
        }
        QVERIFY(slow.coefficients("1", Kind::Plain, Bank::Saved) == delivered);
    }

    void uploadsAreCountedByKind()
    {
        QCOMPARE(put(cabinets + "/1/coefficientv2", second), 200);
        QCOMPARE(put(cabinets + "/chroma/coefficient", "[1]"), 200);
        QCOMPARE(put(cabinets + "/dynamic/coefficient", "[12]"), 200);
        QCOMPARE(put(cabinets + "/dynamic/coefficient", "[12"), 400);
        QCOMPARE(m_simulator->coefficientCounts(Kind::Plain).uploads, quint64(2));
        QCOMPARE(m_simulator->coefficientCounts(Kind::Plain).bytes, static_cast<quint64>(second.size() + 3));
        QCOMPARE(m_simulator->coefficientCounts(Kind::Dynamic).uploads, quint64(1));
        m_simulator->resetCounts();
        QCOMPARE(m_simulator->coefficientCounts(Kind::Plain).bytes, quint64(0));
        QCOMPARE(table("1"), second);
    }

    void theControlInterfaceTellsWhatIsHeld()
    {
        QCOMPARE(put(cabinets + "/2/coefficientv2", second), 200);
        QCOMPARE(put(cabinets + "/showfactorycoefficient", R"({"cids":["2"]})"), 200);
        const QJsonObject told = get("/sim/coefficients").object();
        QCOMPARE(told["received"].toObject()["plain"].toObject(),
                 (QJsonObject{{"uploads", 1}, {"bytes", second.size()}}));
        const QJsonObject cabinet = told["cabinets"].toObject()["2"].toObject();
        QCOMPARE(cabinet["shown"].toString(), QStringLiteral("factory"));
        const QJsonObject loaded = cabinet["plain"].toObject()["loaded"].toObject();
        QCOMPARE(loaded["bytes"].toInt(), second.size());
        QCOMPARE(loaded["sha256"].toString().toLatin1(),
                 QCryptographicHash::hash(second, QCryptographicHash::Sha256).toHex());
    }

    void theControlInterfaceNamesEveryKind()
    {
        const QJsonObject received = get("/sim/coefficients").object()["received"].toObject();
        QCOMPARE(received.size(), static_cast<int>(Tessel::coefficientKindCount));
        for (const auto& row : Tessel::coefficientKinds) {
            QVERIFY2(received.contains(row.name), row.name);
        }
    }

    void aResetGivesTheDeliveredTablesBack()
    {
        QCOMPARE(put(cabinets + "/2/coefficientv2", second), 200);
        QCOMPARE(put(cabinets + "/chroma/coefficient", "[1]"), 200);
        QCOMPARE(put(cabinets + "/showmodulecoefficient", "{}"), 200);
        m_simulator->reset();
        QCOMPARE(table("2"), delivered);
        QCOMPARE(m_simulator->shownCoefficients("2"), Bank::Loaded);
        QCOMPARE(get(cabinets + "/chroma/coefficient").list().size(), 6);
        QCOMPARE(m_simulator->coefficientCounts(Kind::Plain).uploads, quint64(0));
    }

    void aControllerKeepsOnlySoMuchAndSavingTakesNoRoom()
    {
        const QByteArray large = "[\"" + QByteArray(100000, 'x') + "\"]";
        Options options = withControl();
        options.coefficientLimit = 550000;
        m_simulator = std::make_unique<Simulator>(options);
        QVERIFY(m_simulator->start());
        int taken = 0;
        for (int cabinet = 1; cabinet <= 6; ++cabinet) {
            const int status = put(cabinets + "/" + QByteArray::number(cabinet) + "/coefficientv2", large);
            QVERIFY(status == 200 || status == 507);
            taken += status == 200 ? 1 : 0;
            QCOMPARE(put(cabinets + "/savecoefficient", "{}"), 200);
        }
        QCOMPARE(taken, 5);
        // What is replaced everywhere makes room again.
        QCOMPARE(put(cabinets + "/1/coefficientv2", "[]"), 200);
        QCOMPARE(put(cabinets + "/savecoefficient", "{}"), 200);
        QCOMPARE(put(cabinets + "/6/coefficientv2", large), 200);
    }
};

QTEST_GUILESS_MAIN(TestSimulatorCoefficients)
#include "tst_simulatorcoefficients.moc"
