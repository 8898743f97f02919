// SPDX-License-Identifier: MIT
#ifndef TESTS_ONEINSTANCE_H
#define TESTS_ONEINSTANCE_H

#include <QtTest>

/// Checks that @p Operator has exactly one instance. Calling its operations does not prove that: those that
/// access no member also work with a null pointer.
template <class Operator>
void checkOneInstance()
{
    Operator* const instance = Operator::getInstance();
    QVERIFY(instance != nullptr);
    QCOMPARE(Operator::getInstance(), instance);
}

#endif
