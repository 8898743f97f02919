// SPDX-License-Identifier: MIT
//
// Shows the brightness of two walls, now and after every change. Ends after two changes if the walls are
// simulated.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <tessel/devicemanager.h>
#include <tessel/hwinfo.h>
#include <tessel/screeninfo.h>

#include <QEventLoop>
#include <QTextStream>
#include <QTimer>

#include <functional>
#include <utility>

using namespace Krelm::Communicator::HttpDevice;

//! [follow]
/// Shows the brightness of walls, now and after every change.
class LiveBrightness : public QObject
{
public:
    using Show = std::function<void(const QString& wall, const QString& text)>;

    explicit LiveBrightness(Show show)
        : m_show(std::move(show))
    {
        // Raised when something of the screens of a wall has changed, such as their brightness.
        connect(ScreenInfo::getInstance(), &ScreenInfo::signal_screenDataChanged, this,
                &LiveBrightness::read);
        DeviceManager::getInstance()->initManager(); // opens the event streams
    }

    bool add(const QString& wall, const QString& address)
    {
        DeviceEndpoint endpoint;
        endpoint.address = address;
        if (!HttpProxy::getInstance()->addDevice(wall, endpoint)) {
            return false;
        }
        HWInfo::getInstance()->getHwProtoc(wall, true); // the paths of screens depend on it
        read(wall);
        return true;
    }

private:
    void read(const QString& wall)
    {
        QMap<QString, QVariant> brightness;
        // With force: events do not refresh what is cached of a screen.
        const bool answered = ScreenInfo::getInstance()->getBrightness(wall, "1", brightness, true);
        const OperationOutcome outcome = OperationOutcome::last();
        m_show(wall, answered && !outcome.hasFailed() ? QString("%1 %").arg(brightness["brightness"].toInt())
                                                      : outcome.text());
    }

    Show m_show;
};
//! [follow]

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices(2);
    QTextStream out(stdout);
    QEventLoop shown;

    // The last of the simulated walls cannot be read at first.
    Tessel::Simulator::Fault fault;
    fault.path = "/api/v1/device/cabinet";
    fault.status = 500;
    if (!devices.simulators.empty()) {
        devices.simulators.back()->addFault(fault);
    }

    //! [use]
    LiveBrightness live([&](const QString& wall, const QString& text) {
        out << wall << ": " << text << '\n';
        out.flush();
        shown.quit();
    });
    for (int i = 0; i < devices.addresses.size(); ++i) {
        if (!live.add(QString("wall %1").arg(i + 1), devices.addresses[i])) {
            return 1;
        }
    }
    //! [use]
    if (devices.simulators.empty()) {
        return QCoreApplication::exec(); // until it is interrupted
    }

    QTimer::singleShot(30000, &application, [] { qFatal("nothing was shown"); });
    //! [change]
    for (const auto& wall : devices.simulators) {
        wall->waitForEventStreams(1);
        wall->setValue("/api/v1/screen/brightness", R"({"brightness":35})");
        shown.exec(); // quit when a value is shown
    }
    //! [change]
    HttpProxy::getInstance()->initialize(false); // closes the event streams before the walls go
    return 0;
}
