// SPDX-License-Identifier: MIT
//
// A test of an application's own function against the simulated controller.
#include <communicator/calloutcome.h>
#include <simulator/simulator.h>
#include <tessel/hwinfo.h>

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTextStream>

using Krelm::Communicator::HttpDevice::OperationOutcome;
using Tessel::Simulator::Fault;
using Tessel::Simulator::Options;
using Tessel::Simulator::Simulator;

namespace {

//! [subject]
/// The function of the application: whether the wall has the name now.
bool renameWall(const QString& wall, const QString& name)
{
    QMap<QString, QVariant> reply;
    return HWInfo::getInstance()->putHWInfoRename(wall, {{"customName", name}}, reply) &&
           !OperationOutcome::last().hasFailed();
}
//! [subject]

int failures = 0;

void check(bool holds, const char* what)
{
    QTextStream(stdout) << (holds ? "ok    " : "FAIL  ") << what << '\n';
    failures += holds ? 0 : 1;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QLoggingCategory::setFilterRules("tessel.http=false");

    //! [simulator]
    Options options;
    options.strict = true;   // a misspelt member of a body is refused
    Simulator wall(options); // a free port; every test can have its own
    if (!wall.start()) {
        qFatal("%s", qPrintable(wall.errorString()));
    }
    //! [simulator]

    //! [value]
    check(renameWall(wall.address(), "Foyer"), "a wall is renamed");
    check(wall.value("/api/v1/device/hw").contains("Foyer"), "the controller has the name");
    check(wall.requestCount("/api/v1/device/hw/customname") == 1, "with one request");
    //! [value]

    //! [fault]
    Fault refusal;
    refusal.path = "/api/v1/device/hw/customname";
    refusal.code = 3;
    wall.addFault(refusal);
    check(!renameWall(wall.address(), "Stage"), "a refusal is noticed");

    Fault broken;
    broken.cut = Fault::Cut::Close;
    wall.addFault(broken);
    check(!renameWall(wall.address(), "Stage"), "a broken connection is noticed");
    //! [fault]
    return failures == 0 ? 0 : 1;
}
