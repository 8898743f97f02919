// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_REFERENCE_H
#define OPERATIONS_REFERENCE_H

#include "operations/operation.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace Tessel::Operations {

/// What an operation sends to a device or gets from it.
struct ReferenceBody
{
    QString sample; ///< compact JSON, a few words where it is not JSON, "not specified"; null for no body
    QStringList members; ///< a line for each known member: name, type, range, meaning and unit
};

/// A request that an operation sends when nothing is cached.
struct ReferenceRequest
{
    QString protocol;    ///< "single-screen" or "multi-screen"; empty if both get the same
    QString verb;        ///< in capitals
    QString path;        ///< with its placeholders; empty if there is no route
    QStringList query;   ///< the names of its query parameters
    int timeLimit = 0;   ///< of the whole exchange, in milliseconds
    QString waits;       ///< "yes", "no", and how
    ReferenceBody body;  ///< what is sent
    ReferenceBody reply; ///< the `data` of what the device replies
};

/// What is known of an operation besides its parameters. The text is Markdown.
struct ReferenceEntry
{
    QString name;          ///< qualified, with the number of the overload if there are several
    QString declaration;   ///< in C++
    QStringList text;      ///< what it does, a paragraph each
    QStringList warnings;  ///< what may surprise, a paragraph each
    QString withoutEffect; ///< "no route" or "does nothing"; empty for most
    bool addsWaitTime;     ///< whether its parameter `waitTime` is added to the time limits
    std::vector<ReferenceRequest> requests; ///< in the order in which they are sent
    QStringList cache;                      ///< what the caches have to do with it
    QStringList raised;                     ///< the signals that may follow
};

/// The entries of all operations, in the order of allOperations(). Any thread may call it; the first call
/// reads them.
const std::vector<ReferenceEntry>& referenceEntries();

/// The entry called @p name, compared exactly, or null.
const ReferenceEntry* referenceOf(const QString& name);

/// The names of @p operations as the reference has them: several of one name are numbered from 1, in their
/// order.
QStringList referenceNames(const std::vector<Operation>& operations);

} // namespace Tessel::Operations

#endif
