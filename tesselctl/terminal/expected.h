// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_TERMINAL_EXPECTED_H
#define TESSELCTL_TERMINAL_EXPECTED_H

#include <QString>

#include <optional>
#include <type_traits>
#include <utility>
#include <variant>

namespace TesselCtl {

/// Why there is no value, in words for the user.
struct Error
{
    QString text;
};

/// A value, or the error that kept it from being made. A function that returns it ends with the first error.
template <class Value>
class [[nodiscard]] Expected
{
public:
    /// The value that @p value converts to.
    template <class From, std::enable_if_t<std::is_convertible_v<From, Value> &&
                                               !std::is_same_v<std::decay_t<From>, Expected> &&
                                               !std::is_same_v<std::decay_t<From>, Error>,
                                           int> = 0>
    Expected(From&& value)
        : m_content(std::in_place_index<0>, std::forward<From>(value))
    {}
    Expected(Error error)
        : m_content(std::in_place_index<1>, std::move(error))
    {}

    /// Whether there is a value.
    explicit operator bool() const { return m_content.index() == 0; }
    /// The value, which has to be there.
    const Value& operator*() const& { return std::get<0>(m_content); }
    Value& operator*() & { return std::get<0>(m_content); }
    Value&& operator*() && { return std::get<0>(std::move(m_content)); }
    const Value* operator->() const { return &std::get<0>(m_content); }
    /// The error's text; empty when there is a value.
    QString error() const { return *this ? QString() : std::get<1>(m_content).text; }

private:
    std::variant<Value, Error> m_content;
};

/// Whether something is in order, or what is wrong with it.
template <>
class [[nodiscard]] Expected<void>
{
public:
    Expected() = default;
    Expected(Error error)
        : m_error(std::move(error))
    {}

    explicit operator bool() const { return !m_error; }
    /// The error's text; empty when all is in order.
    QString error() const { return m_error ? m_error->text : QString(); }

private:
    std::optional<Error> m_error;
};

} // namespace TesselCtl

#endif
