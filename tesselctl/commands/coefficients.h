// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_COEFFICIENTS_H
#define TESSELCTL_COMMANDS_COEFFICIENTS_H

#include "tesselctl/commandparser.h"

namespace TesselCtl {

/// The commands within "coefficients".
void addCoefficientUpload(CommandParser& coefficients);
void addCoefficientDownload(CommandParser& coefficients);
void addCoefficientSave(CommandParser& coefficients);
void addCoefficientClear(CommandParser& coefficients);

/// Which coefficients, as the command line names them.
struct CoefficientSelection
{
    QString kind = QStringLiteral("plain"); ///< one of coefficientKindNames()
    QString cabinets;                       ///< with commas between them

    /// Each once, in the order in which they are named.
    QStringList cabinetNames() const;
    CommandOption addKind(CommandParser& command);
    CommandOption addCabinets(CommandParser& command, const QString& description);
};

} // namespace TesselCtl

#endif
