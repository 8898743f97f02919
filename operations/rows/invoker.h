// SPDX-License-Identifier: MIT
//
// Makes rows of the operation list out of member functions. Included by the rows only.
#ifndef OPERATIONS_ROWS_INVOKER_H
#define OPERATIONS_ROWS_INVOKER_H

#include "operations/operation.h"

#include <QObject>

#include <tuple>
#include <type_traits>
#include <utility>

namespace Tessel::Operations {

/// What the return value of an operation says; promiseresult.h adds the promises.
template <class Returned>
struct ReturnValue;

template <>
struct ReturnValue<bool>
{
    static CallResult result(bool returned) { return {returned, {}, {}}; }
};

/// What becomes of an operation that says nothing: how its exchanges ended tells.
template <>
struct ReturnValue<void>
{
    static CallResult result() { return {true, {}, {}}; }
};

template <class Argument>
using Stored = std::decay_t<Argument>;

template <class Argument>
constexpr bool isOutput =
    std::is_lvalue_reference_v<Argument> && !std::is_const_v<std::remove_reference_t<Argument>>;

/// An output whose name in the row begins with "inout " is read as well; one whose name begins with "in " is
/// read only, whatever its type allows. A map whose name begins with "form " holds the parts of a form.
template <class Argument>
Parameter parameter(const char* name)
{
    const ValueType type = valueType(static_cast<const Stored<Argument>*>(nullptr));
    const QString text = QString::fromLatin1(name);
    const QString in = QStringLiteral("in ");
    const QString inout = QStringLiteral("inout ");
    const QString form = QStringLiteral("form ");
    if (text.startsWith(form)) {
        return {text.mid(form.size()), ValueType::Parts, Parameter::In};
    }
    if (!isOutput<Argument>) {
        return {text, type, Parameter::In};
    }
    if (text.startsWith(in)) {
        return {text.mid(in.size()), type, Parameter::In};
    }
    if (text.startsWith(inout)) {
        return {text.mid(inout.size()), type, Parameter::InOut};
    }
    return {text, type, Parameter::Out};
}

template <class Argument>
void appendOutput(QVariantList& outputs, const Parameter& parameter, const Stored<Argument>& value)
{
    if constexpr (isOutput<Argument>) {
        if (parameter.direction != Parameter::In) {
            outputs.append(toVariant(value));
        }
    }
}

/// Calls @p call with the values in the types of the signature.
template <class Returned, class... Arguments, class Call, std::size_t... Index>
CallResult invoke(const Call& call, const std::vector<Parameter>& parameters, const QVariantList& values,
                  std::index_sequence<Index...>)
{
    std::tuple<Stored<Arguments>...> arguments{};
    (fromVariant(values.value(static_cast<int>(Index)), std::get<Index>(arguments)), ...);
    CallResult result;
    if constexpr (std::is_void_v<Returned>) {
        call(std::get<Index>(arguments)...);
        result = ReturnValue<void>::result();
    } else {
        result = ReturnValue<Returned>::result(call(std::get<Index>(arguments)...));
    }
    QVariantList outputs;
    (appendOutput<Arguments>(outputs, parameters[Index], std::get<Index>(arguments)), ...);
    result.outputs = outputs + result.outputs;
    return result;
}

/// One instance per distinct signature, whatever the class.
template <class Returned, class... Arguments>
Invoker invoker(QObject* (*instance)(), Returned (QObject::*method)(Arguments...),
                std::vector<Parameter> parameters)
{
    return [instance, method, parameters = std::move(parameters)](const QVariantList& values) {
        const auto call = [object = instance(), method](auto&... arguments) -> Returned {
            return (object->*method)(arguments...);
        };
        return invoke<Returned, Arguments...>(call, parameters, values,
                                              std::index_sequence_for<Arguments...>{});
    };
}

template <class Returned, class... Arguments>
Invoker invoker(Returned (*function)(Arguments...), std::vector<Parameter> parameters)
{
    return [function, parameters = std::move(parameters)](const QVariantList& values) {
        return invoke<Returned, Arguments...>(function, parameters, values,
                                              std::index_sequence_for<Arguments...>{});
    };
}

/// A row: the operation's name, the operation, and the names of its parameters in the order of the signature.
/// Types and directions follow from the signature; `qOverload<...>` picks one of several. The first parameter
/// is named "deviceKey" wherever the operation takes one.
template <class Class, class Returned, class... Arguments, std::size_t Count>
Operation operation(const char* name, Returned (Class::*method)(Arguments...),
                    const char* const (&names)[Count])
{
    static_assert(Count == sizeof...(Arguments), "one name per parameter");
    const char* const* next = names;
    const std::vector<Parameter> parameters{parameter<Arguments>(*next++)...};
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name), parameters,
            invoker([]() -> QObject* { return Class::getInstance(); },
                    static_cast<Returned (QObject::*)(Arguments...)>(method), parameters)};
}

/// A row for an operation of @p Class whose own signature takes what nobody can write, such as a package or a
/// callback: @p function calls it in a form that can be.
template <class Class, class Returned, class... Arguments, std::size_t Count>
Operation operation(const char* name, Returned (*function)(Arguments...), const char* const (&names)[Count])
{
    static_assert(Count == sizeof...(Arguments), "one name per parameter");
    const char* const* next = names;
    const std::vector<Parameter> parameters{parameter<Arguments>(*next++)...};
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name), parameters,
            invoker(function, parameters)};
}

} // namespace Tessel::Operations

#endif
