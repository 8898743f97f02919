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

/// Whether @p text holds a control character of ASCII, which no part of a request may.
bool hasControl(const QString& text);

/// Why @p headers cannot be sent as headers of a request; empty when they can.
QString errorOfHeaders(const QMap<QString, QString>& headers);

/// What the head of a request says beside its first line and the caller's own headers.
struct RequestHead
{
    QByteArray method;
    QByteArray target;
    QMap<QString, QString> headers; ///< the caller's; one of them takes the place of ours of the same name
    QByteArray contentType;         ///< of a form, which the caller cannot override; else empty
    qint64 contentLength = -1;      ///< -1: no body
};

/// The head of a request to @p device, its blank line included. The one place where headers are put together,
/// for exchanges and event streams. @p authorization becomes the login that it carries, empty without one.
QByteArray writeHead(const RequestHead& head, const Device& device, QByteArray& authorization);

/// Whether a request with @p authorization that got @p status may follow once more, with a new head. A 401
/// says that the device did not do what was asked (RFC 9110, 15.5.2); @p challenges is its
/// `WWW-Authenticate`. @p taken counts how often this was so for one request, and bounds it.
bool takeChallenge(const Device& device, int status, const QString& challenges,
                   const QByteArray& authorization, int& taken);

} // namespace Krelm::Communicator::HttpDevice

#endif
