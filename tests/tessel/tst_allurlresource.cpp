// SPDX-License-Identifier: MIT
#include <oneinstance.h>

#include "absentroutekeys.h"
#include "routes.h"

#include <tessel/allurlresource.h>

#include <QtTest>

namespace {

struct SharedPath
{
    const char* path;
    std::initializer_list<const char*> keys;
};

const SharedPath sharedPaths[] = {
    {"/api/v1/device/cabinet/cabinetflags", {"Device_CabinetsFlags", "Device_M_CabinetFlags"}},
    {"/api/v1/device/cabinet/moduleflags", {"Device_CabinetsModuleFlags", "Device_M_Moduleflags"}},
    {"/api/v1/device/cabinet/{id}/berdt",
     {"Device_DetecteSetErrorRateTime", "Device_Single_DetecteErrorRateTime"}},
    {"/api/v1/device/cabinet/mfrsname", {"Device_S_AllCabmfrsName", "Device_M_CabmfrsName"}},
    {"/api/v1/device/cabinet/cabtype", {"Device_M_CabType", "Device_S_AllCabType"}},
    {"/api/v1/device/cabinet/{id}/xbitenable",
     {"Device_CabinetGetXBitEnable", "Device_CabinetSetXBitEnable"}},
    {"/api/v1/device/correctionop/cabinets/{cid}/effectmode",
     {"Device_SetCabinetCorrect", "Device_GetCabinetsCorrect"}},
    {"/api/v1/device/correctionop/cabinets/clearcoefficient",
     {"Device_ClearCabinetsCorrect", "Device_ClearCabinetsModuleCofficient"}},
    {"/api/v1/device/correctionop/cabinets/chroma/coefficient",
     {"Device_GetCabinetCoefficients", "Device_PutCabinetsCoefficient"}},
    {"/api/v1/device/correctionop/cabinets/showmodulecoefficient",
     {"Device_ShowCabinetsModuleCofficient", "Device_SaveCabinetsModuleCofficient",
      "Device_ShowModuleCoefficient"}},
    {"/api/v1/device/correctionop/cabinets/multilayer/{cid}/coefficient",
     {"Device_GetCabinetMultilayerCoefficients", "Device_PutCabinetMultilayerCoefficients"}},
    {"/api/v1/device/correctionop/cabinets/adaptive/coefficient",
     {"Device_PutCabinetsAdaptiveCoefficients", "HwScreen_AdaptiveCoefficient"}},
    {"/api/v1/device/pipeline/{id}/3d/fielddepth",
     {"Device_PipeThreeDSourcenadj", "Device_PipeThreeDDepthField"}},
};

} // namespace

class TestAllUrlResource : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyKeyHasItsPath_data()
    {
        QTest::addColumn<QString>("path");
        for (const ExpectedRoute& route : expectedRoutes) {
            QTest::newRow(route.key) << QString(route.path);
        }
    }
    void everyKeyHasItsPath()
    {
        QFETCH(QString, path);
        QCOMPARE(AllUrlResource::getUrl(QTest::currentDataTag()), path);
    }

    void theTableHoldsNoOtherKeys()
    {
        QStringList expected;
        for (const ExpectedRoute& route : expectedRoutes) {
            expected << route.key;
        }
        QCOMPARE(AllUrlResource::getInstance()->getMapAllUrl().keys(), expected);
    }

    void theTableHoldsFourHundredTwentySevenKeys()
    {
        QCOMPARE(AllUrlResource::getInstance()->getMapAllUrl().size(), 427);
    }

    void thePublicStaticsAreThePathsOfTheirKeys()
    {
        QCOMPARE(AllUrlResource::getUrl("Device_Hwinfo"), AllUrlResource::Device_Hwinfo);
        QCOMPARE(AllUrlResource::Device_Hwinfo, QString("/api/v1/device/hw"));
        QCOMPARE(AllUrlResource::getUrl("Device_System"), AllUrlResource::Device_System);
        QCOMPARE(AllUrlResource::Device_System, QString("/api/v1/device/hw/system"));
        QCOMPARE(AllUrlResource::getUrl("Device_AllScreens"), AllUrlResource::Device_AllScreens);
        QCOMPARE(AllUrlResource::Device_AllScreens, QString("/api/v1/device/screen"));
        QCOMPARE(AllUrlResource::getUrl("Device_Mult_AllScreens"), AllUrlResource::Device_Mult_AllScreens);
        QCOMPARE(AllUrlResource::Device_Mult_AllScreens, QString("/api/v1/screen"));
    }

    void theVersionRoutesStandOutsideThePrefix()
    {
        QCOMPARE(AllUrlResource::getUrl("Device_Protoc"), QString("/api/protocol/version"));
        QCOMPARE(AllUrlResource::getUrl("Device_Capability_Protoc"), QString("/api/capability/version"));
    }

    void everyOtherPathStandsBehindThePrefix()
    {
        const QMap<QString, QString> table = AllUrlResource::getInstance()->getMapAllUrl();
        for (auto route = table.begin(); route != table.end(); ++route) {
            if (route.key() == "Device_Protoc" || route.key() == "Device_Capability_Protoc") {
                continue;
            }
            QVERIFY2(route.value().startsWith("/api/v1/"), qPrintable(route.key()));
        }
    }

    void aKeyInsertedTwiceKeepsItsLastPath()
    {
        QCOMPARE(AllUrlResource::getUrl("ChannelHDRSwitch"),
                 QString("/api/v1/device/channel/{id}/hdr/lowgray"));
        QCOMPARE(AllUrlResource::getUrl("Device_SyncInfo"), QString("/api/v1/device/hw/syncinfo"));
    }

    void pathsReplacedByALaterInsertAreUnreachable_data()
    {
        QTest::addColumn<QString>("path");
        for (const char* last : {"switch", "mode", "hlgmode", "peakbrightness", "illuminance"}) {
            QTest::newRow(last) << QString("/api/v1/device/channel/{id}/hdr/%1").arg(last);
        }
    }
    void pathsReplacedByALaterInsertAreUnreachable()
    {
        QFETCH(QString, path);
        QVERIFY(!AllUrlResource::getInstance()->getMapAllUrl().values().contains(path));
    }

    void theBlankBehindEnterHwModeStays()
    {
        QCOMPARE(AllUrlResource::getUrl("Device_EnterHwMode"), QString("/api/v1/device/hw/enterhwmode "));
    }

    void anAbsentKeyYieldsAnEmptyPath_data()
    {
        QTest::addColumn<QString>("key");
        for (const char* key : absentRouteKeys) {
            QTest::newRow(key) << QString(key);
        }
        QTest::newRow("empty") << QString();
        QTest::newRow("another case") << QString("device_hwinfo");
    }
    void anAbsentKeyYieldsAnEmptyPath()
    {
        QFETCH(QString, key);
        QVERIFY(AllUrlResource::getUrl(key).isEmpty());
        QVERIFY(!AllUrlResource::getInstance()->getMapAllUrl().contains(key));
    }

    void keysThatShareAPathStaySeparate_data()
    {
        QTest::addColumn<int>("row");
        for (std::size_t row = 0; row < std::size(sharedPaths); ++row) {
            QTest::newRow(sharedPaths[row].path) << int(row);
        }
    }
    void keysThatShareAPathStaySeparate()
    {
        QFETCH(int, row);
        const SharedPath& shared = sharedPaths[row];
        QStringList expected;
        for (const char* key : shared.keys) {
            expected << key;
        }
        expected.sort();
        QCOMPARE(AllUrlResource::getInstance()->getMapAllUrl().keys(shared.path), expected);
    }

    void onlyTheFourPlaceholdersOccur()
    {
        QSet<QString> names;
        const QRegularExpression placeHolder("\\{([^}]*)\\}");
        for (const QString& path : AllUrlResource::getInstance()->getMapAllUrl()) {
            auto match = placeHolder.globalMatch(path);
            while (match.hasNext()) {
                names << match.next().captured(1);
            }
        }
        QCOMPARE(names, (QSet<QString>{"id", "cid", "outputid", "type"}));
        QCOMPARE(AllUrlResource::getUrl("Device_RvCardFirmware"),
                 QString("/api/v1/device/cabinet/rvfirmware/{id}/{type}"));
    }

    void changingTheReturnedCopyLeavesTheTable()
    {
        QMap<QString, QString> copy = AllUrlResource::getInstance()->getMapAllUrl();
        copy.insert("Device_Hwinfo", "elsewhere");
        copy.remove("Device_System");
        QCOMPARE(AllUrlResource::getUrl("Device_Hwinfo"), QString("/api/v1/device/hw"));
        QCOMPARE(AllUrlResource::getInstance()->getMapAllUrl().size(), 427);
    }

    void theMetaObjectDeclaresNothingOfItsOwn()
    {
        const QMetaObject& meta = AllUrlResource::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<AllUrlResource>(); }
};

QTEST_GUILESS_MAIN(TestAllUrlResource)
#include "tst_allurlresource.moc"
