// SPDX-License-Identifier: MIT
#include "commandline.h"

#include "commands/commands.h"
#include "console.h"
#include "printable.h"
#include "suggestion.h"

#include <CLI/CLI.hpp>

#include <QCoreApplication>
#include <QLoggingCategory>

#include <algorithm>
#include <csignal>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace TesselCtl {

namespace {

const char* const footer = R"(
Examples:
  tesselctl demo
  tesselctl --device 192.168.0.10 call getAllChipType
  tesselctl --device left=192.168.0.10 --device right=192.168.0.11 --json call getRowDecodeType
  tesselctl --device wall=192.168.0.10 --trace call DebugInfo::getParameters body='{"cabinetId":1}'
  tesselctl --device https://wall.local --login digest --user admin --secret-file pw call getAllChipType
  tesselctl --device wall=192.168.0.10 watch --json | jq .payload

Data goes to standard output, everything else to standard error. Passwords and tokens are read from an
environment variable, a file or the terminal, never from the command line.

Exit codes:
  0  done
  1  failed for a reason that no other code names
  2  the command line is wrong; nothing was sent
  3  no connection to the device, or it ended early
  4  the device did not answer in time
  5  the device refused: an HTTP status other than 2xx, or a code other than 0 in its reply
With several devices: the code of the first that failed.)";

const char* const callFooter = R"(
Arguments stand in the order of the operation's signature or carry its names, name=value. "tesselctl operations"
lists both. Objects and arrays are written as JSON; instead of JSON or bytes @FILE takes them from a file, - from
standard input. The device is no argument, it comes from --device.

An operation without a result prints ok, with --json true. With several devices --json prints one object with the
results by device, null where the call failed.

Examples:
  tesselctl --device 192.168.0.10 call Capability::getAllChipType
  tesselctl --device 192.168.0.10 call sendParameters body=@parameters.json
  echo '{"cabinetId":1}' | tesselctl --device 192.168.0.10 call getParameters -)";

const char* const watchFooter = R"(
One line per event: time, device, payload. With --json one object per line with time, kind (event, logout or
devices), device and payload. SIGINT and SIGTERM end it with exit code 0. What the event streams do goes to
standard error.)";

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
    for (const std::string& argument : arguments)
        texts << takeText(argument);
    return texts;
}

/// The words of the command line.
struct Words
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
};

Settings settingsOf(const Words& words)
{
    Settings settings;
    settings.devices.devices = takeTexts(words.devices);
    settings.devices.login = takeText(words.login);
    settings.devices.user = takeText(words.user);
    settings.devices.secretVariable = takeText(words.secretVariable);
    settings.devices.secretFile = takeText(words.secretFile);
    settings.devices.caFile = takeText(words.caFile);
    settings.devices.pinnedKey = takeText(words.pinnedKey);
    settings.devices.insecure = words.insecure;
    settings.json = words.json;
    settings.trace = words.trace;
    return settings;
}

void addGlobalOptions(CLI::App& app, Words& words)
{
    app.add_option("-d,--device", words.devices, "a device: an address, or NAME=ADDRESS; repeatable")
        ->type_name("DEVICE")
        ->allow_extra_args(false);
    app.add_flag("-j,--json", words.json, "print JSON");
    app.add_flag("-t,--trace", words.trace, "tell every exchange on standard error");

    app.add_option("--login", words.login, "how to log in: basic, digest or bearer")
        ->check(CLI::IsMember({"basic", "digest", "bearer"}))
        ->type_name("KIND")
        ->group("Login");
    app.add_option("--user", words.user, "user for basic and digest")->type_name("NAME")->group("Login");
    CLI::Option* const variable = app.add_option("--secret-env", words.secretVariable,
                                                 "environment variable that holds password or token")
                                      ->type_name("VARIABLE")
                                      ->group("Login");
    app.add_option("--secret-file", words.secretFile, "file whose first line is password or token")
        ->type_name("FILE")
        ->excludes(variable)
        ->group("Login");

    app.add_option("--ca-file", words.caFile, "PEM file of the authorities to trust")
        ->type_name("FILE")
        ->group("TLS");
    app.add_option("--pinned-key", words.pinnedKey, "sha256//BASE64 of the device's public key")
        ->type_name("HASH")
        ->group("TLS");
    app.add_flag("--insecure", words.insecure, "accept any certificate, on a closed network only")
        ->group("TLS");
}

/// A command of the command line, and what runs it.
struct Command
{
    CLI::App* parser;
    std::function<ExitCode(const Settings&, Console&)> run;
};

Command monitorCommand(CLI::App& app, Words& words)
{
    CLI::App* const monitor =
        app.add_subcommand("monitor", "show fans, temperatures and voltages live, and warnings");
    monitor->add_option("--interval", words.interval, "time between readings")
        ->check(CLI::Range(0.1, 86400.0))
        ->type_name("SECONDS")
        ->capture_default_str();
    monitor->add_option("--count", words.count, "end after so many readings of each device")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    monitor->footer(monitorFooter);
    return {monitor, [&words](const Settings& settings, Console& console) {
                return runMonitor(settings, static_cast<int>(words.interval * 1000), words.count, console);
            }};
}

std::vector<Command> addCommands(CLI::App& app, Words& words)
{
    CLI::App* const call = app.add_subcommand("call", "call an operation on every device");
    call->add_option("OPERATION", words.operation,
                     "Class::operation, or operation where one class alone has it")
        ->required();
    call->add_option("ARGUMENTS", words.arguments, "its arguments, value or name=value")->type_name("");
    call->footer(callFooter);

    CLI::App* const operations = app.add_subcommand("operations", "list the operations and their arguments");
    operations->add_option("FILTER", words.filter, "only those that contain this");

    CLI::App* const routes = app.add_subcommand("routes", "list the device API's routes: key and path");
    routes->add_option("FILTER", words.filter, "only those that contain this");

    CLI::App* const watch = app.add_subcommand("watch", "print what the devices push");
    watch->add_option("--count", words.count, "end after so many events")
        ->check(CLI::PositiveNumber)
        ->type_name("N");
    watch->add_option("--seconds", words.seconds, "end after so many seconds")
        ->check(CLI::Range(1, 1'000'000))
        ->type_name("N");
    watch->footer(watchFooter);

    CLI::App* const demo =
        app.add_subcommand("demo", "show the library at work on two simulated controllers");

    return {
        {call,
         [&words](const Settings& settings, Console& console) {
             return runCall(settings, takeText(words.operation), takeTexts(words.arguments), console);
         }},
        {operations,
         [&words](const Settings& settings, Console& console) {
             return runOperations(settings, takeText(words.filter), console);
         }},
        {routes, [&words](const Settings& settings,
                          Console& console) { return runRoutes(settings, takeText(words.filter), console); }},
        {watch,
         [&words](const Settings& settings, Console& console) {
             return runWatch(settings, words.count, words.seconds, console);
         }},
        monitorCommand(app, words),
        {demo, [](const Settings& /*settings*/, Console& console) { return runDemo(console); }},
    };
}

QString unknownCommand(const CLI::App& app, const QString& word)
{
    QStringList names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App* /*command*/) { return true; }))
        names << QString::fromStdString(command->get_name());
    return QStringLiteral("\"%1\" is no command").arg(printable(word)) + didYouMean(word, names);
}

ExitCode report(const CLI::App& app, const CLI::ParseError& error, Console& console)
{
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        app.exit(error, text, text);
        console.data(QString::fromStdString(text.str()));
        return Done;
    }
    const std::vector<std::string> unknown = app.remaining();
    if (app.get_subcommands().empty() && !unknown.empty() && unknown.front().front() != '-')
        console.complain(unknownCommand(app, takeText(unknown.front())));
    else
        console.complain(printable(QString::fromUtf8(error.what())));
    console.remark(QStringLiteral("\"tesselctl --help\" tells more"));
    return Usage;
}

} // namespace

int runCommandLine(int argc, char** argv)
{
    // A reader that closes a pipe is noticed where it is written to, and a device that closes a connection
    // must not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    Console console;
    Words words;
    CLI::App app("Drives the controllers of LED walls from the command line.", "tesselctl");
    app.set_version_flag("--version", "tesselctl " TESSEL_VERSION);
    app.set_help_flag("-h,--help", "print this and exit");
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(footer);
    addGlobalOptions(app, words);
    const std::vector<Command> commands = addCommands(app, words);

    try {
        std::vector<std::string> arguments(argv + 1, argv + argc);
        for (std::string& argument : arguments)
            argument = marked(argument);
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
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
    ExitCode code = Failed;
    for (const Command& command : commands) {
        if (command.parser->parsed())
            code = command.run(settingsOf(words), console);
    }
    return console.dataLost() ? Failed : code;
}

} // namespace TesselCtl
