// SPDX-License-Identifier: MIT
#ifndef TESTS_API_OPERATIONFACTS_H
#define TESTS_API_OPERATIONFACTS_H

#include <QJsonArray>

/// What each operation takes, sends and does, learnt by calling it on devices that answer in process: its
/// requests, whether it waits, the caches it reads and fills, the signals it raises. On the application's
/// thread.
QJsonArray operationFacts();

#endif
