// SPDX-License-Identifier: MIT
#include "communicator/http/requesturl.h"

#include "communicator/http/transferlimits.h"

#include <QUrl>

#include <algorithm>

namespace Krelm::Communicator::HttpDevice {

namespace {

// Encodes one segment of a path, or one name or value of a query: all but unreserved characters (RFC 3986).
void appendComponent(QByteArray& out, const QString& text)
{
    out += QUrl::toPercentEncoding(text);
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Whether @p character is left unencoded in a path: unreserved characters (RFC 3986, 2.3), and those that
/// give a path and a query their form.
bool isPlain(QChar character)
{
    const ushort code = character.unicode();
    return (code >= 'a' && code <= 'z') || (code >= '?' && code <= 'Z') || (code >= '&' && code <= ';') ||
           code == '_' || code == '=' || code == '!' || code == '$' || code == '~';
}

// Encodes a piece of the path without placeholders, which may contain slashes, a query and encoded
// characters.
void appendLiteral(QByteArray& out, const QString& text)
{
    if (std::all_of(text.cbegin(), text.cend(), isPlain)) {
        out += text.toLatin1(); // as most paths are; the same, and faster
        return;
    }
    // Each percent sign becomes "%25", and one that begins an encoded character gets its form back: Qt 6
    // encodes them all, whatever it is told to leave.
    const QByteArray encoded = QUrl::toPercentEncoding(text, "!$&'()*+,;=:@/?");
    decltype(encoded.size()) done = 0;
    for (auto i = encoded.indexOf("%25"); i >= 0; i = encoded.indexOf("%25", i + 3)) {
        const char* const digits = encoded.constData() + i + 3; // the end is a zero
        if (isHexDigit(digits[0]) && isHexDigit(digits[1])) {
            out.append(encoded.constData() + done, i + 1 - done);
            done = i + 3;
        }
    }
    out.append(encoded.constData() + done, encoded.size() - done);
}

} // namespace

QByteArray requestTarget(const QString& path, const QMap<QString, QString>& placeHolders,
                         const QMap<QString, QString>& parameters)
{
    // Encoding never makes a text shorter, so if the result fits, nothing overflows on the way.
    const auto fits = [](const QString& text) { return text.size() <= maxTargetLength; };
    if (!fits(path)) {
        return {};
    }
    QByteArray target;
    target.reserve(path.size() + 64);
    if (!path.startsWith(QLatin1Char('/'))) {
        target += '/';
    }
    decltype(path.size()) done = 0;
    while (done < path.size()) {
        const auto open = path.indexOf(QLatin1Char('{'), done);
        const auto close = open == -1 ? -1 : path.indexOf(QLatin1Char('}'), open);
        if (close == -1) {
            break;
        }
        const auto value = placeHolders.constFind(path.mid(open + 1, close - open - 1));
        if (value == placeHolders.cend()) {
            appendLiteral(target, path.mid(done, open + 1 - done));
            done = open + 1;
        } else {
            if (!fits(*value)) {
                return {};
            }
            appendLiteral(target, path.mid(done, open - done));
            appendComponent(target, *value);
            done = close + 1;
        }
        if (target.size() > maxTargetLength) {
            return {};
        }
    }
    appendLiteral(target, done == 0 ? path : path.mid(done));

    char separator = target.contains('?') ? '&' : '?';
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it) {
        if (!fits(it.key()) || !fits(it.value()) || target.size() > maxTargetLength) {
            return {};
        }
        target += separator;
        appendComponent(target, it.key());
        target += '=';
        appendComponent(target, it.value());
        separator = '&';
    }
    return target.size() <= maxTargetLength ? target : QByteArray();
}

} // namespace Krelm::Communicator::HttpDevice
