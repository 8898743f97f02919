// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_REQUESTHEAD_H
#define COMMUNICATOR_HTTP_REQUESTHEAD_H

#include "communicator/devices/deviceregistry.h"
#include "communicator/httpengine.h"

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// `GET`, `PUT`, `POST` or `DELETE`.
const char* verbOf(HttpMethod method);

/// Whether @p text contains an ASCII control character, which is not allowed anywhere in a request.
bool hasAsciiControl(const QString& text);

/// Why @p headers cannot be sent as request headers; empty if they can.
QString errorOfHeaders(const QMap<QString, QString>& headers);

/// The contents of a request's head.
struct RequestHead
{
    QByteArray method;
    QByteArray target;
    QMap<QString, QString> headers; ///< the caller's, which replace default headers of the same name
    QByteArray contentType;         ///< of a form, which the caller cannot override; otherwise empty
    qint64 contentLength = -1;      ///< -1 if there is no body
};

/// Returns the head of a request to @p device, including its final blank line. All request headers are built
/// here, for exchanges and event streams. @p authorization is set to the login sent, empty if there is none.
QByteArray writeHead(const RequestHead& head, const Device& device, QByteArray& authorization);

/// Whether a request with @p authorization that got @p status may follow once more, with a new head. A 401
/// says that the device did not do what was asked (RFC 9110, 15.5.2); @p challenges is its
/// `WWW-Authenticate`. @p taken counts how often this was so for one request, and bounds it.
bool takeChallenge(const Device& device, int status, const QString& challenges,
                   const QByteArray& authorization, int& taken);

} // namespace Krelm::Communicator::HttpDevice

#endif
