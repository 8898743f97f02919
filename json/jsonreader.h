// SPDX-License-Identifier: MIT
#ifndef JSON_JSONREADER_H
#define JSON_JSONREADER_H

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

/// Reads JSON texts (RFC 8259) directly into Qt containers. Internal to the libraries that link it.
///
/// All functions are safe on any bytes and may be called from any thread. They return all or nothing: a text
/// that is truncated, is followed by anything but white space, is not UTF-8, is nested deeper than `maxDepth`
/// or is longer than `maxSize` has no result.
///
/// Values: an integer becomes a `qlonglong`, a `qulonglong` above that range, or a `double` beyond 64 bits; a
/// number with a fraction or an exponent becomes a `double` (even 2.0); a number too large for a `double`
/// makes the text invalid; `null` becomes `QVariant::fromValue(nullptr)`, as with QJsonDocument. Among
/// members with the same key the last one wins. A leading byte-order mark is skipped. An escaped surrogate
/// without its partner is kept unchanged in the QString.
///
/// Flattened: members of nested objects become entries whose keys are paths joined by dots, an empty nested
/// object becomes one entry with an empty QVariantMap, and an array one entry with a QVariantList of its
/// elements as parsed. Dots within keys are kept as they are; if two members have the same path, the later
/// one in the text wins.
namespace JsonText {

/// The maximum nesting depth of arrays and objects.
constexpr int maxDepth = 256;
/// The maximum size of a text in bytes, chosen so that each of its strings fits into a QString.
constexpr int maxSize = (1 << 30) - 64;

/// Whether the whole of @p text is one JSON value.
bool isComplete(const QByteArray& text);

/// Reads the members of the object @p text.
/// @return whether it is an object; if not, @p out is empty.
bool readObject(const QByteArray& text, QMap<QString, QVariant>& out);

/// Like readObject(), but flattened.
bool readFlattened(const QByteArray& text, QMap<QString, QVariant>& out);

/// The object in the top-level member `data` of @p reply, flattened; empty if there is none. @p isObject, if
/// given, is set to whether @p reply is a JSON object at all.
QMap<QString, QVariant> dataFlattened(const QByteArray& reply, bool* isObject = nullptr);

/// The elements of the array in the top-level member `data` of @p reply, with each object flattened; empty if
/// there is none. @p isObject as above.
QList<QVariant> dataListFlattened(const QByteArray& reply, bool* isObject = nullptr);

/// Like dataListFlattened(), but with the elements as parsed.
QList<QVariant> dataList(const QByteArray& reply, bool* isObject = nullptr);

} // namespace JsonText

#endif
