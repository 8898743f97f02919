// SPDX-License-Identifier: MIT
#ifndef BENCH_SYSTEMCALLS_H
#define BENCH_SYSTEMCALLS_H

#include <functional>

/// How many system calls @p work makes on its own thread, called @p count times after a few calls that are
/// not counted: the mean. In a process of its own; negative when that failed, as where no process may be
/// traced. To be called before the first thread.
double systemCallsOf(const std::function<void()>& work, int count);

#endif
