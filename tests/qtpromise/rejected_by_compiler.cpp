// SPDX-License-Identifier: MIT
// Misuse that only the compiler's error tells. Each value of CASE must fail to compile; without CASE, all
// must compile, which shows that a failure is not for want of a header.
#include <QtPromise>

using namespace QtPromise;

void use(const QtPromise::QPromise<int>& number)
{
#ifndef CASE
    number.fail([] { return short(1); });
    number.tapFail([] { return QtPromise::QPromise<void>::resolve(); });
    QtPromise::QPromise<int>([](auto resolve, auto) { resolve(1); });
#elif CASE == 1 // a fail handler must return what converts to the promise's type
    number.fail([] {});
#elif CASE == 2 // a tapFail handler must not return a value
    number.tapFail([] { return 1; });
#elif CASE == 3 // a generic executor is called with two arguments
    QtPromise::QPromise<int>([](auto resolve) { resolve(1); });
#elif CASE == 4 // no member functions
    number.then(&QObject::deleteLater);
#elif CASE == 5 // the value is shared, so not by non-const reference
    number.then([](int&) {});
#elif CASE == 6 // nor by rvalue reference
    number.then([](int&&) {});
#elif CASE == 7 // one argument at most
    number.then([](int, int) {});
#endif
}
