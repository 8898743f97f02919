// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_CABINETMAP_H
#define TESSELCTL_COMMANDS_CABINETMAP_H

#include <QString>
#include <QVariant>

namespace TesselCtl {

/// A picture of @p cabinets, which are maps with id, screen, x, y and online, in characters: for each screen
/// a line with its id, then the ids of its cabinets, the rows of the wall from top to bottom. A dot is a gap,
/// an exclamation mark precedes a cabinet that is offline, and a plus sign follows one that others lie upon.
QString cabinetMap(const QVariantList& cabinets);

} // namespace TesselCtl

#endif
