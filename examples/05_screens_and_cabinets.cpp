// SPDX-License-Identifier: MIT
//
// The screens of a wall and their cabinets, with the members that their maps have.
#include "devices.h"

#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QTextStream>

#include <utility>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    const QString wall = devices.addresses.first();
    QTextStream out(stdout);

    //! [protocol]
    // Which protocol it speaks has to be asked first: the paths of screens depend on it.
    const bool multiScreen = HWInfo::getInstance()->getHwProtoc(wall, true);
    out << (multiScreen ? "multi-screen" : "single-screen") << " protocol\n";
    //! [protocol]

    //! [screens]
    QMap<QString, QMap<QString, QVariant>> screens;
    if (!ScreenInfo::getInstance()->getScreens(wall, screens, false, multiScreen)) {
        return 1;
    }
    for (auto screen = screens.cbegin(); screen != screens.cend(); ++screen) {
        const QMap<QString, QVariant>& members = screen.value();
        const QVariantMap resolution = members["resolution"].toMap(); // a screen comes as the device sent it
        out << "screen " << screen.key() << ", \"" << members["screenName"].toString()
            << "\": " << resolution["width"].toInt() << " x " << resolution["height"].toInt() << " pixels\n";
    }
    //! [screens]

    //! [cabinets]
    QList<QVariant> cabinets;
    if (!CabinetInfoOperator::getInstance()->getAllCabinetsInfo(wall, cabinets, false)) {
        return 1;
    }
    QMap<QString, int> cabinetsOfScreen;
    for (const QVariant& cabinet : std::as_const(cabinets)) {
        ++cabinetsOfScreen[cabinet.toMap()["screenID"].toString()];
    }
    for (auto count = cabinetsOfScreen.cbegin(); count != cabinetsOfScreen.cend(); ++count) {
        out << count.value() << " cabinets belong to screen " << count.key() << '\n';
    }
    //! [cabinets]

    //! [members]
    out << "a screen has: " << QStringList(screens.first().keys()).join(", ") << '\n';
    out << "a cabinet has: " << QStringList(cabinets.first().toMap().keys()).join(", ") << '\n';
    //! [members]
    return 0;
}
