// SPDX-License-Identifier: MIT
#ifndef BENCH_PEAKMEMORY_H
#define BENCH_PEAKMEMORY_H

#include <functional>

/// The peak resident memory of this process so far, in MiB.
double residentPeak();

/// The growth of the peak resident memory caused by @p work, run in a separate process, in MiB; negative if
/// that process failed. Call it before starting a thread.
double addedPeak(const std::function<void()>& work);

/// The return value of @p measure, run in a separate process; negative if that process failed. Call it before
/// starting a thread.
double measuredApart(const std::function<double()>& measure);

#endif
