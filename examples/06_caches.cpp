// SPDX-License-Identifier: MIT
//
// A cache that follows its device: what was read once is not asked again, and a pushed event refreshes it.
#include "devices.h"

#include <communicator/deviceendpoint.h>
#include <communicator/exchangeid.h>
#include <communicator/httpproxy.h>
#include <tessel/devicemanager.h>
#include <tessel/hwinfo.h>

#include <QTextStream>
#include <QTimer>

using namespace Krelm::Communicator::HttpDevice;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    QTextStream out(stdout);

    //! [start]
    // Event streams need both: a device that was added, and a transport that was started.
    HWInfo* const hardware = HWInfo::getInstance();
    DeviceEndpoint endpoint;
    endpoint.address = devices.addresses.first();
    HttpProxy::getInstance()->addDevice("stage", endpoint);
    DeviceManager::getInstance()->initManager();
    //! [start]

    //! [read]
    const auto printName = [&out, hardware](const char* when) {
        const quint64 before = exchangesBegun();
        QMap<QString, QVariant> info;
        if (hardware->getHWInfo("stage", info, false)) {
            out << when << ": \"" << info["customName"].toString() << "\", "
                << (exchangesBegun() == before ? "from the cache" : "from the device") << '\n';
        }
    };
    printName("first");
    printName("second");
    //! [read]

    //! [signal]
    // Raised when the new description has arrived, on the thread of HWInfo.
    QObject::connect(hardware, &HWInfo::signal_sendDataChanged, &application, [&printName] {
        printName("after the event");
        QCoreApplication::quit();
    });
    //! [signal]

    // Another program renames the device, once the event stream is open.
    QTimer::singleShot(0, &application, [&devices] {
        for (const auto& simulator : devices.simulators) {
            simulator->waitForEventStreams(1);
            simulator->setValue("/api/v1/device/hw", R"({"customName":"North stand"})");
        }
    });
    QTimer::singleShot(60000, &application, [] { QCoreApplication::exit(1); });
    const int code = QCoreApplication::exec();
    HttpProxy::getInstance()->initialize(false); // closes the event streams before the device goes
    return code;
}
