// SPDX-License-Identifier: MIT
#include "peakmemory.h"

#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

double residentPeak()
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return static_cast<double>(usage.ru_maxrss) / 1024;
}

double measuredApart(const std::function<double()>& measure)
{
    int channel[2];
    if (pipe(channel) != 0) {
        return -1;
    }
    std::fflush(stdout);
    const pid_t child = fork();
    if (child == 0) {
        const double figure = measure();
        std::fflush(stdout);
        _exit(::write(channel[1], &figure, sizeof figure) == sizeof figure ? 0 : 1);
    }
    close(channel[1]);
    double figure = -1;
    const bool received = child > 0 && ::read(channel[0], &figure, sizeof figure) == sizeof figure;
    waitpid(child, nullptr, 0);
    close(channel[0]);
    return received ? figure : -1;
}

double addedPeak(const std::function<void()>& work)
{
    return measuredApart([&work] {
        const double before = residentPeak();
        work();
        return residentPeak() - before;
    });
}
