// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REQUESTURL_H
#define COMMUNICATOR_HTTP_REQUESTURL_H

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// Path and query for the request line (RFC 3986).
///
/// Each `{name}` in @p path that has a value in @p placeHolders is replaced by it, percent-encoded as one
/// path segment. Placeholders without a value are encoded including their braces, as are all other characters
/// not allowed in a path; existing percent-encoding in @p path is kept. @p parameters follow as the query,
/// ordered by name. The result begins with a slash, so that it cannot become part of the host. It is empty if
/// it would be longer than `maxTargetLength`.
QByteArray requestTarget(const QString& path, const QMap<QString, QString>& placeHolders,
                         const QMap<QString, QString>& parameters);

} // namespace Krelm::Communicator::HttpDevice

#endif
