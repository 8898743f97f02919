// SPDX-License-Identifier: MIT
//
// One blocking read: which driver chips does the device know?
#include "devices.h"

#include <tessel/capability.h>

#include <QTextStream>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;

    //! [call]
    QList<QVariant> chips;
    if (!Capability::getInstance()->getAllChipType(devices.addresses.first(), chips)) {
        return 1; // the log says why
    }
    //! [call]

    //! [result]
    QTextStream out(stdout);
    for (const QVariant& chip : qAsConst(chips)) {
        out << chip.toMap().value("id").toInt() << "  " << chip.toMap().value("name").toString() << '\n';
    }
    //! [result]
    return chips.isEmpty() ? 1 : 0;
}
