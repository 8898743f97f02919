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
/// that is truncated, is followed by anything but white space, is not UTF-8, is nested deeper than
/// `maxDepth`, is longer than `maxSize` or has more than `maxTokens` tokens has no result.
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
///
/// What an output holds is overwritten, and what nothing shares of it is used again: reading the same members
/// into it once more is about twice as fast as into an empty one.
namespace JsonText {

/// The maximum nesting depth of arrays and objects.
constexpr int maxDepth = 256;
/// The maximum size of a text in bytes, chosen so that each of its strings fits into a QString.
constexpr int maxSize = (1 << 30) - 64;
/// How many tokens a text may have, as TokenCounter counts them: each may become some sixty bytes, and
/// takes its time. A list of 10,000 cabinets has a seventh of it. No text has more tokens than bytes.
constexpr int maxTokens = 8 << 20;

/// Whether the whole of @p text is one JSON value.
bool isComplete(const QByteArray& text);

/// Reads the members of the object @p text.
/// @return whether it is an object; if not, @p out is empty.
bool readObject(const QByteArray& text, QMap<QString, QVariant>& out);

/// Like readObject(), but flattened.
bool readFlattened(const QByteArray& text, QMap<QString, QVariant>& out);

/// Reads the object in the top-level member `data` of @p reply, flattened.
/// @return whether @p reply is a JSON object at all; without an object in it @p out is empty.
bool readDataFlattened(const QByteArray& reply, QMap<QString, QVariant>& out);

/// Reads the elements of the array in the top-level member `data` of @p reply, with each object flattened.
/// @return whether @p reply is a JSON object at all; without an array in it @p out is empty.
bool readDataListFlattened(const QByteArray& reply, QList<QVariant>& out);

/// Like readDataListFlattened(), but with the elements as parsed.
bool readDataList(const QByteArray& reply, QList<QVariant>& out);

/// The same, with the result as value.
inline QMap<QString, QVariant> dataFlattened(const QByteArray& reply)
{
    QMap<QString, QVariant> out;
    readDataFlattened(reply, out);
    return out;
}
inline QList<QVariant> dataListFlattened(const QByteArray& reply)
{
    QList<QVariant> out;
    readDataListFlattened(reply, out);
    return out;
}
inline QList<QVariant> dataList(const QByteArray& reply)
{
    QList<QVariant> out;
    readDataList(reply, out);
    return out;
}

} // namespace JsonText

#endif
