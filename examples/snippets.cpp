// SPDX-License-Identifier: MIT
//
// One call of each class, as the documentation of the headers shows it. Prints what failed, and ends with 1
// if a call that should succeed did not.
#include "devices.h"

#include <communicator/calloutcome.h>
#include <tessel/algorithm.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/capability.h>
#include <tessel/correctionop.h>
#include <tessel/debuginfo.h>
#include <tessel/factoryop.h>
#include <tessel/hwinfo.h>
#include <tessel/hwscreeninfo.h>
#include <tessel/inputinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/rvcarddisplayeffect.h>
#include <tessel/screeninfo.h>

#include <QTextStream>

#include <algorithm>
#include <utility>

using Krelm::Communicator::HttpDevice::OperationOutcome;

namespace {

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

bool algorithm(const QString& wall)
{
    //! [Algorithm]
    QMap<QString, QVariant> result;
    const bool answered = Algorithm::getInstance()->getRGBLight(wall, {{"brightness", "600"}}, result);
    if (!answered) {
        out() << OperationOutcome::last().text() << '\n'; // always, because there is no route
    }
    //! [Algorithm]
    return !answered;
}

bool cabinets(const QString& wall)
{
    //! [CabinetInfoOperator]
    QList<QVariant> cabinets;
    const bool answered = CabinetInfoOperator::getInstance()->getAllCabinetsInfo(wall, cabinets, false);
    for (const QVariant& cabinet : std::as_const(cabinets)) {
        out() << cabinet.toMap()["id"].toString() << " at " << cabinet.toMap()["position.x"].toInt() << '\n';
    }
    //! [CabinetInfoOperator]
    return answered && !cabinets.isEmpty();
}

bool capability(const QString& wall)
{
    //! [Capability]
    QList<QVariant> chips;
    const bool answered = Capability::getInstance()->getAllChipType(wall, chips);
    for (const QVariant& chip : std::as_const(chips)) {
        out() << chip.toMap()["name"].toString() << '\n';
    }
    //! [Capability]
    return answered && !chips.isEmpty();
}

bool correction(const QString& wall)
{
    //! [Correctionop]
    const QList<QVariant> table{QVariantMap{{"module", 0}, {"coefficient", "AAEC"}}};
    QMap<QString, QVariant> reply;
    Correctionop* const correction = Correctionop::getInstance();
    const bool stored = correction->uploadCoefficient(wall, "1", table, reply) &&
                        correction->saveCabinetsCoeffcient(wall, {{"ids", QVariantList{"1"}}}, reply);
    //! [Correctionop]
    return stored;
}

bool selfTest(const QString& wall)
{
    //! [DebugInfo]
    QList<QVariant> parameters;
    const bool answered = DebugInfo::getInstance()->getParameters(wall, {{"cabinetId", 1}}, parameters);
    //! [DebugInfo]
    return answered;
}

bool factory(const QString& wall)
{
    //! [FactoryOp]
    QMap<QString, QVariant> module;
    if (FactoryOp::getInstance()->getModuleInfo(wall, "1", module)) {
        out() << module["width"].toInt() << " x " << module["height"].toInt() << '\n';
    }
    //! [FactoryOp]
    return !module.isEmpty();
}

bool device(const QString& wall)
{
    //! [HWInfo]
    QMap<QString, QVariant> info;
    if (HWInfo::getInstance()->getHWInfo(wall, info, false)) {
        out() << info["customName"].toString() << ", " << info["capability.maxScreens"].toInt()
              << " screens at most\n";
    }
    //! [HWInfo]
    return !info.isEmpty();
}

bool drawing(const QString& wall)
{
    //! [HwScreenInfo]
    QMap<QString, QVariant> reply;
    HWInfo::getInstance()->getHwProtoc(wall, true); // once for each device
    const bool cleared = HwScreenInfo::getInstance()->setCorrectClearImage(wall, reply);
    //! [HwScreenInfo]
    return cleared;
}

bool inputs(const QString& wall)
{
    //! [InputInfo]
    QList<QVariant> inputs;
    QStringList ids;
    if (InputInfo::getInstance()->getAllInputsInfo(wall, inputs, false)) {
        for (const QVariant& input : std::as_const(inputs)) {
            ids << input.toMap()["id"].toString();
        }
    }
    QList<QVariant> replies;
    // Never with an empty list: the call would not return.
    const bool set = !ids.isEmpty() && InputInfo::getInstance()->setHue(wall, ids, {{"hue", 0}}, replies);
    //! [InputInfo]
    return set;
}

bool monitoring(const QString& wall)
{
    //! [MonitorInfo]
    QMap<QString, QVariant> state;
    if (UrlResource::MonitorInfo::getInstance()->getMonitorState(wall, state)) {
        out() << state["offlineCabinets"].toInt() << " cabinets are offline\n";
    }
    //! [MonitorInfo]
    return !state.isEmpty();
}

bool outputs(const QString& wall)
{
    //! [OutputInfoOperator]
    QList<QVariant> outputs;
    const bool answered = OutputInfoOperator::getInstance()->getAllOutputsInfo(wall, outputs, false);
    //! [OutputInfoOperator]
    return answered && !outputs.isEmpty();
}

bool pipelines(const QString& wall)
{
    //! [PipeInfo]
    QMap<QString, QVariant> pipeline;
    if (PipeInfo::getInstance()->getDeviceOnePipe(wall, "1", pipeline)) {
        out() << pipeline["name"].toString() << " shows input " << pipeline["inputId"].toInt() << '\n';
    }
    //! [PipeInfo]
    return !pipeline.isEmpty();
}

bool displayEffect(const QString& wall)
{
    //! [RvCardDisplayEffect]
    QMap<QString, QVariant> gain;
    const bool answered = RvCardDisplayEffect::getInstance()->getDisplayGainData(wall, "1", gain);
    //! [RvCardDisplayEffect]
    return answered;
}

bool screens(const QString& wall)
{
    //! [ScreenInfo]
    // Once for each device, before all else. The multi-screen protocol is sent the value divided by 255.
    const bool multiScreen = HWInfo::getInstance()->getHwProtoc(wall, true);
    const int percent = 80;
    QMap<QString, QVariant> body;
    const bool started =
        ScreenInfo::getInstance()->setBrightness(wall, "1", body, multiScreen ? percent * 255 : percent);

    QMap<QString, QVariant> brightness;
    const bool answered = ScreenInfo::getInstance()->getBrightness(wall, "1", brightness, true);
    //! [ScreenInfo]
    return started && answered;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;
    const QString wall = devices.addresses.first();

    const auto calls = {algorithm, cabinets, capability, correction, selfTest,  factory,       device,
                        drawing,   inputs,   monitoring, outputs,    pipelines, displayEffect, screens};
    const bool allWell = std::all_of(calls.begin(), calls.end(), [&wall](const auto& call) {
        const bool well = call(wall);
        if (!well) {
            out() << OperationOutcome::last().text() << '\n';
        }
        return well;
    });
    return allWell ? 0 : 1;
}
