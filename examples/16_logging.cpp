// SPDX-License-Identifier: MIT
//
// The log of the library: which categories there are, and how to silence or raise them.
#include "devices.h"

#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <tessel/hwinfo.h>

#include <QLoggingCategory>
#include <QTextStream>

using namespace Krelm::Communicator::HttpDevice;

namespace {

// An application would write to its own log; this prints what a terminal would get.
void printMessage(QtMsgType, const QMessageLogContext& context, const QString& text)
{
    QTextStream(stdout) << context.category << ": " << text << '\n';
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Tessel::Simulator::Options options;
    options.protocol = Tessel::Protocol::SingleScreen;
    Tessel::Simulator::Simulator simulator(options);
    if (!simulator.start()) {
        return 1;
    }
    DeviceEndpoint endpoint;
    endpoint.address = simulator.address();
    HttpProxy::getInstance()->addDevice("studio", endpoint);
    qInstallMessageHandler(printMessage);
    QTextStream out(stdout);

    //! [expected]
    // A single-screen controller does not know the path: 404 is its answer, and no failure.
    const bool multiScreen = HWInfo::getInstance()->getHwProtoc("studio", true);
    out << (multiScreen ? "multi-screen" : "single-screen") << Qt::endl;
    //! [expected]

    //! [silent]
    QLoggingCategory::setFilterRules("tessel.http.warning=false");
    HWInfo::getInstance()->getHwProtoc("studio", true);
    //! [silent]
    qInstallMessageHandler(nullptr);
    return 0;
}
