// SPDX-License-Identifier: MIT
#ifndef JSON_JSONWRITER_H
#define JSON_JSONWRITER_H

#include <QByteArray>
#include <QVariant>

namespace Krelm::Communicator::Json {

/// The maximum size of a text in bytes: about 2 GiB, the capacity of a QByteArray, less the writer's
/// headroom.
constexpr int maxSize = 0x7fffffff - 64 * 1024;

/// Why there is no text.
enum class Unwritable { TooDeep, TooLong };
/// The same as text for people, to follow the name of the value.
const char* textOf(Unwritable why);

/// Writes @p value as compact JSON in UTF-8. May be called from any thread.
///
/// Every type is written as QJsonDocument does, with members ordered by key, except that integers beyond 2^53
/// are exact, and that a @p value which is neither map nor list is accepted.
/// @return the text, or an empty array if @p value is nested deeper than 1024 levels or its text would be
/// longer than @p limit (at most `maxSize`); @p why, if given, then receives the reason.
QByteArray write(const QVariant& value, Unwritable* why = nullptr, int limit = maxSize);

} // namespace Krelm::Communicator::Json

#endif
