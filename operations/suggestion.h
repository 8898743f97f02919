// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_SUGGESTION_H
#define OPERATIONS_SUGGESTION_H

#include <QString>
#include <QStringList>

namespace Tessel::Operations {

/// The number of letters to insert, delete, replace or swap with their neighbour to turn one text into the
/// other, ignoring case.
int editDistance(const QString& left, const QString& right);

/// Up to three of @p known that are similar to @p wrong, the most similar first.
QStringList nearest(const QString& wrong, const QStringList& known);

/// "; did you mean a, b or c?", or empty if nothing is similar.
QString didYouMean(const QString& wrong, const QStringList& known);

} // namespace Tessel::Operations

#endif
