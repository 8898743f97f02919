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
    app.add_option("--name", arguments.name, "Model name");
    app.add_option("--custom-name", arguments.customName, "Name given to the device by its user");
    app.add_option("--bind", arguments.bind, "IP address to listen on")
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
        "Simulates controllers of LED walls. Prints one base URL per controller when ready, and runs until "
        "SIGINT or SIGTERM.",
        "tessel-sim");
    declare(app, arguments);
    try {
        app.parse(argc, argv);
        if (arguments.options.port + arguments.devices > 65536) {
            throw CLI::ValidationError("--devices",
                                       "not enough ports: --port plus --devices must not exceed 65536");
        }
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Success : BadArguments;
    }
    arguments.options.bindAddress = QString::fromStdString(arguments.bind);
    arguments.options.name = QString::fromLocal8Bit(arguments.name.c_str());
    arguments.options.customName = QString::fromLocal8Bit(arguments.customName.c_str());

    // Blocked here, and so in all threads started later; the signals are received by sigwait().
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
