// SPDX-License-Identifier: MIT
//
// Creates the rows of the operation list from member functions. Only files in this folder include it.
#ifndef OPERATIONS_ROWS_INVOKER_H
#define OPERATIONS_ROWS_INVOKER_H

#include "operations/operation.h"

#include <QObject>

#include <tuple>
#include <type_traits>
#include <utility>

namespace Tessel::Operations {

/// Converts the return value of an operation; promiseresult.h adds promises.
template <class Returned>
struct ReturnValue;

template <>
struct ReturnValue<bool>
{
    static CallResult result(bool returned) { return {returned, {}, {}}; }
};

/// An operation that returns nothing counts as successful; the caller has to look at its exchanges.
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

/// A parameter in a row. If only a name is given, the C++ type decides: a reference to non-const is an
/// output, which the body of the reply fills.
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

/// An input, even if it is a reference to non-const.
inline RowParameter in(const char* name)
{
    return {name, RowParameter::In};
}
/// An output that the operation also reads.
inline RowParameter inout(const char* name)
{
    return {name, RowParameter::InOut};
}
/// An input: a map of the parts of a multipart form, some of which are files.
inline RowParameter formParts(const char* name)
{
    return {name, RowParameter::FormParts};
}
/// An output: the HTTP status of the reply.
inline RowParameter httpStatus(const char* name)
{
    return {name, RowParameter::HttpStatus};
}
/// An output: the headers of the reply.
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

/// Converts the values to the types of the signature, calls @p call, and collects the outputs.
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

/// All classes share one instantiation per signature.
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

/// A row: the operation's name, the member function, and its parameters in the order of the signature. Types
/// and, by default, directions follow from the signature; `qOverload<...>` selects an overload. If the
/// operation takes a device, its first parameter is named "deviceKey".
template <class Class, class Returned, class... Arguments, std::size_t Count>
Operation operation(const char* name, Returned (Class::*method)(Arguments...),
                    const RowParameter (&row)[Count])
{
    static_assert(Count == sizeof...(Arguments), "a row needs one entry per parameter");
    const RowParameter* next = row;
    const std::vector<Parameter> parameters{parameter<Arguments>(*next++)...};
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name), parameters,
            invoker([]() -> QObject* { return Class::getInstance(); },
                    static_cast<Returned (QObject::*)(Arguments...)>(method), parameters)};
}

/// A row for an operation of @p Class whose arguments cannot be written as text, such as a package or a
/// callback. @p function calls it with arguments that can.
template <class Class, class Returned, class... Arguments, std::size_t Count>
Operation operation(const char* name, Returned (*function)(Arguments...), const RowParameter (&row)[Count])
{
    static_assert(Count == sizeof...(Arguments), "a row needs one entry per parameter");
    const RowParameter* next = row;
    const std::vector<Parameter> parameters{parameter<Arguments>(*next++)...};
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name), parameters,
            invoker(function, parameters)};
}

} // namespace Tessel::Operations

#endif
