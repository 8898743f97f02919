// SPDX-License-Identifier: MIT
//
// Reads a typed record without blocking: the promise is settled when the reply arrives.
#include "devices.h"

#include <tessel/hwinfo.h>

#include <QTextStream>
#include <QtPromise>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;

    HWInfo::getInstance()
        ->getHWInfo2(devices.addresses.first())
        .then([](const Tessel::DeviceInfo& info) {
            QTextStream(stdout) << info.name << "  " << info.customName << "  " << info.mac << '\n';
            QCoreApplication::exit(info.name.isEmpty() ? 1 : 0);
        })
        .fail([] { QCoreApplication::exit(1); });
    return QCoreApplication::exec();
}
