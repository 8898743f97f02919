// SPDX-License-Identifier: MIT
// Built as C++14 and with every warning that the headers are kept clean for.
#include <QtPromise>

#include <QTest>

#include <functional>
#include <list>
#include <string>
#include <type_traits>
#include <vector>

using namespace QtPromise;
using QtPromisePrivate::ArgsOf;

namespace {

template <typename F, typename First, std::size_t Count>
constexpr bool argsAre()
{
    return std::is_same<typename ArgsOf<F>::first, First>::value && ArgsOf<F>::count == Count;
}

/// Holds for a callable type in every form in which it is passed about.
template <typename F, typename First, std::size_t Count>
constexpr bool argsOfEveryFormAre()
{
    return argsAre<F, First, Count>() && argsAre<F&, First, Count>() && argsAre<F&&, First, Count>() &&
           argsAre<const F, First, Count>() && argsAre<const F&, First, Count>() &&
           argsAre<volatile F&, First, Count>() && argsAre<const volatile F&&, First, Count>();
}

struct Plain
{
    void operator()(int&, char);
};
struct Const
{
    void operator()(const QString&) const;
};
struct Volatile
{
    void operator()(double) volatile;
};
struct ConstVolatile
{
    void operator()() const volatile;
};
struct Noexcept
{
    int operator()(int, int, int) const noexcept;
};
struct Overloaded
{
    void operator()(int);
    void operator()(double);
};

template <typename T, typename U>
constexpr bool same(const U&)
{
    return std::is_same<T, U>::value;
}

// What an executor may be.
struct Nullary
{
    void operator()() const;
};
struct ByNonConstReference
{
    void operator()(QPromiseResolve<int>&) const;
};
struct OneOfInt
{
    void operator()(const QPromiseResolve<int>&) const;
};

static_assert(!std::is_default_constructible<QtPromise::QPromise<int>>::value, "");
static_assert(!std::is_default_constructible<QtPromise::QPromise<void>>::value, "");
static_assert(!std::is_constructible<QtPromise::QPromise<void>, QtPromise::QPromise<int>>::value, "");
static_assert(!std::is_constructible<QtPromise::QPromise<int>, QtPromise::QPromise<void>>::value, "");
static_assert(!std::is_constructible<QtPromise::QPromise<int>, Nullary>::value, "");
static_assert(!std::is_constructible<QtPromise::QPromise<int>, ByNonConstReference>::value, "");
static_assert(!std::is_constructible<QtPromise::QPromise<int>, int>::value, "");
static_assert(std::is_convertible<OneOfInt, QtPromise::QPromise<int>>::value, "");
static_assert(std::is_convertible<void (*)(QPromiseResolve<int>), QtPromise::QPromise<int>>::value, "");
static_assert(
    std::is_convertible<std::function<void(const QPromiseResolve<int>&)>, QtPromise::QPromise<int>>::value,
    "");
static_assert(std::is_convertible<QPromiseBase<int>, QtPromise::QPromise<int>>::value, "");
static_assert(std::is_copy_constructible<QtPromise::QPromise<int>>::value, "");
static_assert(std::is_nothrow_move_assignable<QPromiseBase<int>>::value, "");
static_assert(std::has_virtual_destructor<QtPromise::QPromise<int>>::value, "");

using QtPromisePrivate::IsCallable;
static_assert(IsCallable<const QPromiseResolve<int>&, int>::value, "");
static_assert(IsCallable<const QPromiseResolve<QString>&, const char*>::value, "");
static_assert(IsCallable<const QPromiseResolve<void>&>::value, "");
static_assert(!IsCallable<const QPromiseResolve<int>&>::value, "resolve() is for void");
static_assert(!IsCallable<const QPromiseResolve<void>&, int>::value, "resolve(value) is not for void");
static_assert(!IsCallable<const QPromiseResolve<int>&, QString>::value, "the value must convert");
static_assert(!IsCallable<const QPromiseResolve<int>&, QtPromise::QPromise<int>>::value,
              "a resolver adopts nothing");
static_assert(IsCallable<const QPromiseReject<int>&>::value, "");
static_assert(IsCallable<const QPromiseReject<int>&, const char (&)[4]>::value, "");

template <typename P, typename = void>
struct HasSequenceMembers : std::false_type
{};
template <typename P>
struct HasSequenceMembers<P, typename QtPromisePrivate::MakeVoid<decltype(std::declval<P>().each(
                                 std::declval<void (*)(int, int)>()))>::Type> : std::true_type
{};
static_assert(HasSequenceMembers<QtPromise::QPromise<QVector<int>>>::value, "");
static_assert(!HasSequenceMembers<QtPromise::QPromise<void>>::value, "");

} // namespace

class TestPromiseTraits : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void argumentsOfNullptrAreNone() { QVERIFY((argsOfEveryFormAre<std::nullptr_t, void, 0>())); }

    void argumentsOfFunctionsAndPointers()
    {
        QVERIFY((argsAre<void(), void, 0>()));
        QVERIFY((argsAre<void(int, char), int, 2>()));
        QVERIFY((argsAre<void (&)(const int&), const int&, 1>()));
        QVERIFY((argsOfEveryFormAre<void (*)(QString), QString, 1>()));
        QVERIFY((argsOfEveryFormAre<void (*)(), void, 0>()));
    }

    void argumentsOfStdFunctions()
    {
        QVERIFY((argsOfEveryFormAre<std::function<int()>, void, 0>()));
        QVERIFY((argsOfEveryFormAre<std::function<int(const QString&, int)>, const QString&, 2>()));
    }

    void argumentsOfCallOperators()
    {
        QVERIFY((argsOfEveryFormAre<Plain, int&, 2>()));
        QVERIFY((argsOfEveryFormAre<Const, const QString&, 1>()));
        QVERIFY((argsOfEveryFormAre<Volatile, double, 1>()));
        QVERIFY((argsOfEveryFormAre<ConstVolatile, void, 0>()));
        QVERIFY((argsOfEveryFormAre<Noexcept, int, 3>()));
    }

    void argumentsOfLambdas()
    {
        const auto two = [](const std::string&, int) {};
        const auto changing = [](int&&) mutable {};
        const auto none = [] {};
        const auto quiet = [](int) noexcept {};
        QVERIFY((argsOfEveryFormAre<decltype(two), const std::string&, 2>()));
        QVERIFY((argsOfEveryFormAre<decltype(changing), int&&, 1>()));
        QVERIFY((argsOfEveryFormAre<decltype(none), void, 0>()));
        QVERIFY((argsOfEveryFormAre<decltype(quiet), int, 1>()));
    }

    void argumentsThatCannotBeDeducedCountAsNone()
    {
        const auto generic = [](auto, auto) {};
        QVERIFY((argsOfEveryFormAre<decltype(generic), void, 0>()));
        QVERIFY((argsOfEveryFormAre<Overloaded, void, 0>()));
    }

    void theResultTypesOfTheMembers()
    {
        const auto p = QtPromise::QPromise<int>::resolve(1);
        const auto s = QtPromise::QPromise<QVector<int>>::resolve({1});
        const auto text = [](int, int) { return QString(); };
        QVERIFY((same<QtPromise::QPromise<void>>(p.then([](int) {}))));
        QVERIFY((same<QtPromise::QPromise<QString>>(p.then([] { return QString(); }, nullptr))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.then(nullptr))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.fail([] { return 0; }))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.finally([] {}))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.tap([] {}))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.tapFail([] {}))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.timeout(60000))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.delay(0))));
        QVERIFY((same<QtPromise::QPromise<int>>(p.wait())));
        QVERIFY((same<QtPromise::QPromise<double>>(p.convert<double>())));
        QVERIFY((same<QtPromise::QPromise<QVector<int>>>(s.each(text))));
        QVERIFY((same<QtPromise::QPromise<QVector<int>>>(s.filter([](int, int) { return true; }))));
        QVERIFY((same<QtPromise::QPromise<QVector<QString>>>(s.map(text))));
        QVERIFY((same<QtPromise::QPromise<int>>(s.reduce([](int a, int, int) { return a; }))));
        QVERIFY((same<QtPromise::QPromise<double>>(s.reduce([](double a, int, int) { return a; }, 0.5))));
        QVERIFY((same<QtPromise::QPromise<int>>(QPromiseBase<int>::reject(1))));
    }

    void theResultTypesOfTheFreeFunctions()
    {
        const std::list<int> list{1};
        const auto text = [](int, int) { return QString(); };
        QVERIFY((same<QtPromise::QPromise<int>>(QtPromise::resolve(1))));
        QVERIFY((same<QtPromise::QPromise<void>>(QtPromise::resolve())));
        QVERIFY((same<QtPromise::QPromise<int>>(QtPromise::resolve(QtPromise::QPromise<int>::resolve(1)))));
        QVERIFY((same<QtPromise::QPromise<QVector<int>>>(
            QtPromise::all(std::vector<QtPromise::QPromise<int>>()))));
        QVERIFY((same<QtPromise::QPromise<void>>(QtPromise::all(std::list<QtPromise::QPromise<void>>()))));
        QVERIFY((same<QtPromise::QPromise<void>>(QtPromise::attempt([] {}))));
        QVERIFY((same<QtPromise::QPromise<int>>(
            QtPromise::attempt([](int a) { return QtPromise::QPromise<int>::resolve(a); }, 1))));
        QVERIFY((same<QtPromise::QPromise<std::list<int>>>(QtPromise::each(list, text))));
        QVERIFY((same<QtPromise::QPromise<QVector<QString>>>(QtPromise::map(list, text))));
        QVERIFY((same<QtPromise::QPromise<std::list<int>>>(
            QtPromise::filter(list, [](int, int) { return true; }))));
        QVERIFY((same<QtPromise::QPromise<int>>(QtPromise::reduce(list, [](int a, int, int) { return a; }))));
        QVERIFY((same<QtPromise::QPromise<int>>(QtPromise::reduce(
            list, [](int a, int, int) { return a; }, 2))));
    }
};

QTEST_GUILESS_MAIN(TestPromiseTraits)
#include "tst_promise_traits.moc"
