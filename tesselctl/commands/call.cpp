// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/devicerun.h"
#include "tesselctl/operations/arguments.h"
#include "tesselctl/operations/referencetext.h"
#include "tesselctl/requests/callobserver.h"
#include "tesselctl/requests/dryrun.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include "tesselctl/terminal/terminal.h"
#include <operations/operationlist.h>
#include <operations/reference.h>

#include <tessel/hwinfo.h>

#include <QRegularExpression>

#include <algorithm>

namespace TesselCtl {

using Tessel::Operations::allOperations;
using Tessel::Operations::CallResult;
using Tessel::Operations::findOperation;
using Tessel::Operations::Lookup;
using Tessel::Operations::referenceNames;
using Tessel::Operations::referenceOf;

namespace {

const char* const footer = R"(
Give the arguments in the order of the operation's signature, or by name as name=value; "tesselctl ops" lists both.
Write objects and arrays as JSON. Wherever JSON or bytes are expected, @FILE reads them from a file and - reads them
from standard input. The device is not an argument; it comes from --device.

In the object with the parts of a form, a text "@FILE" sends that file; write "@@..." for a text that begins with an @.
Other texts are sent as they are, all other values as JSON.

After an operation, --help prints what is known of it: what it sends and gets, time limits, caches and signals.

The arguments select the overload; NAME#2 selects the second one that "tesselctl ops" lists. The call waits for the
reply even where the operation itself does not. Before an operation of ScreenInfo or HwScreenInfo the device is asked
which protocol it speaks, because their paths depend on it.

An operation without a result prints ok, or true with --json. With several devices, --json prints one object with the
result of each device, or null where the call failed; --output json prints the same for one and for many. SIGINT and
SIGTERM interrupt the call; the exit code is then 130 or 143.

Examples:
  tesselctl --device 192.168.0.10 call Capability::getAllChipType
  tesselctl --device 192.168.0.10 call sendParameters body=@parameters.json
  tesselctl --device 192.168.0.10 call setSinglePrestoreImage id=3 parts='{"image":"@picture.png"}'
  echo '{"cabinetId":1}' | tesselctl --device 192.168.0.10 call getParameters -)";

struct Options
{
    QString operation;
    QStringList arguments;
};

// One output is the result; several are a map by their names; without any the result is true.
QVariant resultOf(const Operation& operation, const QVariantList& outputs)
{
    const std::vector<QString> names = operation.outputNames();
    if (outputs.isEmpty()) {
        return true;
    }
    if (outputs.size() == 1) {
        return outputs.first();
    }
    QVariantMap named;
    for (int i = 0; i < outputs.size(); ++i) {
        const auto index = static_cast<std::size_t>(i);
        named.insert(index < names.size() ? names[index] : QStringLiteral("value"), outputs[i]);
    }
    return named;
}

QString textOf(const QVariant& result)
{
    return result.userType() == QMetaType::Bool && result.toBool() ? QStringLiteral("ok\n")
                                                                   : humanText(result, tableWidth());
}

/// Calls on a device and waits for all that belongs to it.
Outcome callOn(const QString& device, const BoundCall& call, CallResult& called)
{
    QVariantList values = call.values;
    if (call.operation->takesDevice()) {
        values[0] = device;
    }
    CallObserver exchanges;
    const CallObserver::Scope scope = exchanges.collect();
    called = call.operation->invoke(values);
    exchanges.waitForAll();
    Outcome outcome = exchanges.outcome(called.succeeded);
    if (outcome.code == Failed && !called.error.isEmpty()) {
        outcome.error = printable(called.error);
    }
    return outcome;
}

/// Whether @p operation changes nothing on a device, so that it may be called again.
bool isRead(const Operation& operation)
{
    const QStringList names = referenceNames(allOperations());
    const ReferenceEntry* const entry =
        referenceOf(names[static_cast<int>(&operation - allOperations().data())]);
    return entry && std::all_of(entry->requests.begin(), entry->requests.end(),
                                [](const auto& request) { return request.verb == QLatin1String("GET"); });
}

/// Whether what @p operation does to a device cannot be undone by writing again what was there.
bool cannotBeUndone(const Operation& operation)
{
    static const QRegularExpression lasting(
        QStringLiteral("^(?!.*/hwscreen/).*/(?:(?:clear|save|reset)\\w*|rvupdateload|hw/update)$"));
    const QStringList names = referenceNames(allOperations());
    const ReferenceEntry* const entry =
        referenceOf(names[static_cast<int>(&operation - allOperations().data())]);
    return entry && std::any_of(entry->requests.begin(), entry->requests.end(), [](const auto& request) {
               return request.verb != QLatin1String("GET") && lasting.match(request.path).hasMatch();
           });
}

ExitCode runCall(const Settings& settings, const Options& options, Console& console)
{
    const Lookup found = findOperation(allOperations(), options.operation);
    if (found.operations.empty()) {
        console.error(printable(found.error));
        return Usage;
    }
    ArgumentFiles files;
    const Expected<BoundCall> call = bindArguments(found.operations, options.arguments, files);
    if (!call) {
        console.error(call.error());
        return Usage;
    }
    DeviceRun run(settings, console);
    const bool several = run.devices().size() > 1;
    if (!run.devices().empty() && cannotBeUndone(*call->operation) &&
        !run.mayDo(QStringLiteral("Call ") + call->operation->name)) {
        return Failed;
    }
    DeviceRun::Kind kind;
    kind.isRead = isRead(*call->operation);
    kind.isBareAlone = true;
    return run.forEach(
        [&](const QString& device) -> DeviceRun::Result {
            CallResult called;
            if (call->operation->choosesByProtocol()) {
                HWInfo::getInstance()->getHwProtoc(device, true);
            }
            if (settings.dryRun && !kind.isRead) {
                const DryRun dryRun;
                const Outcome outcome = callOn(device, *call, called);
                const QString text = unsentText(dryRun.writes());
                return {outcome, dryRun.writes(), several ? text : text.mid(2)};
            }
            const Outcome outcome = callOn(device, *call, called);
            // An operation that does not wait succeeds even when no reply comes.
            if (!called.succeeded || (outcome.code != Done && outcome.code != Refused)) {
                return {outcome, {}, {}};
            }
            const QVariant result = resultOf(*call->operation, called.outputs);
            return {outcome, result, (several ? QStringLiteral(":\n") : QString()) + textOf(result)};
        },
        kind);
}

/// What the reference says of the operation that comes first, all its overloads; empty if there is none.
QString helpOf(const QStringList& arguments)
{
    QString text;
    const Lookup found = findOperation(allOperations(), arguments.value(0));
    const QStringList names = referenceNames(allOperations());
    for (const Operation* const operation : found.operations) {
        const QString& name = names[static_cast<int>(operation - allOperations().data())];
        const ReferenceEntry* const entry = referenceOf(name);
        const QString parameters = operation->usage().mid(operation->qualifiedName().size());
        text += (text.isEmpty() ? QString() : QStringLiteral("\n")) +
                QStringLiteral("tesselctl --device DEVICE call %1%2\n%3")
                    .arg(name, parameters, entry ? referenceText(*entry) : QString());
    }
    return text;
}

} // namespace

void addCall(CommandParser& parser)
{
    const auto options = std::make_shared<Options>();
    CommandParser call = parser.addCommand("call", QStringLiteral("call an operation on every device"));
    call.add("OPERATION", options->operation,
             QStringLiteral("Class::operation, or only the operation if its name is unique"))
        .required();
    call.add("ARGUMENTS", options->arguments, QStringLiteral("its arguments, as value or name=value"))
        .placeholder("");
    call.setFooter(QString::fromUtf8(footer));
    call.setRun([options](const Settings& settings, Console& console) {
        return runCall(settings, *options, console);
    });
    call.setHelp(helpOf);
}

} // namespace TesselCtl
