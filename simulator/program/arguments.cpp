// SPDX-License-Identifier: MIT
//
// In its own file, because CLI11 takes longer to compile than the rest of the program.
#include <simulator/program/arguments.h>

#include <CLI/CLI.hpp>

#include <map>
#include <string>

namespace Tessel::Simulator {
namespace {

enum ExitCode { Success = 0, BadArguments = 2 };

/// Options that CLI11 stores as std::string.
struct Texts
{
    std::string bind = "127.0.0.1";
    std::string name;
    std::string customName;
};

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
    app.add_flag("--control", options.control, "Enable the control interface under /sim/");
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
        if (arguments.options.port + arguments.devices > 65536) {
            throw CLI::ValidationError("--devices",
                                       "not enough ports: --port plus --devices must not exceed 65536");
        }
    } catch (const CLI::ParseError& error) {
        exitCode = app.exit(error) == 0 ? Success : BadArguments;
        return false;
    }
    arguments.options.bindAddress = QString::fromStdString(texts.bind);
    arguments.options.name = QString::fromLocal8Bit(texts.name.c_str());
    arguments.options.customName = QString::fromLocal8Bit(texts.customName.c_str());
    return true;
}

} // namespace Tessel::Simulator
