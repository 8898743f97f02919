// SPDX-License-Identifier: MIT
#include "operationlist.h"

#include "suggestion.h"

#include <QStringList>

#include <iterator>

namespace TesselCtl {

const Operations& allOperations()
{
    static const Operations all = [] {
        Operations operations;
        for (Operations (*const ofClass)() : {capabilityOperations, debugInfoOperations}) {
            Operations some = ofClass();
            operations.insert(operations.end(), std::make_move_iterator(some.begin()),
                              std::make_move_iterator(some.end()));
        }
        return operations;
    }();
    return all;
}

Lookup findOperation(const Operations& operations, const QString& name)
{
    const QString suffix = QStringLiteral("::") + name;
    Lookup found;
    QStringList qualified;
    QStringList known;
    for (const Operation& operation : operations) {
        const QString full = operation.qualifiedName();
        known << operation.name << full;
        if (full != name && !full.endsWith(suffix))
            continue;
        found.operations.push_back(&operation);
        if (!qualified.contains(full))
            qualified << full;
    }
    if (found.operations.empty()) {
        known.removeDuplicates();
        found.problem = QStringLiteral("no operation is named \"%1\"").arg(name) + didYouMean(name, known);
    } else if (qualified.size() > 1) {
        found.operations.clear();
        found.problem = QStringLiteral("\"%1\" is an operation of several classes: %2")
                            .arg(name, qualified.join(QStringLiteral(", ")));
    }
    return found;
}

} // namespace TesselCtl
