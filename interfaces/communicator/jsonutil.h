// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_JSONUTIL_H
#define COMMUNICATOR_JSONUTIL_H

#include <communicator/communicatorexport.h>

#include <QMap>
#include <QString>
#include <QVariant>

/// Reads the JSON text of a pushed event. Stateless; may be called from any thread.
///
/// Numbers become `qlonglong`, `qulonglong` or `double` as the text requires; of a duplicate key the last one
/// counts. Both operations empty @p out first and leave it empty on failure: no JSON, no object at the top,
/// nested too deep.
class COMMUNICATOR_EXPORT JsonUtil
{
public:
    /// All members, flattened to key paths with dots. @return whether @p text is a JSON object.
    static bool fromJsonToKeyPathMap(const QString& text, QMap<QString, QVariant>& out);
    // Quirk: The operation named "without data" keeps the data.
    /// The top-level members as parsed, nested values left as maps and lists. @return as above.
    static bool fromJsonToMapWithoutData(const QString& text, QMap<QString, QVariant>& out);
};

#endif
