// SPDX-License-Identifier: MIT
#include "interleaved.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <ctime>

namespace {

double processorMicroseconds()
{
    timespec now{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) / 1e3;
}

double percentile(const std::vector<double>& sorted, double part)
{
    return sorted.at(static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * part));
}

} // namespace

std::vector<Figures> measureInterleaved(const std::vector<Variant>& variants, int rounds, int batch)
{
    using Clock = std::chrono::steady_clock;
    std::vector<std::vector<double>> samples(variants.size());
    std::vector<double> processor(variants.size());
    for (int round = -1; round < rounds; ++round) {
        for (std::size_t i = 0; i < variants.size(); ++i) {
            const double before = processorMicroseconds();
            for (int call = 0; call < batch; ++call) {
                const auto start = Clock::now();
                variants[i].call();
                const std::chrono::duration<double, std::micro> took = Clock::now() - start;
                if (round >= 0) {
                    samples[i].push_back(took.count());
                }
            }
            if (round >= 0) {
                processor[i] += processorMicroseconds() - before;
            }
        }
    }

    std::vector<Figures> figures;
    for (std::size_t i = 0; i < variants.size(); ++i) {
        std::sort(samples[i].begin(), samples[i].end());
        figures.push_back({variants[i].name, percentile(samples[i], 0.5), percentile(samples[i], 0.99),
                           processor[i] / static_cast<double>(samples[i].size())});
    }
    return figures;
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return percentile(values, 0.5);
}

void printFigures(const std::vector<Figures>& figures)
{
    std::printf("%-44s %10s %10s %10s %7s\n", "", "median us", "p99 us", "CPU us", "ratio");
    for (const Figures& line : figures) {
        std::printf("%-44s %10.1f %10.1f %10.1f %7.2f\n", line.name.c_str(), line.median, line.p99, line.cpu,
                    line.median / figures.front().median);
    }
}
