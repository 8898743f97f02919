// SPDX-License-Identifier: MIT
#include "tesselctl/requests/network.h"

#include "tesselctl/terminal/printable.h"

#include <QRegularExpression>

namespace TesselCtl {

namespace {

constexpr int addressBits = 32;
constexpr int shortestPrefix = 22;

QString addressText(quint32 address)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(address >> 24U)
        .arg((address >> 16U) & 0xffU)
        .arg((address >> 8U) & 0xffU)
        .arg(address & 0xffU);
}

} // namespace

Expected<QStringList> hostsOf(const QString& text)
{
    static const QRegularExpression network(
        QStringLiteral("^(\\d{1,3})\\.(\\d{1,3})\\.(\\d{1,3})\\.(\\d{1,3})(?:/(\\d{1,2}))?$"));
    const QRegularExpressionMatch match = network.match(text);
    quint32 address = 0;
    bool isNetwork = match.hasMatch();
    for (int i = 1; i <= 4; ++i) {
        const quint32 byte = match.captured(i).toUInt();
        isNetwork = isNetwork && byte <= 0xffU;
        address = (address << 8U) | byte;
    }
    const int prefix = match.captured(5).isEmpty() ? addressBits : match.captured(5).toInt();
    if (!isNetwork || prefix > addressBits) {
        return Error{QStringLiteral("\"%1\" is not an IPv4 network; write it like 192.168.0.0/24")
                         .arg(printable(text))};
    }
    if (prefix < shortestPrefix) {
        return Error{QStringLiteral("%1 has more than 1024 addresses; search a part of it, such as a /24")
                         .arg(printable(text))};
    }
    const quint32 count = 1U << static_cast<unsigned>(addressBits - prefix);
    const quint32 first = address & ~(count - 1);
    QStringList hosts;
    for (quint32 i = 0; i < count; ++i) {
        // The first address is that of the network itself, the last one reaches all of it.
        if (count <= 2 || (i != 0 && i != count - 1)) {
            hosts << addressText(first + i);
        }
    }
    return hosts;
}

} // namespace TesselCtl
