// SPDX-License-Identifier: MIT
#ifndef BENCH_SYSTEMCALLS_H
#define BENCH_SYSTEMCALLS_H

#include <functional>

/// The mean number of system calls that @p work makes on its own thread, over @p count calls after a warm-up.
/// Measured in a separate process; negative if that failed, for example because tracing is not allowed. Call
/// it before starting a thread.
double systemCallsOf(const std::function<void()>& work, int count);

#endif
