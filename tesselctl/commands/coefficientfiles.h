// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_COEFFICIENTFILES_H
#define TESSELCTL_COMMANDS_COEFFICIENTFILES_H

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <vector>

namespace TesselCtl {

/// The coefficients of one cabinet, or of all that a device has where no cabinet is named.
struct CoefficientTable
{
    QString cabinet; ///< empty: one list for the whole device
    QByteArray text; ///< a JSON array
};

/// Reads tables and tests that they are JSON arrays, without building what is in them. @p path is a directory
/// with a file CABINET.json for each, a file with an object of cabinet and array, or a file with an array,
/// which is one list for the whole device. Cabinets come in the order of their numbers.
///
/// @return none when something is wrong; then @p problem says what, with file and line.
std::vector<CoefficientTable> readCoefficients(const QString& path, QString& problem);

/// The tables in @p text, which stands in @p file; otherwise as readCoefficients().
std::vector<CoefficientTable> splitCoefficients(const QByteArray& text, const QString& file,
                                                QString& problem);

/// Leaves those of @p cabinets, all when it is empty. @p problem names a cabinet that has no table.
void keepCabinets(std::vector<CoefficientTable>& tables, const QStringList& cabinets, QString& problem);

/// Sorts by number where two names are numbers, by text otherwise.
bool cabinetBefore(const QString& left, const QString& right);

} // namespace TesselCtl

#endif
