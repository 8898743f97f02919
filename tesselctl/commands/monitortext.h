// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDS_MONITORTEXT_H
#define TESSELCTL_COMMANDS_MONITORTEXT_H

#include <QString>
#include <QStringList>
#include <QVariant>

namespace TesselCtl {

/// The columns of a reading.
QStringList monitorColumns();

/// What the monitoring data of a device says of its fans, temperatures, voltages and cabinets, one text per
/// column, "-" where it says nothing. Members are known by their names; those of lists of maps, such as the
/// cabinets, are shown as the range of their values.
QStringList monitorCells(const QVariantMap& data);

} // namespace TesselCtl

#endif
