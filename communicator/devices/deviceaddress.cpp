// SPDX-License-Identifier: MIT
#include "communicator/devices/deviceaddress.h"

#include <algorithm>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

namespace {

// Without regular expressions: those of Qt need objects that are destroyed while the process ends, when
// threads may still be calling.

constexpr std::string_view digits = "0123456789";
constexpr std::string_view alphanumerics = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

bool consistsOf(std::string_view text, std::string_view characters)
{
    return text.find_first_not_of(characters) == std::string_view::npos;
}

bool hasSize(std::string_view text, std::size_t least, std::size_t most)
{
    return text.size() >= least && text.size() <= most;
}

// As in RFC 1123, plus the underscore that local networks use.
bool isName(std::string_view host)
{
    constexpr std::string_view inner = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz._-";
    return hasSize(host, 1, 254) && consistsOf(host, inner) && consistsOf(host.substr(0, 1), alphanumerics) &&
           consistsOf(host.substr(host.size() - 1), alphanumerics);
}

// IPv6 in brackets with an optional zone (RFC 6874).
bool isIpv6(std::string_view host)
{
    constexpr std::string_view zoneSign = "%25";
    if (host.substr(0, 1) != "[" || host.back() != ']') {
        return false;
    }
    host = host.substr(1, host.size() - 2);
    const std::size_t sign = host.find(zoneSign);
    if (sign != std::string_view::npos) {
        const std::string_view zone = host.substr(sign + zoneSign.size());
        if (!hasSize(zone, 1, 16) || !consistsOf(zone, alphanumerics)) {
            return false;
        }
        host = host.substr(0, sign);
    }
    return hasSize(host, 2, 45) && consistsOf(host, "0123456789ABCDEFabcdef:.");
}

/// The number in @p text, or 0 if it is no port.
int portOf(std::string_view text)
{
    if (!hasSize(text, 1, 5) || !consistsOf(text, digits)) {
        return 0;
    }
    int port = 0;
    for (const char digit : text) {
        port = 10 * port + (digit - '0');
    }
    return port <= 65535 ? port : 0;
}

// RFC 1122, 3.2.1.3
bool isIpv4Loopback(std::string_view host)
{
    for (int part = 0; part < 4; ++part) {
        const std::size_t end = part < 3 ? host.find('.') : host.size();
        const std::string_view number = host.substr(0, end);
        if (end == std::string_view::npos || !hasSize(number, 1, 3) || !consistsOf(number, digits) ||
            (part == 0 && number != "127")) {
            return false;
        }
        host.remove_prefix(std::min(end + 1, host.size()));
    }
    return true;
}

/// Where the host of @p text ends, behind the bracket if it has one.
std::size_t endOfHost(std::string_view text)
{
    const std::size_t bracket = text.find(']');
    const std::size_t colon = text.find(':', bracket == std::string_view::npos ? 0 : bracket);
    return std::min(colon, text.size());
}

} // namespace

QByteArray baseUrlOfAddress(const QString& address)
{
    const bool isAscii = std::all_of(address.cbegin(), address.cend(), [](QChar character) {
        return character.unicode() > ' ' && character.unicode() < 0x7F;
    });
    if (!isAscii) {
        return {};
    }
    const QByteArray text = address.toLatin1();
    const QByteArray lower = text.toLower();
    const QByteArray scheme = lower.startsWith("https://") ? "https://" : "http://";
    std::string_view rest(text.constData(), static_cast<std::size_t>(text.size()));
    if (lower.startsWith(scheme)) {
        rest.remove_prefix(static_cast<std::size_t>(scheme.size()));
    }
    const std::string_view host = rest.substr(0, endOfHost(rest));
    if (host.empty() || !(isName(host) || isIpv6(host))) {
        return {};
    }
    rest.remove_prefix(host.size());
    QByteArray url = scheme + QByteArray(host.data(), static_cast<int>(host.size()));
    if (rest.empty()) {
        return url;
    }
    const int port = portOf(rest.substr(1));
    return port == 0 ? QByteArray() : url + ':' + QByteArray::number(port);
}

QByteArray baseUrlOfKey(const QString& deviceKey)
{
    const bool looksLikeOne = deviceKey.contains(QLatin1Char('.')) || deviceKey.contains(QLatin1Char(':')) ||
                              deviceKey.compare(QLatin1String("localhost"), Qt::CaseInsensitive) == 0;
    return looksLikeOne ? baseUrlOfAddress(deviceKey) : QByteArray();
}

bool isLoopback(const QByteArray& baseUrl)
{
    const auto slashes = baseUrl.indexOf("//");
    if (slashes < 0 || baseUrlOfAddress(QString::fromLatin1(baseUrl)).isEmpty()) {
        return false;
    }
    const QByteArray authority = baseUrl.mid(slashes + 2).toLower();
    const std::string_view text(authority.constData(), static_cast<std::size_t>(authority.size()));
    const std::string_view host = text.substr(0, endOfHost(text));
    return host == "localhost" || host == "[::1]" || isIpv4Loopback(host);
}

} // namespace Krelm::Communicator::HttpDevice
