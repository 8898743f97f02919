// SPDX-License-Identifier: MIT
#ifndef BENCH_SOAK_CACHES_H
#define BENCH_SOAK_CACHES_H

#include "soakdevice.h"

/// Reads everything of @p device that is cached, so that it is. @return whether all was read.
bool fillCaches(const SoakDevice& device);

/// The caches that differ from what @p device has now, by name; empty if all are equal. A cache that has no
/// entry is read from the device. Call it on the operators' thread.
QStringList staleCaches(const SoakDevice& device);

/// Makes one cache deaf: its operator is not told of events any more.
void deafenACache();

#endif
