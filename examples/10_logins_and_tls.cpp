// SPDX-License-Identifier: MIT
//
// Devices with logins, one of them over TLS. The keys are names of the application's own choice.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <tessel/hwinfo.h>

#include <QLoggingCategory>
#include <QTextStream>

using namespace Krelm::Communicator::HttpDevice;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Tessel::Simulator::Options options;
    options.login = Tessel::Simulator::Login::Bearer;
    options.secret = "token-of-the-arena";
    options.tls = true;
    options.customName = "Arena";
    Tessel::Simulator::Simulator arena(options);
    options = {};
    options.login = Tessel::Simulator::Login::Digest;
    options.user = "operator";
    options.secret = "stage-door";
    options.customName = "Stage";
    Tessel::Simulator::Simulator stage(options);
    if (!arena.start() || !stage.start()) {
        return 1;
    }
    const QString arenaAddress = arena.baseUrl();
    const QString stageAddress = stage.address();
    const QString keyOfTheArena = arena.pinnedKey();
    QLoggingCategory::setFilterRules("tessel.http=false");
    QTextStream out(stdout);

    //! [tls]
    HttpProxy* const proxy = HttpProxy::getInstance();
    DeviceEndpoint first;
    first.address = arenaAddress; // begins with https://
    first.login = DeviceEndpoint::Login::Bearer;
    first.secret = "token-of-the-arena";
    first.pinnedKey = keyOfTheArena; // sha256//..., as the device's label or its installer says
    first.requireTls = true;
    const bool arenaAdded = proxy->addDevice("arena", first);
    //! [tls]

    //! [digest]
    DeviceEndpoint second;
    second.address = stageAddress;
    second.login = DeviceEndpoint::Login::Digest;
    second.user = "operator";
    second.secret = "stage-door";
    const bool stageAdded = proxy->addDevice("stage", second);
    //! [digest]

    //! [refused]
    second.secret = "stage-dor";
    proxy->addDevice("misspelt", second);
    const QStringList walls = proxy->devices();
    for (const QString& wall : walls) {
        QMap<QString, QVariant> info;
        if (HWInfo::getInstance()->getHWInfo(wall, info, true)) {
            out << wall << ": " << info["customName"].toString() << '\n';
        } else {
            out << wall << ": " << OperationOutcome::last().text() << '\n';
        }
    }
    //! [refused]
    return arenaAdded && stageAdded ? 0 : 1;
}
