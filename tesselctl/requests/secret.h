// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_SECRET_H
#define TESSELCTL_REQUESTS_SECRET_H

#include <QString>

namespace TesselCtl {

/// A password or token: from the environment variable @p variable, else from the first line of the file @p
/// file, else typed on the terminal without being shown. Empty when it could not be had, and @p problem says
/// why.
QString readSecret(const QString& variable, const QString& file, QString& problem);

} // namespace TesselCtl

#endif
