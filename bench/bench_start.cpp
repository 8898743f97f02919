// SPDX-License-Identifier: MIT
//
// The cost of linking a program with the library before it makes a call: the start of a program that does
// nothing, compared with one that links only Qt Core. Usage: bench_start [--ratios] [rounds]
#include "interleaved.h"
#include "ratios.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

struct Start
{
    double wall = 0; ///< microseconds
    double cpu = 0;
};

Start start(const std::string& program)
{
    char* const arguments[] = {const_cast<char*>(program.c_str()), nullptr};
    const auto before = std::chrono::steady_clock::now();
    pid_t child = -1;
    int status = 0;
    rusage used{};
    if (posix_spawn(&child, program.c_str(), nullptr, nullptr, arguments, environ) != 0 ||
        wait4(child, &status, 0, &used) != child || status != 0) {
        std::fprintf(stderr, "bench_start: %s cannot be run\n", program.c_str());
        std::exit(1);
    }
    const std::chrono::duration<double, std::micro> wall = std::chrono::steady_clock::now() - before;
    const auto microseconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_usec);
    };
    return {wall.count(), microseconds(used.ru_utime) + microseconds(used.ru_stime)};
}

} // namespace

int main(int argc, char** argv)
{
    takeRatiosOption(argc, argv);
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 200;
    const std::string self = argv[0];
    const std::string folder = self.substr(0, self.find_last_of('/') + 1);
    std::vector<double> wall[2];
    std::vector<double> cpu[2];
    for (int round = -1; round < rounds; ++round) {
        for (int i = 0; i < 2; ++i) {
            const Start took = start(folder + (i == 0 ? "start_qtcore" : "start_tessel"));
            if (round >= 0) {
                wall[i].push_back(took.wall);
                cpu[i].push_back(took.cpu);
            }
        }
    }
    std::printf("start of a program that does nothing: with Qt Core %.0f us (CPU %.0f), with Tessel %.0f us "
                "(CPU %.0f): ratio %.2f, of the processor time %.2f (wanted: at most 1.3)\n",
                median(wall[0]), median(cpu[0]), median(wall[1]), median(cpu[1]),
                median(wall[1]) / median(wall[0]), median(cpu[1]) / median(cpu[0]));
    printRatio("start/linked", median(cpu[1]) / median(cpu[0]));
    return 0;
}
