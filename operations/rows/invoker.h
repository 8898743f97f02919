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

/// A parameter as a row names it. A plain name follows its type: what is taken by a reference that is not
/// const is an output, which the body of the reply fills.
struct RowParameter
{
    enum Kind { ByType, In, InOut, FormParts, HttpStatus, ResponseHeaders };

    RowParameter(const char* parameterName)
        : name(parameterName)
    {}
    RowParameter(const char* parameterName, Kind parameterKind)
        : name(parameterName)
        , kind(parameterKind)
    {}

    const char* name;
    Kind kind = ByType;
};

/// Read only, whatever its type allows.
inline RowParameter in(const char* name)
{
    return {name, RowParameter::In};
}
/// An output that is read as well.
inline RowParameter inout(const char* name)
{
    return {name, RowParameter::InOut};
}
/// A map of the parts of a form, some of which are files.
inline RowParameter formParts(const char* name)
{
    return {name, RowParameter::FormParts};
}
/// An output with the HTTP status of the reply.
inline RowParameter httpStatus(const char* name)
{
    return {name, RowParameter::HttpStatus};
}
/// An output with the headers of the reply.
inline RowParameter responseHeaders(const char* name)
{
    return {name, RowParameter::ResponseHeaders};
}

template <class Argument>
Parameter parameter(const RowParameter& row)
{
    const QString name = QString::fromLatin1(row.name);
    const ValueType type = valueType(static_cast<const Stored<Argument>*>(nullptr));
    switch (row.kind) {
    case RowParameter::In:
        return {name, type, Parameter::In};
    case RowParameter::InOut:
        return {name, type, Parameter::InOut};
    case RowParameter::FormParts:
        return {name, ValueType::Parts, Parameter::In};
    case RowParameter::HttpStatus:
        return {name, type, Parameter::Out, Parameter::HttpStatus};
    case RowParameter::ResponseHeaders:
        return {name, type, Parameter::Out, Parameter::ResponseHeaders};
    case RowParameter::ByType:
        break;
    }
    return {name, type, isOutput<Argument> ? Parameter::Out : Parameter::In};
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

/// A row: the operation's name, the operation, and its parameters in the order of the signature. Types follow
/// from the signature, and directions where the row says nothing else; `qOverload<...>` picks one of several.
/// The first parameter is named "deviceKey" wherever the operation takes one.
template <class Class, class Returned, class... Arguments, std::size_t Count>
Operation operation(const char* name, Returned (Class::*method)(Arguments...),
                    const RowParameter (&row)[Count])
{
    static_assert(Count == sizeof...(Arguments), "one name per parameter");
    const RowParameter* next = row;
    const std::vector<Parameter> parameters{parameter<Arguments>(*next++)...};
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name), parameters,
            invoker([]() -> QObject* { return Class::getInstance(); },
                    static_cast<Returned (QObject::*)(Arguments...)>(method), parameters)};
}

/// A row for an operation of @p Class whose own signature takes what nobody can write, such as a package or a
/// callback: @p function calls it in a form that can be.
template <class Class, class Returned, class... Arguments, std::size_t Count>
Operation operation(const char* name, Returned (*function)(Arguments...), const RowParameter (&row)[Count])
{
    static_assert(Count == sizeof...(Arguments), "one name per parameter");
    const RowParameter* next = row;
    const std::vector<Parameter> parameters{parameter<Arguments>(*next++)...};
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name), parameters,
            invoker(function, parameters)};
}

} // namespace Tessel::Operations

#endif
