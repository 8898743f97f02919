// SPDX-License-Identifier: MIT
#include "communicator/http/requesthead.h"

#include "communicator/http/headername.h"
#include "communicator/http/transferlimits.h"

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// A first answer, and one more for a device whose nonce has just run out (RFC 7616, 3.3: "stale").
constexpr int maxChallenges = 2;

// RFC 9110, "Tokens"
bool isToken(const QString& text)
{
    return !text.isEmpty() && std::all_of(text.cbegin(), text.cend(), [](QChar character) {
        const ushort code = character.unicode();
        return code > 0x20 && code < 0x7F && !QStringLiteral("()<>@,;:\\\"/[]?={}").contains(character);
    });
}

QByteArray loginOf(const Device& device, const RequestHead& head)
{
    using Login = DeviceEndpoint::Login;
    const DeviceEndpoint& endpoint = device.endpoint;
    switch (endpoint.login) {
    case Login::Basic:
        return "Basic " + (endpoint.user.toUtf8() + ':' + endpoint.secret.toUtf8()).toBase64();
    case Login::Bearer:
        return device.token ? device.token->authorization() : "Bearer " + endpoint.secret.toUtf8();
    case Login::Digest:
        return device.digest->authorization(head.method, head.target);
    case Login::None:
        break;
    }
    return {};
}

} // namespace

const char* verbOf(HttpMethod method)
{
    switch (method) {
    case HttpMethod::Put:
        return "PUT";
    case HttpMethod::Post:
        return "POST";
    case HttpMethod::Delete:
        return "DELETE";
    case HttpMethod::Get:
        break;
    }
    return "GET";
}

bool hasAsciiControl(const QString& text)
{
    return std::any_of(text.cbegin(), text.cend(), [](QChar character) {
        return character.unicode() < 0x20 || character.unicode() == 0x7F;
    });
}

QString errorOfHeaders(const QMap<QString, QString>& headers)
{
    for (auto it = headers.cbegin(); it != headers.cend(); ++it) {
        if (it.key().size() > maxHeaderLength || it.value().size() > maxHeaderLength) {
            return QStringLiteral("a header's name or value is too long");
        }
        // The transport frames the message itself: a second Content-Length would desynchronise the
        // connection.
        if (!isToken(it.key()) || isNamed(it.key(), "content-length") ||
            isNamed(it.key(), "transfer-encoding") || hasAsciiControl(it.value())) {
            return QStringLiteral("a header's name or value contains characters that cannot be sent");
        }
    }
    return {};
}

QByteArray writeHead(const RequestHead& head, const Device& device, QByteArray& authorization)
{
    QByteArray text;
    text.reserve(256 + head.target.size());
    text.append(head.method).append(' ').append(head.target).append(" HTTP/1.1\r\n");
    bool hasHost = false;
    bool hasAccept = false;
    bool hasLogin = false;
    QByteArray own;
    for (auto it = head.headers.cbegin(); it != head.headers.cend(); ++it) {
        if (!head.contentType.isEmpty() && isNamed(it.key(), "content-type")) {
            continue; // only the transport knows the form's boundary
        }
        hasHost = hasHost || isNamed(it.key(), "host");
        hasAccept = hasAccept || isNamed(it.key(), "accept");
        hasLogin = hasLogin || isNamed(it.key(), "authorization");
        const QByteArray value = it->toUtf8().trimmed();
        own += it.key().toLatin1() + (value.isEmpty() ? QByteArrayLiteral(":") : ": " + value) + "\r\n";
    }
    if (!hasHost) {
        text.append("Host: ").append(device.authority).append("\r\n");
    }
    authorization = hasLogin ? QByteArray() : loginOf(device, head);
    if (!authorization.isEmpty()) {
        text += "Authorization: " + authorization + "\r\n";
    }
    if (!hasAccept) {
        text += "Accept: */*\r\n";
    }
    text += own;
    if (!head.contentType.isEmpty()) {
        text += "Content-Type: " + head.contentType + "\r\n";
    }
    if (head.contentLength >= 0) {
        text += "Content-Length: " + QByteArray::number(head.contentLength) + "\r\n";
    }
    return text += "\r\n";
}

bool takeChallenge(const Device& device, int status, const QString& challenges,
                   const QByteArray& authorization, int& taken)
{
    if (status != 401 || !device.digest || taken == maxChallenges ||
        !device.digest->takeChallenge(challenges, authorization, taken > 0)) {
        return false;
    }
    ++taken;
    return true;
}

} // namespace Krelm::Communicator::HttpDevice
