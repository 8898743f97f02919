// SPDX-License-Identifier: MIT
//
// What failed and why, after a false, after a write that was refused, and after a rejected promise.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <tessel/hwinfo.h>

#include <QLoggingCategory>
#include <QTextStream>
#include <QtPromise>

using namespace Krelm::Communicator::HttpDevice;
using Tessel::Simulator::Fault;

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    Tessel::Simulator::Simulator simulator;
    if (!simulator.start()) {
        return 1;
    }
    DeviceEndpoint endpoint;
    endpoint.address = simulator.address();
    HttpProxy::getInstance()->addDevice("stage", endpoint);
    // Each failure is printed here; the log need not repeat it.
    QLoggingCategory::setFilterRules("tessel.http=false");
    QTextStream out(stdout);

    //! [false]
    QMap<QString, QVariant> progress;
    const auto read = [&out, &progress](const QString& wall) {
        if (!HWInfo::getInstance()->getHWInfoUpdateProgress(wall, progress)) {
            out << OperationOutcome::last().text() << '\n';
        }
    };
    //! [false]

    read("stag"); // a misspelt name

    Fault busy;
    busy.status = 503;
    simulator.addFault(busy);
    read("stage");

    Fault silent;
    silent.cut = Fault::Cut::Stall;
    simulator.addFault(silent);
    read("stage"); // 3 s, the time limit of this operation

    simulator.logoutDevice();
    read("stage");
    simulator.loginDevice();

    //! [refused]
    Fault refusal;
    refusal.code = 3;
    simulator.addFault(refusal);
    QMap<QString, QVariant> reply;
    const bool answered = HWInfo::getInstance()->putHWInfoRename("stage", {{"customName", "Foyer"}}, reply);
    const OperationOutcome outcome = OperationOutcome::last();
    if (answered && outcome.hasFailed()) {
        out << "answered, but refused with code " << outcome.exchanges().last().code << '\n';
    }
    //! [refused]

    //! [kinds]
    for (const ExchangeOutcome& exchange : outcome.exchanges()) {
        if (exchange.state == IHttpVersionTrigger::Success && exchange.code != 0) {
            out << "the device refused it; do not try again\n";
        } else if (exchange.state != IHttpVersionTrigger::Success) {
            out << "no answer; the device may have done it or not\n";
        }
    }
    //! [kinds]

    //! [promise]
    Fault broken;
    broken.status = 500;
    simulator.addFault(broken);
    const auto info = HWInfo::getInstance()->getHWInfo2("stage");
    info.fail([&out, why = OperationOutcome::last()] {
            out << "rejected: " << why.text() << '\n';
            return Tessel::DeviceInfo();
        })
        .wait();
    //! [promise]
    return 0;
}
