// SPDX-License-Identifier: MIT
#include "tesselctl/commandline.h"

#include "tesselctl/commandparser.h"
#include "tesselctl/commands/commands.h"

#include <QCoreApplication>
#include <QLoggingCategory>

#include <csignal>

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

Data goes to standard output, everything else to standard error. Colour is used on terminals only; set the environment
variable NO_COLOR to turn it off. Passwords and tokens are read from an environment variable, a file or the terminal,
never from the command line.

Exit codes:
  0  success
  1  a failure that no other code covers
  2  an error in the command line; nothing was sent
  3  no connection to the device, or the connection was lost
  4  the device did not answer in time
  5  the device refused: an HTTP status other than 2xx, a code other than 0 in its reply, or no JSON
  130, 143  SIGINT or SIGTERM interrupted a call
With several devices, the exit code is that of the first one that failed.)";

// "a, b or c"
QString alternatives(QStringList names, const char* conjunction)
{
    const QString last = names.takeLast();
    const QString others = names.join(QStringLiteral(", "));
    return others.isEmpty() ? last : others + QLatin1String(conjunction) + last;
}

void addGlobalOptions(CommandParser& parser, Settings& settings)
{
    DeviceSettings& devices = settings.devices;
    parser
        .add("-d,--device", devices.devices,
             QStringLiteral("a device: ADDRESS, NAME=ADDRESS, or of the devices file NAME, PATTERN or "
                            "@GROUP; repeatable"))
        .placeholder("DEVICE")
        .repeatable();
    parser.add("--devices", devices.file, QStringLiteral("the devices file")).placeholder("FILE");
    const CommandOption json = parser.addFlag("-j,--json", settings.json,
                                              QStringLiteral("print JSON: the result of one device as such"));
    parser
        .add("-o,--output", settings.output,
             QStringLiteral("how results are printed: ") + alternatives(formatNames(), " or "))
        .oneOf(formatNames())
        .excludes(json)
        .placeholder("FORMAT")
        .showDefault();
    parser
        .add("--columns", settings.table.columns,
             QStringLiteral("only these columns of a table, separated by commas"))
        .listed()
        .placeholder("NAMES");
    parser
        .add("--sort", settings.table.sort,
             QStringLiteral("sort a table by this column; NAME:desc: backwards"))
        .placeholder("NAME");
    parser.addFlag("-q,--quiet", settings.quiet, QStringLiteral("print errors only"));
    parser.add("--parallel", settings.parallel, QStringLiteral("devices at once"))
        .between(1, 256)
        .placeholder("N")
        .showDefault()
        .group("Several devices");
    parser.add("--timeout", settings.timeout, QStringLiteral("give a device up after so many seconds"))
        .between(0.001, 86400.0)
        .placeholder("SECONDS")
        .group("Several devices");
    parser
        .add("--retry", settings.retry,
             QStringLiteral("repeat a read that found no device up to N times; writes are never repeated"))
        .between(0, 100)
        .placeholder("N")
        .group("Several devices");
    parser.addFlag("--fail-fast", settings.failFast, QStringLiteral("end after the first device that failed"))
        .group("Several devices");
    parser.addFlag("--dry-run", settings.dryRun,
                   QStringLiteral("show what a write would send, and do not send it"));
    parser.addFlag("-y,--yes", settings.yes, QStringLiteral("do not ask before what cannot be undone"));
    parser.addFlag("-t,--trace", settings.trace, QStringLiteral("print every exchange on standard error"));

    parser
        .add("--login", devices.login, QStringLiteral("how to log in: ") + alternatives(loginNames(), " or "))
        .oneOf(loginNames())
        .placeholder("KIND")
        .group("Login");
    parser
        .add("--user", devices.user,
             QStringLiteral("user name for ") + alternatives(loginNamesWithUser(), " and "))
        .placeholder("NAME")
        .group("Login");
    const CommandOption variable =
        parser
            .add("--secret-env", devices.secretVariable,
                 QStringLiteral("environment variable that holds the password or token"))
            .placeholder("VARIABLE")
            .group("Login");
    parser
        .add("--secret-file", devices.secretFile,
             QStringLiteral("file whose first line is the password or token"))
        .placeholder("FILE")
        .excludes(variable)
        .group("Login");

    parser
        .add("--ca-file", devices.caFile,
             QStringLiteral("PEM file with the certificate authorities to trust"))
        .placeholder("FILE")
        .group("TLS");
    parser
        .add("--pinned-key", devices.pinnedKey,
             QStringLiteral("sha256//BASE64 hash of the device's public key"))
        .placeholder("HASH")
        .group("TLS");
    parser
        .addFlag("--insecure", devices.insecure,
                 QStringLiteral("accept any certificate; for closed networks only"))
        .group("TLS");
}

ExitCode run(const CommandParser::Run& command, const Settings& settings, char** argv, Console& console)
{
    int qtArgc = 1;
    const QCoreApplication application(qtArgc, argv);
    // Failures are reported once, in this program's own words; QT_LOGGING_RULES brings the transport's back.
    qSetMessagePattern(QStringLiteral("tesselctl: %{message}"));
    QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false\ndefault.debug=false"));
    if (settings.trace) {
        console.expectTrace();
    }
    if (settings.quiet) {
        console.beQuiet();
    }
    return command(settings, console);
}

} // namespace

int runCommandLine(int argc, char** argv)
{
    // A reader that closes a pipe is noticed where it is written to, and a device that closes a connection
    // must not end the process.
    std::signal(SIGPIPE, SIG_IGN);
    Console console;
    Settings settings;
    CommandLineParser parser;
    parser.setFooter(QString::fromUtf8(footer));
    addGlobalOptions(parser, settings);
    addCommands(parser);
    const auto parsed = parser.parse(argc, argv, console);
    const auto* const command = std::get_if<CommandParser::Run>(&parsed);
    const ExitCode code = command ? run(*command, settings, argv, console) : std::get<ExitCode>(parsed);
    return console.dataLost() ? Failed : code;
}

} // namespace TesselCtl
