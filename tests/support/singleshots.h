// SPDX-License-Identifier: MIT
#ifndef TESTS_SINGLESHOTS_H
#define TESTS_SINGLESHOTS_H

/// Skips a wait: fires up to @p count pending QTimer::singleShot() timers of the calling thread that have an
/// interval of @p interval milliseconds, in the order in which they were started. @return the number of fired
/// timers.
int fireSingleShots(int interval, int count);

/// Fires all of them. One whose context was destroyed stays pending without effect, so tests begin with this.
void fireAllSingleShots(int interval);

#endif
