// SPDX-License-Identifier: MIT
#include "communicator/devices/deviceaddress.h"

#include <QRegularExpression>

namespace Krelm::Communicator::HttpDevice {

// Both expressions are never destroyed, because threads may still be calling while the process ends.
QByteArray baseUrlOfAddress(const QString& address)
{
    // Host names as in RFC 1123, plus the underscore that local networks use; IPv6 with an optional zone (RFC
    // 6874).
    static const auto* const form =
        new QRegularExpression(QStringLiteral("\\A(?:(https?)://)?"
                                              "([A-Za-z0-9](?:[A-Za-z0-9._-]{0,252}[A-Za-z0-9])?|"
                                              "\\[[0-9A-Fa-f:.]{2,45}(?:%25[A-Za-z0-9]{1,16})?\\])"
                                              "(?::([0-9]{1,5}))?\\z"),
                               QRegularExpression::CaseInsensitiveOption);
    const QRegularExpressionMatch match = form->match(address);
    if (!match.hasMatch()) {
        return {};
    }
    const QByteArray scheme =
        match.captured(1).isEmpty() ? QByteArrayLiteral("http") : match.captured(1).toLatin1().toLower();
    QByteArray url = scheme + "://" + match.captured(2).toLatin1();
    if (!match.captured(3).isEmpty()) {
        const int port = match.captured(3).toInt();
        if (port < 1 || port > 65535) {
            return {};
        }
        url += ':' + QByteArray::number(port);
    }
    return url;
}

QByteArray baseUrlOfKey(const QString& deviceKey)
{
    const bool looksLikeOne = deviceKey.contains(QLatin1Char('.')) || deviceKey.contains(QLatin1Char(':')) ||
                              deviceKey.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0;
    return looksLikeOne ? baseUrlOfAddress(deviceKey) : QByteArray();
}

bool isLoopback(const QByteArray& baseUrl)
{
    static const auto* const form = new QRegularExpression(
        QStringLiteral("\\Ahttps?://(localhost|127(\\.[0-9]{1,3}){3}|\\[::1\\])(:[0-9]+)?\\z"),
        QRegularExpression::CaseInsensitiveOption);
    return form->match(QString::fromLatin1(baseUrl)).hasMatch();
}

} // namespace Krelm::Communicator::HttpDevice
