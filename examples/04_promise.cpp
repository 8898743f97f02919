// SPDX-License-Identifier: MIT
//
// Reads a typed record without blocking: the promise is settled when the reply arrives.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <tessel/correctionop.h>
#include <tessel/hwinfo.h>

#include <QTextStream>
#include <QtPromise>

using Krelm::Communicator::HttpDevice::OperationOutcome;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    const QString wall = devices.addresses.first();

    //! [promise]
    auto info = HWInfo::getInstance()->getHWInfo2(wall);
    info.then([](const Tessel::DeviceInfo& device) {
            QTextStream(stdout) << device.name << "  " << device.customName << "  " << device.mac << '\n';
        })
        .fail([why = OperationOutcome::last()] {
            QTextStream(stdout) << why.text() << '\n';
            QCoreApplication::exit(1);
        });
    //! [promise]

    //! [chain]
    // One after the other: the mode is set when the description has come.
    info.then([wall](const Tessel::DeviceInfo&) {
            return Correctionop::getInstance()->setScreenEffectMode(wall, "1", 1);
        })
        .then([](bool set) {
            QTextStream(stdout) << (set ? "effect mode 1\n" : "the mode was not set\n");
            QCoreApplication::exit(set ? 0 : 1);
        })
        .fail([] { QCoreApplication::exit(1); });
    //! [chain]
    return QCoreApplication::exec();
}
