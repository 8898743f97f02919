// SPDX-License-Identifier: MIT
#ifndef BENCH_RATIOS_H
#define BENCH_RATIOS_H

/// Removes `--ratios` from the arguments of a benchmark; with it, printRatio() prints.
void takeRatiosOption(int& argc, char** argv);

/// With `--ratios`: prints a line "ratio NAME VALUE", which bench/compare reads. The name must be in
/// bench/recorded.json.
void printRatio(const char* name, double value);

#endif
