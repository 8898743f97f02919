// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REQUESTURL_H
#define COMMUNICATOR_HTTP_REQUESTURL_H

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// Path and query as they stand in the request line (RFC 3986).
///
/// Each `{name}` of @p path that @p placeHolders names is replaced by its value, percent-encoded as one
/// segment; one without a value goes out encoded, braces included, and so does every other character that a
/// path cannot hold. What is percent-encoded in @p path already stays. @p parameters follow as a query, in
/// the order of their names. The result begins with a slash, so that it cannot become part of the host; it is
/// empty when it would be longer than `maxTargetLength`.
QByteArray requestTarget(const QString& path, const QMap<QString, QString>& placeHolders,
                         const QMap<QString, QString>& parameters);

} // namespace Krelm::Communicator::HttpDevice

#endif
