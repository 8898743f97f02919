// SPDX-License-Identifier: MIT
#ifndef JSON_JSONREADER_H
#define JSON_JSONREADER_H

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QVariant>

/// Reads JSON texts (RFC 8259) straight into Qt containers. Internal to the libraries that take it in.
///
/// All operations are safe on any bytes and may be called from any thread. They deliver all or nothing: a
/// text that is cut off, followed by anything but white space, not UTF-8, nested deeper than `maxDepth`,
/// longer than `maxSize` or of more than `maxTokens` tokens gives no result.
///
/// Values: an integer is a `qlonglong`, or a `qulonglong` above that range, or a `double` beyond 64 bits; a
/// number with a fraction or an exponent is a `double` (2.0 stays one); a number too large for a `double`
/// makes the text invalid; `null` is `QVariant::fromValue(nullptr)`, as QJsonDocument has it. Of members with
/// the same key the last one counts. A byte-order mark in front is skipped. An escaped surrogate without its
/// partner is kept as it is in the QString.
///
/// Flattened: a member of a nested object stands under its key path with dots, an empty nested object is one
/// entry holding an empty QVariantMap, an array is one entry holding a QVariantList with its elements as
/// parsed. Dots that are part of a key are taken as they are; where two members share a path, the later one
/// in the text counts.
namespace JsonText {

/// How many levels of arrays and objects a text may nest.
constexpr int maxDepth = 256;
/// How many bytes a text may have, so that each of its strings fits into a QString.
constexpr int maxSize = (1 << 30) - 64;
/// How many tokens a text may have, as TokenCounter counts them: each may become some sixty bytes, and
/// takes its time. A list of 10,000 cabinets has a seventh of it. No text has more tokens than bytes.
constexpr int maxTokens = 8 << 20;

/// Whether the whole of @p text is one JSON value.
bool isComplete(const QByteArray& text);

/// Reads the members of the object that @p text is. @return whether it is one; otherwise @p out is empty.
bool readObject(const QByteArray& text, QMap<QString, QVariant>& out);

/// As readObject(), flattened.
bool readFlattened(const QByteArray& text, QMap<QString, QVariant>& out);

/// The object that the top-level member `data` of @p reply holds, flattened; empty when there is none.
/// @p isObject, if given, is set to whether @p reply is a JSON object at all.
QMap<QString, QVariant> dataFlattened(const QByteArray& reply, bool* isObject = nullptr);

/// The elements of the array that the top-level member `data` of @p reply holds, each object among them
/// flattened; empty when there is none. @p isObject as above.
QList<QVariant> dataListFlattened(const QByteArray& reply, bool* isObject = nullptr);

/// As dataListFlattened(), with the elements as parsed.
QList<QVariant> dataList(const QByteArray& reply, bool* isObject = nullptr);

} // namespace JsonText

#endif
