// SPDX-License-Identifier: MIT
//
// Prints pushed events as they arrive. Ends after the first event, or after a minute without one.
#include "devices.h"

#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <tessel/devicemanager.h>

#include <QTextStream>
#include <QTimer>

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::HttpProxy;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    HttpProxy* const proxy = HttpProxy::getInstance();

    //! [receive]
    QObject::connect(proxy, &HttpProxy::deviceAutoReportData, &application,
                     [](const QByteArray& data, const QString& deviceKey) {
                         QTextStream(stdout) << deviceKey << "  " << data << '\n';
                         QCoreApplication::quit();
                     });
    //! [receive]

    // This opens the event streams, of the devices that are registered with addDevice().
    DeviceManager::getInstance()->initManager();
    for (const QString& address : devices.addresses) {
        DeviceEndpoint endpoint;
        endpoint.address = address;
        if (!proxy->addDevice(address, endpoint)) {
            return 1;
        }
    }

    // A simulated device pushes an event once its stream is open.
    QTimer::singleShot(0, &application, [&devices] {
        for (const auto& simulator : devices.simulators) {
            simulator->waitForEventStreams(1);
            simulator->pushEvent(R"({"dataType":"change","changeTag":"hwInfo"})");
        }
    });
    QTimer::singleShot(60000, &application, [] { QCoreApplication::exit(1); });
    return QCoreApplication::exec();
}
