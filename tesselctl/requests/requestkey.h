// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_REQUESTS_REQUESTKEY_H
#define TESSELCTL_REQUESTS_REQUESTKEY_H

#include <QByteArray>
#include <QString>

#include <utility>

namespace TesselCtl {

/// What tells exchanges apart that run side by side: the device, as records of the transport name it, and the
/// path, placeholders filled in and nothing encoded.
using RequestKey = std::pair<QString, QString>;

/// The key of requests to @p device on @p path.
RequestKey requestKey(const QString& device, const QString& path);
/// The key of what the transport tells, whose path is encoded.
RequestKey requestKey(const QString& device, const QByteArray& encodedPath);

} // namespace TesselCtl

#endif
