// SPDX-License-Identifier: MIT
#include "tesselctl/commands/commands.h"

#include "tesselctl/commands/commandrun.h"
#include "tesselctl/operations/arguments.h"
#include "tesselctl/operations/referencetext.h"
#include "tesselctl/requests/callobserver.h"
#include "tesselctl/terminal/interruption.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"
#include <operations/operationlist.h>
#include <operations/reference.h>

#include <tessel/hwinfo.h>

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
result of each device, or null where the call failed. SIGINT and SIGTERM interrupt the call; the exit code is then 130
or 143.

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
                                                                   : humanText(result);
}

class Caller
{
public:
    Caller(const Settings& settings, const BoundCall& call, const Interruption& interruption,
           Console& console)
        : m_settings(settings)
        , m_call(call)
        , m_interruption(interruption)
        , m_console(console)
    {}

    /// Calls on the device and prints, or keeps for the JSON of several devices. @p label: the device is one
    /// of several, and its name precedes its output.
    void callOn(const QString& device, bool label)
    {
        if (m_call.operation->choosesByProtocol()) {
            HWInfo::getInstance()->getHwProtoc(device, true);
        }
        CallResult called;
        Outcome outcome = m_interruption.happened() ? Outcome{Failed, {}} : call(device, called);
        if (outcome.code != Done && m_interruption.happened()) {
            m_exitCode = static_cast<ExitCode>(128 + m_interruption.signal());
            outcome = {m_exitCode, QStringLiteral("interrupted")};
        }
        // An operation that does not wait succeeds even when no reply comes.
        const bool answered = called.succeeded && (outcome.code == Done || outcome.code == Refused);
        const QVariant result = answered ? resultOf(*m_call.operation, called.outputs) : QVariant();
        m_results.insert(device, result);

        if (answered && !m_settings.json) {
            m_console.out((label ? printable(device) + QStringLiteral(":\n") : QString()) + textOf(result));
        } else if (answered && !label) {
            m_console.out(QString::fromUtf8(toJson(result, true)) + QLatin1Char('\n'));
        }
        if (outcome.code != Done) {
            m_console.error(QStringLiteral("%1: %2").arg(printable(device), outcome.error));
        }
        if (m_exitCode == Done) {
            m_exitCode = outcome.code;
        }
    }

    void printAll()
    {
        if (m_settings.json) {
            m_console.out(QString::fromUtf8(toJson(m_results, true)) + QLatin1Char('\n'));
        }
    }

    ExitCode exitCode() const { return m_exitCode; }

private:
    Outcome call(const QString& device, CallResult& called)
    {
        QVariantList values = m_call.values;
        if (m_call.operation->takesDevice()) {
            values[0] = device;
        }
        CallObserver exchanges;
        const CallObserver::Scope scope = exchanges.collect();
        called = m_call.operation->invoke(values);
        exchanges.waitForAll();
        Outcome outcome = exchanges.outcome(called.succeeded);
        if (outcome.code == Failed && !called.error.isEmpty()) {
            outcome.error = printable(called.error);
        }
        return outcome;
    }

    const Settings& m_settings;
    const BoundCall& m_call;
    const Interruption& m_interruption;
    Console& m_console;
    QVariantMap m_results; ///< by device, null where the call failed
    ExitCode m_exitCode = Done;
};

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
    CommandRun run(settings, console, forgetDevices);
    if (!run.addDevices()) {
        return Usage;
    }

    Caller caller(settings, *call, run.interruption(), console);
    const bool several = run.devices().size() > 1;
    for (const Device& device : run.devices()) {
        caller.callOn(device.name, several);
    }
    if (several) {
        caller.printAll();
    }
    return caller.exitCode();
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
