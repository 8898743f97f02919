// SPDX-License-Identifier: MIT
#ifndef BENCH_RATIOS_H
#define BENCH_RATIOS_H

/// Takes `--ratios` out of the arguments of a benchmark. With it, tellRatio() prints.
void takeRatiosOption(int& argc, char** argv);

/// With `--ratios`: prints a line "ratio NAME VALUE", which bench/compare reads. The name is one of
/// bench/recorded.json.
void tellRatio(const char* name, double value);

#endif
