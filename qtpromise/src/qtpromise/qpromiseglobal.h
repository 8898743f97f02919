// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISEGLOBAL_H
#define QTPROMISE_QPROMISEGLOBAL_H

#include <cstddef>
#include <type_traits>
#include <utility>

namespace QtPromisePrivate {

template <typename T>
using RemoveCvRef = typename std::remove_cv<typename std::remove_reference<T>::type>::type;

template <bool Condition>
using Requires = typename std::enable_if<Condition, int>::type;

template <typename...>
struct MakeVoid
{
    using Type = void;
};

template <typename... Args>
struct ArgList
{
    using first = void;
    static constexpr std::size_t count = 0;
};

template <typename First, typename... Rest>
struct ArgList<First, Rest...>
{
    using first = First;
    static constexpr std::size_t count = 1 + sizeof...(Rest);
};

/// The arguments of a function type, with the qualifiers that a call operator may carry.
template <typename Signature>
struct ArgsOfSignature : ArgList<>
{};

#define QTPROMISE_SIGNATURE(qualifiers)                                                                      \
    template <typename R, typename... Args>                                                                  \
    struct ArgsOfSignature<R(Args...) qualifiers> : ArgList<Args...>                                         \
    {};
#define QTPROMISE_SIGNATURES(qualifiers)                                                                     \
    QTPROMISE_SIGNATURE(qualifiers)                                                                          \
    QTPROMISE_SIGNATURE(const qualifiers)                                                                    \
    QTPROMISE_SIGNATURE(volatile qualifiers)                                                                 \
    QTPROMISE_SIGNATURE(const volatile qualifiers)
QTPROMISE_SIGNATURES()
QTPROMISE_SIGNATURES(&)
#ifdef __cpp_noexcept_function_type
QTPROMISE_SIGNATURES(noexcept)
QTPROMISE_SIGNATURES(&noexcept)
#endif
#undef QTPROMISE_SIGNATURES
#undef QTPROMISE_SIGNATURE

/// The arguments of a member function, signals included.
template <typename Member>
struct ArgsOfMember : ArgList<>
{};

template <typename Signature, typename Class>
struct ArgsOfMember<Signature Class::*> : ArgsOfSignature<Signature>
{};

template <typename F, typename = void>
struct ArgsOfCallable : ArgsOfSignature<typename std::remove_pointer<F>::type>
{};

template <typename F>
struct ArgsOfCallable<F, typename MakeVoid<decltype(&F::operator())>::Type>
    : ArgsOfMember<decltype(&F::operator())>
{};

/// The declared arguments of a callable: `first` is the type of the first one (void if there is none),
/// `count` their number. A callable whose arguments cannot be deduced (a generic lambda, an overloaded call
/// operator) has none.
template <typename F>
struct ArgsOf : ArgsOfCallable<RemoveCvRef<F>>
{};

template <typename F, typename... Args>
struct IsCallable
{
    template <typename G>
    static auto test(int) -> decltype(std::declval<G>()(std::declval<Args>()...), std::true_type());
    template <typename>
    static std::false_type test(...);

    static constexpr bool value = decltype(test<F>(0))::value;
};

} // namespace QtPromisePrivate

#endif // QTPROMISE_QPROMISEGLOBAL_H
