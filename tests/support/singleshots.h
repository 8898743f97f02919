// SPDX-License-Identifier: MIT
#ifndef TESTS_SINGLESHOTS_H
#define TESTS_SINGLESHOTS_H

/// Lets time pass without waiting: fires the calling thread's pending QTimer::singleShot() timers of @p
/// interval milliseconds, in the order in which they were started, @p count at most. @return how many it
/// fired.
int fireSingleShots(int interval, int count);

/// Fires them all. A shot whose context is gone stays pending without effect, so a test begins with this.
void fireAllSingleShots(int interval);

#endif
