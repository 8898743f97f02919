// SPDX-License-Identifier: MIT
//
// Makes rows of the operation list out of member functions. Included by the files under operations/ only.
#ifndef TESSELCTL_INVOKER_H
#define TESSELCTL_INVOKER_H

#include "operation.h"

#include <QObject>

#include <tuple>
#include <type_traits>
#include <utility>

namespace TesselCtl {

/// What the return value of an operation says; promiseresult.h adds the promises.
template <class Returned>
struct ReturnValue;

template <>
struct ReturnValue<bool>
{
    static CallResult result(bool returned) { return {returned, {}, {}}; }
};

template <class Argument>
using Stored = std::decay_t<Argument>;

template <class Argument>
constexpr bool isOutput =
    std::is_lvalue_reference_v<Argument> && !std::is_const_v<std::remove_reference_t<Argument>>;

/// An output whose name in the row begins with "inout " is read as well.
template <class Argument>
Parameter parameter(const char* name)
{
    const ValueType type = valueType(static_cast<const Stored<Argument>*>(nullptr));
    const QString text = QString::fromLatin1(name);
    const QString inout = QStringLiteral("inout ");
    if (!isOutput<Argument>)
        return {text, type, Parameter::In};
    if (text.startsWith(inout))
        return {text.mid(inout.size()), type, Parameter::InOut};
    return {text, type, Parameter::Out};
}

template <class Argument>
void appendOutput(QVariantList& outputs, const Stored<Argument>& value)
{
    if constexpr (isOutput<Argument>)
        outputs.append(toVariant(value));
}

/// One instance per distinct signature, whatever the class.
template <class Returned, class... Arguments, std::size_t... Index>
CallResult invoke(QObject* object, Returned (QObject::*method)(Arguments...), const QVariantList& values,
                  std::index_sequence<Index...>)
{
    std::tuple<Stored<Arguments>...> arguments{};
    (fromVariant(values.value(static_cast<int>(Index)), std::get<Index>(arguments)), ...);
    CallResult result = ReturnValue<Returned>::result((object->*method)(std::get<Index>(arguments)...));
    QVariantList outputs;
    (appendOutput<Arguments>(outputs, std::get<Index>(arguments)), ...);
    result.outputs = outputs + result.outputs;
    return result;
}

template <class Returned, class... Arguments>
Invoker invoker(QObject* (*instance)(), Returned (QObject::*method)(Arguments...))
{
    return [instance, method](const QVariantList& values) {
        return invoke(instance(), method, values, std::index_sequence_for<Arguments...>{});
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
    return {QString::fromLatin1(Class::staticMetaObject.className()), QString::fromLatin1(name),
            std::vector<Parameter>{parameter<Arguments>(*next++)...},
            invoker([]() -> QObject* { return Class::getInstance(); },
                    static_cast<Returned (QObject::*)(Arguments...)>(method))};
}

} // namespace TesselCtl

#endif
