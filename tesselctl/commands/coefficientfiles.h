// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_COEFFICIENTFILES_H
#define TESSELCTL_COMMANDS_COEFFICIENTFILES_H

#include "tesselctl/terminal/expected.h"

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
/// @return at least one, or what is wrong, with file and line.
Expected<std::vector<CoefficientTable>> readCoefficients(const QString& path);

/// The tables in @p text, the content of @p file; otherwise as readCoefficients().
Expected<std::vector<CoefficientTable>> splitCoefficients(const QByteArray& text, const QString& file);

/// The tables of @p cabinets, all when it is empty; or which cabinet has no table.
Expected<std::vector<CoefficientTable>> tablesOf(std::vector<CoefficientTable> tables,
                                                 const QStringList& cabinets);

/// Sorts by number where two names are numbers, by text otherwise.
bool cabinetBefore(const QString& left, const QString& right);

} // namespace TesselCtl

#endif
