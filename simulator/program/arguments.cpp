// SPDX-License-Identifier: MIT
//
// In its own file, because CLI11 takes longer to compile than the rest of the program.
#include <simulator/program/arguments.h>

#include <simulator/faultscript.h>

#include <CLI/CLI.hpp>

#include <QFile>

#include <algorithm>
#include <map>
#include <string>
#include <vector>

namespace Tessel::Simulator {
namespace {

enum ExitCode { Success = 0, BadArguments = 2 };

/// Options that CLI11 stores as std::string.
struct Texts
{
    std::string bind = "127.0.0.1";
    std::string name;
    std::string customName;
    std::string user;
    std::string secretVariable;
    std::string secretFile;
    std::string certificateFile;
    std::vector<std::string> faults;
};

// One line for each member and cut of a fault.
std::string faultHelp()
{
    std::string text = "Members of a fault, with what they may be:\n";
    for (const auto& member : faultMembers) {
        text += std::string("  ") + member.name + ": " + member.meaning + " (" +
                valuesOf(member).toStdString() + ")\n";
    }
    text += "\nCuts, and what the client gets:\n";
    for (const auto& kind : cutKinds) {
        text += std::string("  ") + kind.name + ": " + kind.effect + "\n";
    }
    text.erase(std::remove(text.begin(), text.end(), '`'), text.end());
    return text;
}

void declareAccess(CLI::App& app, Arguments& arguments, Texts& texts)
{
    Options& options = arguments.options;
    std::map<std::string, Login> logins;
    std::string names;
    for (const auto& row : loginNames) {
        logins[row.name] = row.login;
        names += (names.empty() ? "" : ",") + std::string(row.name);
    }
    app.add_option("--login", options.login,
                   "Login that every request needs, except to /sim/; none by default")
        ->transform(CLI::CheckedTransformer(logins).description('{' + names + '}'))
        ->type_name("LOGIN");
    app.add_option("--user", texts.user, "User name of a basic or digest login");
    auto* const variable = app.add_option("--secret-env", texts.secretVariable,
                                          "Environment variable that holds the password or token")
                               ->type_name("NAME");
    app.add_option("--secret-file", texts.secretFile, "File whose first line is the password or token")
        ->type_name("FILE")
        ->excludes(variable);
    app.add_option("--token-lifetime", options.tokenLifetime,
                   "Milliseconds for which a token is valid; 0: until it is replaced (default)")
        ->check(CLI::Range(0, 86400000));
    app.add_option("--nonce-lifetime", options.nonceLifetime,
                   "Milliseconds for which a nonce of a digest login is valid")
        ->check(CLI::Range(1, 86400000));
    auto* const tls =
        app.add_flag("--tls", options.tls,
                     "Serve HTTPS with a certificate of its own; each base URL is followed by its pin");
    app.add_option("--certificate-file", texts.certificateFile, "Where to write the certificates, as PEM")
        ->type_name("FILE")
        ->needs(tls);
}

void declare(CLI::App& app, Arguments& arguments, Texts& texts)
{
    Options& options = arguments.options;
    std::map<std::string, Protocol> kinds;
    std::string names;
    for (const auto& row : Tessel::protocols) {
        kinds[row.name] = row.protocol;
        names += (names.empty() ? "" : ",") + std::string(row.name);
    }
    app.set_version_flag("--version", std::string("tessel-sim ") + TESSEL_VERSION);
    app.add_option("--protocol", options.protocol, "Protocol to speak; multi-screen by default")
        ->transform(CLI::CheckedTransformer(kinds).description('{' + names + '}'))
        ->type_name("KIND");
    app.add_option("--screens", options.screens, "Number of screens of a multi-screen controller")
        ->check(CLI::Range(1, 64));
    app.add_option("--cabinets", options.cabinets, "Number of cabinets")->check(CLI::Range(0, 10000));
    app.add_option("--receiving-cards", options.receivingCards, "Number of receiving cards per cabinet")
        ->check(CLI::Range(1, 16));
    app.add_option("--inputs", options.inputs, "Number of video inputs")->check(CLI::Range(1, 256));
    app.add_option("--seed", options.seed,
                   "Seed of generated values such as serial numbers and temperatures");
    app.add_option("--name", texts.name, "Model name");
    app.add_option("--custom-name", texts.customName, "Name given to the device by its user");
    app.add_option("--bind", texts.bind, "IP address to listen on")
        ->check(CLI::ValidIPV4 | CLI::Validator(
                                     [](std::string& text) {
                                         return text.find(':') == std::string::npos ? "not an IP address"
                                                                                    : std::string();
                                     },
                                     "IP"));
    app.add_option("--port", options.port, "TCP port; 0 picks a free one (default)");
    app.add_option("--devices", arguments.devices,
                   "Number of controllers, on consecutive ports, or each on a free port")
        ->check(CLI::Range(1, 10000));
    app.add_option("--threads", arguments.threads, "Number of threads that serve all controllers")
        ->check(CLI::Range(1, 64));
    app.add_option("--heartbeat", options.heartbeatInterval,
                   "Milliseconds between comments on idle event streams")
        ->check(CLI::Range(10, 3600000));
    app.add_option("--save-time", options.saveTime, "Milliseconds that saving coefficients takes")
        ->check(CLI::Range(0, 3600000));
    app.add_option("--event-memory", options.eventHistory, "Number of events kept for streams that resume")
        ->check(CLI::Range(0, 1000000));
    app.add_flag("--control", options.control, "Enable the control interface under /sim/");
    app.add_flag(
        "--strict", options.strict,
        "Refuse bodies that are not as the description of the device API says (/openapi.json), which "
        "are otherwise accepted and told");
    app.add_option("--fault", texts.faults, "A fault as JSON, pending from the start; may be repeated")
        ->type_name("JSON")
        ->expected(1)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    declareAccess(app, arguments, texts);
    app.footer(faultHelp());
}

/// What CLI11 does not check by itself. @throws CLI::ValidationError after a mistake.
void check(const Arguments& arguments)
{
    if (arguments.options.port + arguments.devices > 65536) {
        throw CLI::ValidationError("--devices",
                                   "not enough ports: --port plus --devices must not exceed 65536");
    }
}

std::string secretFrom(const Texts& texts)
{
    if (!texts.secretVariable.empty()) {
        return qgetenv(texts.secretVariable.c_str()).toStdString();
    }
    QFile file(QString::fromLocal8Bit(texts.secretFile.c_str()));
    if (!file.open(QIODevice::ReadOnly)) {
        throw CLI::ValidationError("--secret-file",
                                   texts.secretFile + " cannot be read: " + file.errorString().toStdString());
    }
    constexpr qint64 limit = 64LL * 1024;
    QByteArray line = file.read(limit).split('\n').first();
    if (line.endsWith('\r')) {
        line.chop(1);
    }
    return line.toStdString();
}

/// @throws CLI::ValidationError if user and secret do not fit the login.
void takeLogin(Options& options, const Texts& texts)
{
    const bool hasSecret = !texts.secretVariable.empty() || !texts.secretFile.empty();
    const bool takesUser = options.login == Login::Basic || options.login == Login::Digest;
    if (options.login == Login::None && (hasSecret || !texts.user.empty())) {
        throw CLI::ValidationError("--login",
                                   "a user or secret needs a login: --login basic, digest or bearer");
    }
    if (takesUser != !texts.user.empty()) {
        throw CLI::ValidationError("--user",
                                   takesUser ? "this login needs a user" : "this login has no user");
    }
    if (options.login == Login::None) {
        return;
    }
    if (!hasSecret) {
        throw CLI::ValidationError("--login", "a login needs --secret-env or --secret-file");
    }
    options.user = QString::fromLocal8Bit(texts.user.c_str());
    options.secret = QString::fromStdString(secretFrom(texts));
    if (options.secret.isEmpty()) {
        throw CLI::ValidationError("--login", "the password or token is empty");
    }
    if (options.login == Login::Basic && options.user.contains(QLatin1Char(':'))) {
        throw CLI::ValidationError("--user", "the first colon ends the user of a basic login");
    }
}

/// @throws CLI::ValidationError if one of them is no fault.
void takeFaults(Options& options, const Texts& texts)
{
    for (const auto& text : texts.faults) {
        QString error;
        const QList<Fault> faults = faultsFromJson(QByteArray::fromStdString(text), &error);
        if (faults.isEmpty()) {
            throw CLI::ValidationError("--fault", error.toStdString());
        }
        options.faults += faults;
    }
}

} // namespace

bool parseArguments(int argc, char** argv, Arguments& arguments, int& exitCode)
{
    CLI::App app(
        "Simulates controllers of LED walls. Prints one base URL per controller when ready, and runs until "
        "SIGINT or SIGTERM.",
        "tessel-sim");
    Texts texts;
    declare(app, arguments, texts);
    try {
        app.parse(argc, argv);
        check(arguments);
        takeLogin(arguments.options, texts);
        takeFaults(arguments.options, texts);
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? Success : BadArguments;
        return false;
    }
    arguments.options.bindAddress = QString::fromStdString(texts.bind);
    arguments.certificateFile = QString::fromLocal8Bit(texts.certificateFile.c_str());
    arguments.options.name = QString::fromLocal8Bit(texts.name.c_str());
    arguments.options.customName = QString::fromLocal8Bit(texts.customName.c_str());
    return true;
}

} // namespace Tessel::Simulator
