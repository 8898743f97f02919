// SPDX-License-Identifier: MIT
#ifndef TESTS_TIMELIMITS_H
#define TESTS_TIMELIMITS_H

/// How often a time limit has been set for a package in this process. A request does not show the difference
/// between a limit that equals the transport's default and no limit.
///
/// Programs that call this replace the library's HttpJsonPackage::setExpectedTime() with one that counts.
int timeLimitsGiven();

#endif
