// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_JSONUTIL_H
#define COMMUNICATOR_JSONUTIL_H

#include <communicator/communicatorexport.h>

#include <QMap>
#include <QString>
#include <QVariant>

/// Parses the JSON text (RFC 8259) of a pushed event. Stateless; may be called from any thread.
///
/// Numbers become `qlonglong`, `qulonglong` or `double` as required; the last of several equal keys wins.
/// Both functions clear @p out first, and leave it empty if the text is not JSON, is not an object, or is
/// nested too deeply.
class COMMUNICATOR_EXPORT JsonUtil
{
public:
    /// Stores all members, flattened to key paths joined by dots. @return whether @p text is a JSON object.
    static bool fromJsonToKeyPathMap(const QString& text, QMap<QString, QVariant>& out);
    // Quirk: The operation named "without data" keeps the data.
    /// Stores the top-level members as parsed, with nested values as maps and lists.
    /// @warning Despite its name it also stores the members that carry data, such as `eventData`.
    /// @return whether @p text is a JSON object.
    static bool fromJsonToMapWithoutData(const QString& text, QMap<QString, QVariant>& out);
};

#endif
