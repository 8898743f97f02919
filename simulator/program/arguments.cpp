// SPDX-License-Identifier: MIT
//
// Apart from what serves: CLI11 takes the compiler longer than all the rest of the program.
#include <simulator/program/arguments.h>

#include <CLI/CLI.hpp>

#include <map>
#include <string>

namespace Tessel::Simulator {
namespace {

enum ExitCode { Success = 0, BadArguments = 2 };

/// What CLI11 reads as std::string.
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
    app.add_option("--protocol", options.protocol, "one screen, or several (default)")
        ->transform(CLI::CheckedTransformer(kinds).description('{' + names + '}'))
        ->type_name("KIND");
    app.add_option("--screens", options.screens, "Screens of a multi-screen controller")
        ->check(CLI::Range(1, 64));
    app.add_option("--cabinets", options.cabinets, "Cabinets")->check(CLI::Range(0, 10000));
    app.add_option("--receiving-cards", options.receivingCards, "Receiving cards per cabinet")
        ->check(CLI::Range(1, 16));
    app.add_option("--inputs", options.inputs, "Video inputs")->check(CLI::Range(1, 256));
    app.add_option("--seed", options.seed, "Serial numbers, temperatures and the like follow from it");
    app.add_option("--name", texts.name, "Model name");
    app.add_option("--custom-name", texts.customName, "Name that the user of the device gave");
    app.add_option("--bind", texts.bind, "IP address to listen on")
        ->check(CLI::ValidIPV4 | CLI::Validator(
                                     [](std::string& text) {
                                         return text.find(':') == std::string::npos ? "no IP address"
                                                                                    : std::string();
                                     },
                                     "IP"));
    app.add_option("--port", options.port, "TCP port; 0 takes a free one (default)");
    app.add_option("--devices", arguments.devices, "Controllers, on consecutive ports or each on a free one")
        ->check(CLI::Range(1, 10000));
    app.add_option("--threads", arguments.threads, "Threads for all controllers")->check(CLI::Range(1, 64));
    app.add_option("--heartbeat", options.heartbeatInterval,
                   "Milliseconds between comments on silent event streams")
        ->check(CLI::Range(10, 3600000));
    app.add_option("--save-time", options.saveTime, "Milliseconds that saving coefficients takes")
        ->check(CLI::Range(0, 3600000));
    app.add_flag("--control", options.control, "Serve the control interface under /sim/");
}

} // namespace

bool parseArguments(int argc, char** argv, Arguments& arguments, int& exitCode)
{
    CLI::App app(
        "The controller of an LED wall in software. Prints one base URL per controller when it is ready, "
        "and runs until SIGINT or SIGTERM.",
        "tessel-sim");
    Texts texts;
    declare(app, arguments, texts);
    try {
        app.parse(argc, argv);
        if (arguments.options.port + arguments.devices > 65536) {
            throw CLI::ValidationError("--devices", "the ports end at 65535");
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
