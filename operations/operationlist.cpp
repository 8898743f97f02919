// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"

#include "operations/suggestion.h"

#include <QStringList>

#include <iterator>

namespace Tessel::Operations {

const Operations& allOperations()
{
    static const Operations all = [] {
        Operations operations;
        for (Operations (*const ofClass)() :
             {algorithmOperations, cabinetInfoOperatorOperations, capabilityOperations,
              correctionopOperations, debugInfoOperations, factoryOpOperations, hwInfoOperations,
              hwScreenInfoOperations, inputInfoOperations, monitorInfoOperations,
              outputInfoOperatorOperations, pipeInfoOperations, rvCardDisplayEffectOperations,
              screenInfoOperations}) {
            Operations some = ofClass();
            operations.insert(operations.end(), std::make_move_iterator(some.begin()),
                              std::make_move_iterator(some.end()));
        }
        return operations;
    }();
    return all;
}

namespace {

// Cuts the number of an overload off; 0 when there is none.
int takeOverload(QString& name)
{
    const auto hash = name.lastIndexOf(QLatin1Char('#'));
    const int number = hash < 0 ? 0 : name.mid(hash + 1).toInt();
    if (number > 0) {
        name.truncate(hash);
    }
    return number;
}

} // namespace

Lookup findOperation(const Operations& operations, QString name)
{
    const int overload = takeOverload(name);
    const QString suffix = QStringLiteral("::") + name;
    Lookup found;
    QStringList qualified;
    QStringList known;
    for (const Operation& operation : operations) {
        const QString full = operation.qualifiedName();
        known << operation.name << full;
        if (full != name && !full.endsWith(suffix)) {
            continue;
        }
        found.operations.push_back(&operation);
        if (!qualified.contains(full)) {
            qualified << full;
        }
    }
    if (found.operations.empty()) {
        known.removeDuplicates();
        found.error = QStringLiteral("unknown operation \"%1\"").arg(name) + didYouMean(name, known);
    } else if (qualified.size() > 1) {
        found.operations.clear();
        found.error = QStringLiteral("several classes have an operation \"%1\"; use %2")
                          .arg(name, qualified.join(QStringLiteral(" or ")));
    } else if (overload > static_cast<int>(found.operations.size())) {
        found.error = QStringLiteral("%1 has no overload %2; there are %3")
                          .arg(qualified.first())
                          .arg(overload)
                          .arg(found.operations.size());
        found.operations.clear();
    } else if (overload > 0) {
        found.operations = {found.operations[static_cast<std::size_t>(overload - 1)]};
    }
    return found;
}

} // namespace Tessel::Operations
