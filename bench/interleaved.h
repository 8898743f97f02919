// SPDX-License-Identifier: MIT
#ifndef BENCH_INTERLEAVED_H
#define BENCH_INTERLEAVED_H

#include <functional>
#include <string>
#include <vector>

/// One way to do the same thing.
struct Variant
{
    std::string name;
    std::function<void()> call;
};

/// What a variant took: per call, in microseconds.
struct Figures
{
    std::string name;
    double median = 0;
    double p99 = 0;
    double cpu = 0; ///< processor time of the whole process
};

/// Calls the variants in turn, a batch of each per round, so that a change of the machine's mood hits all
/// alike. One round before is not counted.
std::vector<Figures> measureInterleaved(const std::vector<Variant>& variants, int rounds, int batch);

/// The middle one of @p values.
double median(std::vector<double> values);

/// Prints a line per variant, with its median as a ratio to the first one's.
void printFigures(const std::vector<Figures>& figures);

#endif
