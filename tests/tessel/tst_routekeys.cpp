// SPDX-License-Identifier: MIT
//
// The keys that operators look up against the route table: neither has what the other lacks, but for two
// known lists.
#include "absentroutekeys.h"

#include <sourcetree.h>

#include <tessel/allurlresource.h>

#include <QRegularExpression>
#include <QSet>
#include <QtTest>

namespace {

/// Keys of the table that no operation looks up.
const QSet<QString> idleKeys{
    "Channel3D",
    "Channel3DEyePriority",
    "Channel3DFieldDepth",
    "Channel3DRightEyeOffset",
    "Channel3DSourceMode",
    "Channel3DSwtich",
    "ChannelBlackLevel",
    "ChannelContrast",
    "ChannelHDR",
    "ChannelHDRSwitch",
    "ChannelHue",
    "ChannelSaturation",
    "Device_CabinetsModuleFlags",
    "Device_CabinetsRxFlags",
    "Device_DetecteSetErrorRateTime",
    "Device_M_CabinetFlags",
    "Device_MouseToScreen",
    "Device_SelLineState",
    "Device_SelRegionState",
    "Device_TestFlash",
    "Device_TestImagePath",
    "Device_TestImagePos",
    "Device_TestImageRegion",
    "Device_TestMode",
    "Device_uploadCoefficient",
    "HwScreen_AdaptiveCoefficient",
    "HwScreen_MultCorrectChangeBK",
    "HwScreen_MultDrawCorrectID",
    "HwScreen_MultEdgetSwitch",
    "HwScreen_MultShowVedioSource",
    "ScreenFineGray",
};

QSet<QString> absentKeys()
{
    QSet<QString> keys;
    for (const char* key : absentRouteKeys) {
        keys << key;
    }
    return keys;
}

/// All texts in the operators' sources that read as a route key.
QSet<QString> keysInTheSources()
{
    static const QRegularExpression key(
        "\"((?:Algorithm_|Cab_|Cabinet_|Capability_|Channel|Device_|HwScreen_|MuliScreen|MulitScreen|"
        "MultScreen|Monitor|Receive|Screen|SelfTest_|Sender)\\w+)\"");
    QSet<QString> keys;
    for (const QString& file : sourcesBelow("tessel")) {
        if (!file.endsWith(".cpp") || file == "tessel/allurlresource.cpp") {
            continue;
        }
        auto match = key.globalMatch(codeOf(file));
        while (match.hasNext()) {
            keys << match.next().captured(1);
        }
    }
    return keys;
}

QString listed(const QSet<QString>& keys)
{
    QStringList names = keys.values();
    names.sort();
    return names.join(' ');
}

} // namespace

class TestRouteKeys : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyKeyThatIsLookedUpIsInTheTableOrKnownToBeAbsent()
    {
        const QMap<QString, QString> table = AllUrlResource::getInstance()->getMapAllUrl();
        QSet<QString> strangers = keysInTheSources() - absentKeys();
        for (const QString& key : table.keys()) {
            strangers.remove(key);
        }
        QCOMPARE(listed(strangers), QString());
    }

    void everyAbsentKeyIsLookedUp() { QCOMPARE(listed(absentKeys() - keysInTheSources()), QString()); }

    void everyKeyOfTheTableIsLookedUpOrKnownToBeIdle()
    {
        const QStringList keys = AllUrlResource::getInstance()->getMapAllUrl().keys();
        const QSet<QString> idle = QSet<QString>(keys.begin(), keys.end()) - keysInTheSources();
        QCOMPARE(listed(idle), listed(idleKeys));
    }
};

QTEST_GUILESS_MAIN(TestRouteKeys)
#include "tst_routekeys.moc"
