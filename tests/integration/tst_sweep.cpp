// SPDX-License-Identifier: MIT
#include "simulateddevice.h"

#include <simulator/routes/routetable.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
namespace Sim = Tessel::Simulator;

namespace {

struct VerbCall
{
    Sim::Verb verb;
    const char* name;
    void (HttpProxy::*send)(const QString& deviceKey, HttpJsonPackage* package);
};
constexpr VerbCall verbCalls[] = {
    {Sim::Get, "GET", &HttpProxy::getSync},
    {Sim::Put, "PUT", &HttpProxy::putSync},
    {Sim::Post, "POST", &HttpProxy::postSync},
    {Sim::Delete, "DELETE", &HttpProxy::delSync},
};

/// Routes whose GET returns a list, apart from the routes for one property of all instances.
constexpr const char* listRoutes[] = {
    "Capability_AllChipType",
    "Capability_RowDecodeType",
    "Device_AllCabinetsInfo",
    "Device_AllInputBackup",
    "Device_AllInputs",
    "Device_AllOutputsInfo",
    "Device_BackInfo",
    "Device_CabinetRecvCards",
    "Device_CabinetsAllFlags",
    "Device_Correction_flashcheckcode",
    "Device_GetCabinetCoefficients",
    "Device_GetCabinetMultilayerCoefficients",
    "Device_GetCorrectionNiccData",
    "Device_GroupScreenInfo",
    "Device_M_CabShortName",
    "Device_M_CabinetBaseInfo",
    "Device_PipeGroupScreenIds",
    "Device_PipeGroupScreenRelativePoint",
    "Device_Pipes",
    "Device_PutCabinetCoefficients",
    "Device_PutCabinetMultilayerCoefficients",
    "Device_RvCards",
    "Device_RxsInfo",
    "Device_S_AllCabChip",
    "Device_S_AllCabType",
    "Device_S_AllCabmfrsName",
    "Device_ScreenNiccData",
    "MonitorHistory",
    "MuliScreenGamma",
    "ScreenGamma",
    "ScreenGammaCurve",
};

/// Routes whose GET brings bytes rather than an envelope.
bool bringsBytes(const Sim::Route& route)
{
    return route.scope == Sim::Scope::Firmware;
}

bool isListRoute(const QString& key)
{
    return std::any_of(std::begin(listRoutes), std::end(listRoutes),
                       [&key](const char* route) { return key == QLatin1String(route); });
}

void send(const VerbCall& call, const QString& deviceKey, const QString& path, HttpJsonPackage& package)
{
    package.setUrl(path);
    for (const char* placeHolder : {"id", "cid", "outputid"}) {
        package.addPlaceHolders(QLatin1String(placeHolder), QStringLiteral("1"));
    }
    package.addPlaceHolders(QStringLiteral("type"), QStringLiteral("3"));
    if (call.verb == Sim::Put || call.verb == Sim::Post) {
        package.setRequestWithJsonObj(QVariantMap{{QStringLiteral("probe"), 1}});
    }
    (HttpProxy::getInstance()->*call.send)(deviceKey, &package);
}

} // namespace

Q_DECLARE_METATYPE(const Tessel::Simulator::Route*)

class TestSweepIntegration : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { QVERIFY(m_device.start()); }

    void init() { m_device.simulator.reset(); }

    void theSimulatorHasARouteForEveryKeyOfTheTable()
    {
        QStringList served;
        for (const Sim::Route& route : Sim::RouteTable::instance().routes()) {
            for (const std::string& key : route.keys) {
                served << QString::fromStdString(key);
            }
        }
        served.sort();
        QCOMPARE(served.size(), 427);
        QCOMPARE(served, AllUrlResource::getInstance()->getMapAllUrl().keys());
    }

    void everyRouteAnswersEachOfItsVerbs_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<unsigned>("verbs");
        QTest::addColumn<bool>("bytes");
        QTest::addColumn<bool>("isPlural");
        for (const Sim::Route& route : Sim::RouteTable::instance().routes()) {
            for (const std::string& key : route.keys) {
                QTest::newRow(key.c_str()) << QString::fromStdString(route.pattern) << route.verbs
                                           << bringsBytes(route) << (route.scope == Sim::Scope::Plural);
            }
        }
    }
    void everyRouteAnswersEachOfItsVerbs()
    {
        QFETCH(QString, path);
        QFETCH(unsigned, verbs);
        QFETCH(bool, bytes);
        QFETCH(bool, isPlural);
        const QString key = QString::fromLatin1(QTest::currentDataTag());
        QCOMPARE(path, AllUrlResource::getUrl(key));
        for (const VerbCall& call : verbCalls) {
            if (!(verbs & call.verb)) {
                continue;
            }
            HttpJsonPackage package(nullptr);
            send(call, m_device.key, path, package);
            QVERIFY2(package.getSimpleState() == HttpJsonPackage::Success, call.name);
            QCOMPARE(package.replyStatus, 200);
            if (bytes) {
                QVERIFY(!package.getReceiveData().isEmpty());
                continue;
            }
            const QJsonDocument envelope = QJsonDocument::fromJson(package.getReceiveData());
            QVERIFY(envelope.isObject());
            QCOMPARE(envelope["code"].toInt(-1), 0);
            QVERIFY(envelope["message"].isString());
            QVERIFY(envelope.object().contains("data"));
            if (call.verb == Sim::Get) {
                QVERIFY2(isPlural || envelope["data"].isArray() == isListRoute(key), "see listRoutes");
                checkShape(key, envelope["data"], package);
            }
        }
    }

    void aStrictDeviceRefusesAMemberOnlyWhereAllMembersAreKnown()
    {
        SimulatedDevice strict;
        QVERIFY(strict.start());
        int refused = 0;
        int taken = 0;
        for (const Sim::Route& route : Sim::RouteTable::instance().routes()) {
            if (!(route.verbs & Sim::Put)) {
                continue;
            }
            HttpJsonPackage noted(nullptr);
            send(verbCalls[1], m_device.key, QString::fromStdString(route.pattern), noted);
            HttpJsonPackage package(nullptr);
            send(verbCalls[1], strict.key, QString::fromStdString(route.pattern), package);
            const bool isKnown = !noted.responseHeader(QStringLiteral("Tessel-Sim-Mistake")).isEmpty();
            const QByteArray reply = package.getReceiveData();
            QVERIFY2(package.replyStatus == (isKnown ? 400 : 200), (route.pattern + ": ").c_str() + reply);
            QVERIFY2(!isKnown || reply.contains("probe") || reply.contains("must be a list"),
                     reply.constData());
            ++(isKnown ? refused : taken);
        }
        QVERIFY2(refused > 200, qPrintable(QString::number(refused)));
        QVERIFY2(taken > 100, qPrintable(QString::number(taken)));
    }

private:
    static void checkShape(const QString& key, const QJsonValue& data, const HttpJsonPackage& package)
    {
        if (isListRoute(key)) {
            QVERIFY(data.isArray());
            QVERIFY(!package.getJsonDataListMap().isEmpty());
        }
        if (data.isArray()) {
            QCOMPARE(package.getJsonDataListMap().size(), data.toArray().size());
            QCOMPARE(package.getRoutesJsonDataListMap().size(), data.toArray().size());
            QVERIFY(package.getRoutesJsonMap().isEmpty());
        } else {
            QVERIFY(data.isObject());
            QVERIFY(package.getRoutesJsonMap().size() >= data.toObject().size());
            QVERIFY(package.getJsonDataListMap().isEmpty());
        }
    }

    // The probe is no member of anything: what counts is the route.
    SimulatedDevice m_device{{}, SimulatedDevice::Bodies::Noted};
};

QTEST_GUILESS_MAIN(TestSweepIntegration)
#include "tst_sweep.moc"
