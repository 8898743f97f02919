// SPDX-License-Identifier: MIT
#ifndef BENCH_PEAKMEMORY_H
#define BENCH_PEAKMEMORY_H

#include <functional>

/// The most memory that this process has had resident so far, in MiB.
double residentPeak();

/// What @p work, done in a process of its own, adds to that process's peak, in MiB; negative when that
/// process failed. To be called before the first thread.
double addedPeak(const std::function<void()>& work);

/// The figure that @p measure, called in a process of its own, returns; negative when that process failed. To
/// be called before the first thread.
double measuredApart(const std::function<double()>& measure);

#endif
