// SPDX-License-Identifier: MIT
#ifndef JSON_JSONWRITER_H
#define JSON_JSONWRITER_H

#include <QByteArray>
#include <QVariant>

namespace Krelm::Communicator::Json {

/// How many bytes a text may have: about 2 GiB, which is what a QByteArray holds, less the writer's headroom.
constexpr int maxSize = 0x7fffffff - 64 * 1024;

/// Why there is no text.
enum class Unwritable { TooDeep, TooLong };
/// The same for people, behind the name of what was to be written.
const char* textOf(Unwritable why);

/// Writes @p value as compact JSON in UTF-8. May be called from any thread.
///
/// Every type becomes what QJsonDocument makes of it, members in the order of their keys, with two
/// differences: integers are exact beyond 2^53, and a @p value that is neither map nor list is written as the
/// value that it is.
/// @return an empty array, which is no JSON text, when @p value nests deeper than 1024 levels or its text is
/// longer than @p limit, which is at most `maxSize`; @p why, if given, then tells which.
QByteArray write(const QVariant& value, Unwritable* why = nullptr, int limit = maxSize);

} // namespace Krelm::Communicator::Json

#endif
