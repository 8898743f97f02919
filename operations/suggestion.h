// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_SUGGESTION_H
#define OPERATIONS_SUGGESTION_H

#include <QString>
#include <QStringList>

namespace Tessel::Operations {

/// How many letters must be inserted, dropped, replaced or swapped with their neighbour to turn one into the
/// other, upper and lower case being the same letter.
int editDistance(const QString& left, const QString& right);

/// Those of @p known that @p wrong was probably meant to be: the nearest first, at most three, none when all
/// are far.
QStringList nearest(const QString& wrong, const QStringList& known);

/// "; did you mean a, b or c?", or nothing when nothing is near.
QString didYouMean(const QString& wrong, const QStringList& known);

} // namespace Tessel::Operations

#endif
