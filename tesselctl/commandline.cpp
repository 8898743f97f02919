// SPDX-License-Identifier: MIT
#include "tesselctl/commandline.h"

#include "tesselctl/commands/commands.h"
#include "tesselctl/terminal/console.h"
#include "tesselctl/terminal/printable.h"
#include <operations/suggestion.h>

#include <CLI/CLI.hpp>

#include <QCoreApplication>
#include <QLoggingCategory>

#include <algorithm>
#include <csignal>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace TesselCtl {

using Tessel::Operations::didYouMean;

namespace {

const char* const footer = R"(
Examples:
  tesselctl demo
  tesselctl --device 192.168.0.10 call getAllChipType
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 --json call getRowDecodeType
  tesselctl --device wall=192.168.0.10 --trace call DebugInfo::getParameters body='{"cabinetId":1}'
  tesselctl --device https://wall.local --login digest --user admin --secret-file pw call getAllChipType
  tesselctl --device wall=192.168.0.10 watch --json | jq .payload

Data goes to standard output, everything else to standard error. Colour is for terminals alone, and the environment
variable NO_COLOR turns it off. Passwords and tokens are read from an environment variable, a file or the terminal,
never from the command line.

Exit codes:
  0  done
  1  failed for a reason that no other code names
  2  the command line is wrong; nothing was sent
  3  no connection to the device, or it ended early
  4  the device did not answer in time
  5  the device refused: an HTTP status other than 2xx, a code other than 0 in its reply, or no JSON
With several devices: the code of the first that failed.)";

const char* const callFooter = R"(
Arguments stand in the order of the operation's signature or carry its names, name=value. "tesselctl ops"
lists both. Objects and arrays are written as JSON; instead of JSON or bytes @FILE takes them from a file, - from
standard input. The device is no argument, it comes from --device.

In the object of a form's parts a text "@FILE" is a file to send, "@@..." a text that begins with an @; other texts
go as they are, everything else as JSON.

Overloads are told apart by their arguments; NAME#2 is the second one of "tesselctl ops". Operations that do
not wait for the device are waited for. Before an operation of ScreenInfo or HwScreenInfo the device is asked
which protocol it speaks, since their paths depend on it.

An operation without a result prints ok, with --json true. With several devices --json prints one object with the
results by device, null where the call failed.

Examples:
  tesselctl --device 192.168.0.10 call Capability::getAllChipType
  tesselctl --device 192.168.0.10 call sendParameters body=@parameters.json
  tesselctl --device 192.168.0.10 call setSinglePrestoreImage id=3 parts='{"image":"@picture.png"}'
  echo '{"cabinetId":1}' | tesselctl --device 192.168.0.10 call getParameters -)";

const char* const watchFooter = R"(
One line per event: time, device, payload. One line per signal that an operator of the library raises: time, device
where the signal tells it, Class::signal, its other arguments. With --json one object per line with time, kind
(event, signal, logout or devices), device, payload and, of a signal, its name. SIGINT and SIGTERM end it with exit
code 0. What the event streams do goes to standard error.

Examples:
  tesselctl --device 192.168.0.10 watch
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 --json watch --seconds 60 | jq .payload)";

const char* const monitorFooter = R"(
On a terminal a table that stays in its place, elsewhere a line per reading: time, device, fans, temperature,
voltage and, as ranges, what its parts measure. Warnings that a device pushes stand above the table, with a bell,
or are lines of their own. With --json one object per line with time, kind (reading or warning), device and data
or payload. SIGINT and SIGTERM end it with exit code 0; after --count it ends with the code of the first device
whose last reading failed.

Examples:
  tesselctl --device 192.168.0.10 monitor
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 monitor --interval 10
  tesselctl --device wall=192.168.0.10 --json monitor --count 1 | jq .data.temperature)";

const char* const coefficientsFooter = R"(
Examples:
  tesselctl --device 192.168.0.10 coefficients upload tables/ --kind multilayer
  tesselctl --device 192.168.0.10 coefficients upload tables/ --cabinets 3,7
  tesselctl --device 192.168.0.10 coefficients download tables/ --kind multilayer --cabinets 3,7
  tesselctl --device 192.168.0.10 coefficients save --cabinets 3,7
  tesselctl --device 192.168.0.10 coefficients clear --cabinets 3,7 --kind lowgray)";

const char* const uploadFooter = R"(
PATH is a directory with a file CABINET.json for each cabinet, which holds one JSON array; or a file with a JSON
object of cabinet and array; or a file with one JSON array, which goes to the device as it is. All files are
tested before anything is sent.

Plain and multilayer tables go cabinet by cabinet. Adaptive, dynamic and lowgray ones go as one list, the tables
of all cabinets one after the other, because the device's paths for them name no cabinet.

A device that cannot be reached three times in a row gets no further tables. Cabinets that failed are told at the
end, with the command that uploads just those; after SIGINT or SIGTERM too.

Examples:
  tesselctl --device 192.168.0.10 coefficients upload tables/
  tesselctl --device 192.168.0.10 coefficients upload wall.json --kind multilayer --parallel 8
  tesselctl --device wall=192.168.0.10 --json coefficients upload wall.json | jq .wall.failed)";

const char* const downloadFooter = R"(
PATH is a directory, which ends in a slash or is there, and gets a file CABINET.json for each cabinet; or a file,
which gets a JSON object of cabinet and table, and only when all could be read. What "upload" reads is what
"download" writes. SIGINT and SIGTERM end it with exit code 1; a file is written whole or stays as it was.

Plain tables come as one list of the whole device, into a file. Multilayer and adaptive ones come by cabinet and
need --cabinets. Devices do not give the other kinds back.

Examples:
  tesselctl --device 192.168.0.10 coefficients download wall.json
  tesselctl --device 192.168.0.10 coefficients download tables/ --kind multilayer --cabinets 3,7)";

const char* const firmwareFooter = R"(
Examples:
  tesselctl --device 192.168.0.10 firmware update card.bin
  tesselctl --device 192.168.0.10 firmware update controller.bin --controller
  tesselctl --device 192.168.0.10 firmware progress
  tesselctl --device 192.168.0.10 firmware download card.bin --id 3 --type 1)";

const char* const updateFooter = R"(
Sends the firmware of the receiving cards, has the cards load it and waits until the device tells that the update
is done. Several devices are updated one after the other. What the parts of the form are called is between you and
the device: the file's is --part, --field adds others; the request to load carries the file's name under --part
and the same fields. SIGINT and SIGTERM end it with exit code 1; what the device has, it keeps.

Examples:
  tesselctl --device 192.168.0.10 firmware update card.bin
  tesselctl --device 192.168.0.10 firmware update card.bin --part firmware --field type=1
  tesselctl --device 192.168.0.10 firmware update controller.bin --controller)";

const char* const progressFooter = R"(
Without --follow the device's reply is printed. With it the progress is shown until the update ended: exit code 0
when it is done, 1 when it failed, the device tells no progress or a signal came, 4 when it got no further for two
minutes.

Examples:
  tesselctl --device 192.168.0.10 firmware progress --controller
  tesselctl --device 192.168.0.10 firmware progress --follow)";

const char* const firmwareDownloadFooter = R"(
The file gets its name when it is whole. After a failure, SIGINT or SIGTERM an earlier one is as it was, and
nothing else is left behind.

Examples:
  tesselctl --device 192.168.0.10 firmware download card.bin --id 3 --type 1)";

// CLI11 splits arguments in brackets at their commas and takes negative numbers for options; a mark in front
// keeps them as they are until takeText() removes it.
const char mark = '\x1f';

std::string marked(const std::string& argument)
{
    const bool list = !argument.empty() && argument.front() == '[';
    const bool negative =
        argument.size() > 1 && argument[0] == '-' && argument[1] >= '0' && argument[1] <= '9';
    return list || negative ? mark + argument : argument;
}

QString takeText(const std::string& argument)
{
    const QString text = QString::fromStdString(argument);
    return text.startsWith(QLatin1Char(mark)) ? text.mid(1) : text;
}

QStringList takeTexts(const std::vector<std::string>& arguments)
{
    QStringList texts;
    for (const std::string& argument : arguments) {
        texts << takeText(argument);
    }
    return texts;
}

/// The words of the command line.
struct ParsedOptions
{
    std::vector<std::string> devices;
    std::string login;
    std::string user;
    std::string secretVariable;
    std::string secretFile;
    std::string caFile;
    std::string pinnedKey;
    bool insecure = false;
    bool json = false;
    bool trace = false;
    std::string operation;
    std::vector<std::string> arguments;
    std::string filter;
    int count = 0;
    int seconds = 0;
    double interval = 2;
    std::string path;
    std::string kind = "plain";
    std::string cabinets;
    int parallel = 4;
    std::string part = "file";
    std::vector<std::string> fields;
    std::string id;
    int type = 0;
    bool controller = false;
    bool uploadOnly = false;
    bool follow = false;
};

Settings settingsOf(const ParsedOptions& options)
{
    Settings settings;
    settings.devices.devices = takeTexts(options.devices);
    settings.devices.login = takeText(options.login);
    settings.devices.user = takeText(options.user);
    settings.devices.secretVariable = takeText(options.secretVariable);
    settings.devices.secretFile = takeText(options.secretFile);
    settings.devices.caFile = takeText(options.caFile);
    settings.devices.pinnedKey = takeText(options.pinnedKey);
    settings.devices.insecure = options.insecure;
    settings.json = options.json;
    settings.trace = options.trace;
    return settings;
}

std::vector<std::string> toTexts(const QStringList& names)
{
    std::vector<std::string> texts;
    for (const QString& name : names) {
        texts.push_back(name.toStdString());
    }
    return texts;
}

// "a, b or c"
std::string alternatives(QStringList names, const char* conjunction)
{
    const QString last = names.takeLast();
    const QString others = names.join(QStringLiteral(", "));
    return (others.isEmpty() ? last : others + QLatin1String(conjunction) + last).toStdString();
}

void addGlobalOptions(CLI::App& app, ParsedOptions& options)
{
    app.add_option("-d,--device", options.devices, "a device: an address, or NAME=ADDRESS; repeatable")
        ->type_name("DEVICE")
        ->allow_extra_args(false);
    app.add_flag("-j,--json", options.json, "print JSON");
    app.add_flag("-t,--trace", options.trace, "tell every exchange on standard error");

    app.add_option("--login", options.login, "how to log in: " + alternatives(loginNames(), " or "))
        ->check(CLI::IsMember(toTexts(loginNames())))
        ->type_name("KIND")
        ->group("Login");
    app.add_option("--user", options.user, "user for " + alternatives(loginNamesWithUser(), " and "))
        ->type_name("NAME")
        ->group("Login");
    CLI::Option* const variable = app.add_option("--secret-env", options.secretVariable,
                                                 "environment variable that holds password or token")
                                      ->type_name("VARIABLE")
                                      ->group("Login");
    app.add_option("--secret-file", options.secretFile, "file whose first line is password or token")
        ->type_name("FILE")
        ->excludes(variable)
        ->group("Login");

    app.add_option("--ca-file", options.caFile, "PEM file of the authorities to trust")
        ->type_name("FILE")
        ->group("TLS");
    app.add_option("--pinned-key", options.pinnedKey, "sha256//BASE64 of the device's public key")
        ->type_name("HASH")
        ->group("TLS");
    app.add_flag("--insecure", options.insecure, "accept any certificate, on a closed network only")
        ->group("TLS");
}

/// A command of the command line, and what runs it.
struct Command
{
    CLI::App* parser;
    std::function<ExitCode(const Settings&, Console&)> run;
};

Command monitorCommand(CLI::App& app, ParsedOptions& options)
{
    CLI::App* const monitor =
        app.add_subcommand("monitor", "show fans, temperatures and voltages live, and warnings");
    monitor->add_option("--interval", options.interval, "time between readings")
        ->check(CLI::Range(0.1, 86400.0))
        ->type_name("SECONDS")
        ->capture_default_str();
    monitor->add_option("--count", options.count, "end after so many readings of each device")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    monitor->footer(monitorFooter);
    return {monitor, [&options](const Settings& settings, Console& console) {
                return runMonitor(settings, static_cast<int>(options.interval * 1000), options.count,
                                  console);
            }};
}

// The names in "3,7,12", each once.
QStringList cabinetsOf(const ParsedOptions& options)
{
    QStringList cabinets = takeText(options.cabinets).split(QLatin1Char(','), Qt::SkipEmptyParts);
    cabinets.removeDuplicates();
    return cabinets;
}

void addKind(CLI::App* command, ParsedOptions& options)
{
    command->add_option("--kind", options.kind, "which coefficients")
        ->check(CLI::IsMember(toTexts(coefficientKindNames())))
        ->type_name("KIND")
        ->capture_default_str();
}

CLI::Option* addCabinets(CLI::App* command, ParsedOptions& options, const char* description)
{
    return command->add_option("--cabinets", options.cabinets, description)->type_name("ID,ID...");
}

std::vector<Command> coefficientCommands(CLI::App& app, ParsedOptions& options)
{
    CLI::App* const coefficients =
        app.add_subcommand("coefficients", "upload, download, save and clear coefficients");
    coefficients->require_subcommand(1);
    coefficients->footer("\nKinds: " + coefficientKindNames().join(QStringLiteral(", ")).toStdString() +
                         ".\n" + coefficientsFooter);

    CLI::App* const upload = coefficients->add_subcommand("upload", "upload tables from files");
    upload->add_option("PATH", options.path, "file or directory")->required()->type_name("");
    addKind(upload, options);
    addCabinets(upload, options, "only these; otherwise all that are there");
    upload->add_option("--parallel", options.parallel, "requests under way at once")
        ->check(CLI::Range(1, 16))
        ->type_name("N")
        ->capture_default_str();
    upload->footer(uploadFooter);

    CLI::App* const download = coefficients->add_subcommand("download", "write tables into files");
    download->add_option("PATH", options.path, "file or directory")->required()->type_name("");
    addKind(download, options);
    addCabinets(download, options, "those to read");
    download->footer(downloadFooter);

    CLI::App* const save =
        coefficients->add_subcommand("save", "have cabinets keep what they show; takes minutes");
    addKind(save, options);
    addCabinets(save, options, "those that save")->required();
    save->footer("\nExamples:\n  tesselctl --device 192.168.0.10 coefficients save --cabinets 3,7");

    CLI::App* const clear = coefficients->add_subcommand("clear", "have cabinets drop their coefficients");
    addKind(clear, options);
    addCabinets(clear, options, "those that clear")->required();
    clear->footer("\nExamples:\n  tesselctl --device 192.168.0.10 coefficients clear --cabinets 3,7");

    return {
        {upload,
         [&options](const Settings& settings, Console& console) {
             const CoefficientUpload what{takeText(options.path), takeText(options.kind), cabinetsOf(options),
                                          options.parallel};
             return runCoefficientUpload(settings, what, console);
         }},
        {download,
         [&options](const Settings& settings, Console& console) {
             return runCoefficientDownload(settings, takeText(options.path), takeText(options.kind),
                                           cabinetsOf(options), console);
         }},
        {save,
         [&options](const Settings& settings, Console& console) {
             return runCoefficientSave(settings, takeText(options.kind), cabinetsOf(options), console);
         }},
        {clear,
         [&options](const Settings& settings, Console& console) {
             return runCoefficientClear(settings, takeText(options.kind), cabinetsOf(options), console);
         }},
    };
}

std::vector<Command> firmwareCommands(CLI::App& app, ParsedOptions& options)
{
    CLI::App* const firmware =
        app.add_subcommand("firmware", "update and read the firmware of receiving cards and controllers");
    firmware->require_subcommand(1);
    firmware->footer(firmwareFooter);

    CLI::App* const update = firmware->add_subcommand("update", "send firmware and wait until it is in use");
    update->add_option("FILE", options.path, "the firmware")->required()->type_name("");
    update->add_flag("--controller", options.controller, "for the controller, not for its receiving cards");
    update->add_option("--part", options.part, "name of the file's part in the form")
        ->type_name("NAME")
        ->capture_default_str();
    update->add_option("--field", options.fields, "a further part of the form; repeatable")
        ->type_name("NAME=VALUE")
        ->allow_extra_args(false);
    update->add_flag("--upload-only", options.uploadOnly, "do not have the cards load it");
    update->footer(updateFooter);

    CLI::App* const progress = firmware->add_subcommand("progress", "print how far an update is");
    progress->add_flag("--controller", options.controller, "of the controller, not of its receiving cards");
    progress->add_flag("--follow", options.follow, "show it until the update ended");
    progress->footer(progressFooter);

    CLI::App* const download =
        firmware->add_subcommand("download", "read the firmware of a receiving card into a file");
    download->add_option("FILE", options.path, "where to; it stays as it was when this fails")
        ->required()
        ->type_name("");
    download->add_option("--id", options.id, "the receiving card")->required()->type_name("ID");
    download->add_option("--type", options.type, "which of its firmwares")
        ->type_name("N")
        ->capture_default_str();
    download->footer(firmwareDownloadFooter);

    return {
        {update,
         [&options](const Settings& settings, Console& console) {
             const FirmwareUpdate what{takeText(options.path), options.controller, takeText(options.part),
                                       takeTexts(options.fields), options.uploadOnly};
             return runFirmwareUpdate(settings, what, console);
         }},
        {progress,
         [&options](const Settings& settings, Console& console) {
             return options.follow ? runFirmwareFollow(settings, options.controller, console)
                                   : runFirmwareProgress(settings, options.controller, console);
         }},
        {download,
         [&options](const Settings& settings, Console& console) {
             return runFirmwareDownload(settings, takeText(options.path), takeText(options.id), options.type,
                                        console);
         }},
    };
}

std::vector<Command> addCommands(CLI::App& app, ParsedOptions& options)
{
    CLI::App* const call = app.add_subcommand("call", "call an operation on every device");
    call->add_option("OPERATION", options.operation,
                     "Class::operation, or operation where one class alone has it")
        ->required();
    call->add_option("ARGUMENTS", options.arguments, "its arguments, value or name=value")->type_name("");
    call->footer(callFooter);

    CLI::App* const ops = app.add_subcommand("ops", "list the operations: arguments, verb and path");
    ops->add_option("FILTER", options.filter, "only those that contain this");
    ops->footer("\nExamples:\n  tesselctl ops brightness\n  tesselctl --json ops | jq .");

    CLI::App* const routes = app.add_subcommand("routes", "list the device API's routes: key and path");
    routes->add_option("FILTER", options.filter, "only those that contain this");
    routes->footer("\nExamples:\n  tesselctl routes chips\n  tesselctl routes /device/cabinet");

    CLI::App* const watch =
        app.add_subcommand("watch", "print what the devices push and the signals of the operators");
    watch->add_option("--count", options.count, "end after so many events")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    watch->add_option("--seconds", options.seconds, "end after so many seconds")
        ->check(CLI::Range(1, 1'000'000))
        ->type_name("N");
    watch->footer(watchFooter);

    CLI::App* const demo =
        app.add_subcommand("demo", "show the library at work on two simulated controllers");
    demo->footer("\nIt needs no device. Exit code 0 when every step succeeded.");

    return {
        {call,
         [&options](const Settings& settings, Console& console) {
             return runCall(settings, takeText(options.operation), takeTexts(options.arguments), console);
         }},
        {ops, [&options](const Settings& settings,
                         Console& console) { return runOps(settings, takeText(options.filter), console); }},
        {routes,
         [&options](const Settings& settings, Console& console) {
             return runRoutes(settings, takeText(options.filter), console);
         }},
        {watch,
         [&options](const Settings& settings, Console& console) {
             return runWatch(settings, options.count, options.seconds, console);
         }},
        monitorCommand(app, options),
        {demo, [](const Settings& /*settings*/, Console& console) { return runDemo(console); }},
    };
}

QString unknownCommand(const CLI::App& app, const QString& word)
{
    QStringList names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App* /*command*/) { return true; })) {
        names << QString::fromStdString(command->get_name());
    }
    return QStringLiteral("\"%1\" is no command").arg(printable(word)) + didYouMean(word, names);
}

ExitCode report(const CLI::App& app, const CLI::ParseError& error, Console& console)
{
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        app.exit(error, text, text);
        console.out(QString::fromStdString(text.str()));
        return Done;
    }
    const std::vector<std::string> unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty() && unknown.front().front() != '-') {
        console.error(unknownCommand(app, takeText(unknown.front())));
    } else {
        console.error(printable(QString::fromUtf8(error.what())));
    }
    console.info(QStringLiteral("\"tesselctl --help\" tells more"));
    return Usage;
}

} // namespace

int runCommandLine(int argc, char** argv)
{
    // A reader that closes a pipe is noticed where it is written to, and a device that closes a connection
    // must not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    Console console;
    ParsedOptions options;
    CLI::App app("Drives the controllers of LED walls from the command line.", "tesselctl");
    app.set_version_flag("--version", "tesselctl " TESSEL_VERSION);
    app.set_help_flag("-h,--help", "print this and exit");
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(footer);
    addGlobalOptions(app, options);
    std::vector<Command> commands = addCommands(app, options);
    for (Command& command : coefficientCommands(app, options)) {
        commands.push_back(std::move(command));
    }
    for (Command& command : firmwareCommands(app, options)) {
        commands.push_back(std::move(command));
    }

    try {
        std::vector<std::string> arguments(argv + 1, argv + argc);
        for (std::string& argument : arguments) {
            argument = marked(argument);
        }
        std::reverse(arguments.begin(), arguments.end()); // CLI11 takes them from the end
        app.parse(arguments);
    } catch (const CLI::ParseError& error) {
        const ExitCode code = report(app, error, console);
        return console.dataLost() ? Failed : code;
    }

    int qtArgc = 1;
    const QCoreApplication application(qtArgc, argv);
    // Failures are told once, in this program's own words; QT_LOGGING_RULES brings the transport's back.
    qSetMessagePattern(QStringLiteral("tesselctl: %{message}"));
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ndefault.debug=false"));
    const Settings settings = settingsOf(options);
    if (settings.trace) {
        console.expectTrace();
    }
    ExitCode code = Failed;
    for (const Command& command : commands) {
        if (command.parser->parsed()) {
            code = command.run(settings, console);
        }
    }
    return console.dataLost() ? Failed : code;
}

} // namespace TesselCtl
