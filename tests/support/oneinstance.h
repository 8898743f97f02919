// SPDX-License-Identifier: MIT
#ifndef TESTS_ONEINSTANCE_H
#define TESTS_ONEINSTANCE_H

#include <QtTest>

/// Checks that @p Operator has exactly one instance. A test that calls its operations does not show this:
/// those that look at no member run on a null pointer as well.
template <class Operator>
void checkOneInstance()
{
    Operator* const instance = Operator::getInstance();
    QVERIFY(instance != nullptr);
    QCOMPARE(Operator::getInstance(), instance);
}

#endif
