// SPDX-License-Identifier: MIT
#include <simulator/iothreads.h>
#include <simulator/program/arguments.h>
#include <simulator/simulator.h>

#include <QSaveFile>

#include <csignal>
#include <cstdio>
#include <memory>
#include <sys/resource.h>
#include <vector>

namespace {

using namespace Tessel::Simulator;

enum ExitCode { Success = 0, CannotListen = 1 };

bool startAll(const Arguments& arguments, std::vector<std::unique_ptr<Simulator>>& simulators)
{
    const auto threads = std::make_shared<IoThreads>(arguments.threads);
    for (int i = 0; i < arguments.devices; ++i) {
        Options options = arguments.options;
        options.tellMistakes = true;
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

bool writeCertificates(const QString& name, const std::vector<std::unique_ptr<Simulator>>& simulators)
{
    if (name.isEmpty()) {
        return true;
    }
    QSaveFile file(name);
    if (file.open(QIODevice::WriteOnly)) {
        for (const auto& simulator : simulators) {
            file.write(simulator->certificate());
        }
        if (file.commit()) {
            return true;
        }
    }
    std::fprintf(stderr, "tessel-sim: %s cannot be written: %s\n", qPrintable(name),
                 qPrintable(file.errorString()));
    return false;
}

// Each connection needs a descriptor, and the usual limit of a shell is less than a simulator takes on.
void allowManyConnections()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) == 0) {
        limit.rlim_cur = limit.rlim_max;
        setrlimit(RLIMIT_NOFILE, &limit);
    }
}

} // namespace

int main(int argc, char** argv)
{
    Arguments arguments;
    int exitCode = Success;
    if (!parseArguments(argc, argv, arguments, exitCode)) {
        return exitCode;
    }

    // Threads started later inherit the mask, so the signals stay pending until sigwait().
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    allowManyConnections();
    std::vector<std::unique_ptr<Simulator>> simulators;
    if (!startAll(arguments, simulators)) {
        return CannotListen;
    }
    if (!writeCertificates(arguments.certificateFile, simulators)) {
        return CannotListen;
    }
    for (const auto& simulator : simulators) {
        const QString pin = simulator->pinnedKey();
        std::printf("%s%s%s\n", qPrintable(simulator->baseUrl()), pin.isEmpty() ? "" : " ", qPrintable(pin));
    }
    std::fflush(stdout);

    int received = 0;
    sigwait(&signals, &received);
    return Success;
}
