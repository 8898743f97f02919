// SPDX-License-Identifier: MIT
#ifndef BENCH_INTERLEAVED_H
#define BENCH_INTERLEAVED_H

#include <functional>
#include <string>
#include <vector>

/// One of several ways to do the same work.
struct Variant
{
    std::string name;
    std::function<void()> call;
};

/// The cost of a variant per call, in microseconds.
struct Figures
{
    std::string name;
    double median = 0;
    double p99 = 0;
    double cpu = 0; ///< processor time of the whole process
};

/// Calls the variants alternately, a batch of each per round, so that load on the machine affects all of them
/// equally. One warm-up round is not counted.
std::vector<Figures> measureInterleaved(const std::vector<Variant>& variants, int rounds, int batch);

/// The median of @p values.
double median(std::vector<double> values);

/// Prints a line per variant, with its median as a ratio to the first one's.
void printFigures(const std::vector<Figures>& figures);

#endif
