// SPDX-License-Identifier: MIT
#ifndef TESTS_TIMELIMITS_H
#define TESTS_TIMELIMITS_H

/// How often a package of this process was given a time limit so far. What goes out does not tell a limit
/// that equals the transport's default from none.
///
/// A program that asks puts a counting HttpJsonPackage::setExpectedTime() in place of the library's.
int timeLimitsGiven();

#endif
