// SPDX-License-Identifier: MIT
#include <simulator/iothreads.h>
#include <simulator/simulator.h>

#include <CLI/CLI.hpp>

#include <csignal>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Tessel::Simulator;

enum ExitCode { Success = 0, CannotListen = 1, BadArguments = 2 };

struct Arguments
{
    Options options;
    int devices = 1;
    int threads = 1;
    std::string bind = "127.0.0.1";
    std::string name;
    std::string customName;
};

void declare(CLI::App& app, Arguments& arguments)
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
    app.add_option("--name", arguments.name, "Model name");
    app.add_option("--custom-name", arguments.customName, "Name that the user of the device gave");
    app.add_option("--bind", arguments.bind, "IP address to listen on")
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

bool startAll(const Arguments& arguments, std::vector<std::unique_ptr<Simulator>>& simulators)
{
    const auto threads = std::make_shared<IoThreads>(arguments.threads);
    for (int i = 0; i < arguments.devices; ++i) {
        Options options = arguments.options;
        options.seed += static_cast<quint32>(i);
        if (options.port != 0) {
            options.port = static_cast<quint16>(options.port + i);
        }
        simulators.push_back(std::make_unique<Simulator>(options, threads));
        if (!simulators.back()->start()) {
            std::fprintf(stderr, "tessel-sim: %s\n", qPrintable(simulators.back()->errorString()));
            return false;
        }
    }
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    CLI::App app(
        "The controller of an LED wall in software. Prints one base URL per controller when it is ready, "
        "and runs until SIGINT or SIGTERM.",
        "tessel-sim");
    declare(app, arguments);
    try {
        app.parse(argc, argv);
        if (arguments.options.port + arguments.devices > 65536) {
            throw CLI::ValidationError("--devices", "the ports end at 65535");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Success : BadArguments;
    }
    arguments.options.bindAddress = QString::fromStdString(arguments.bind);
    arguments.options.name = QString::fromLocal8Bit(arguments.name.c_str());
    arguments.options.customName = QString::fromLocal8Bit(arguments.customName.c_str());

    // Blocked here and so in all threads that follow: the signals wait for sigwait().
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    std::vector<std::unique_ptr<Simulator>> simulators;
    if (!startAll(arguments, simulators)) {
        return CannotListen;
    }
    for (const auto& simulator : simulators) {
        std::printf("%s\n", qPrintable(simulator->baseUrl()));
    }
    std::fflush(stdout);

    int received = 0;
    sigwait(&signals, &received);
    return Success;
}
