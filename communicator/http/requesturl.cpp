// SPDX-License-Identifier: MIT
#include "communicator/http/requesturl.h"

#include "communicator/http/transferlimits.h"

#include <array>

namespace Krelm::Communicator::HttpDevice {

namespace {

using CharacterSet = std::array<bool, 256>;

CharacterSet characters(const char* others)
{
    CharacterSet set{};
    const auto add = [&set](char first, char last) {
        for (char c = first; c <= last; ++c) {
            set[static_cast<unsigned char>(c)] = true;
        }
    };
    add('a', 'z');
    add('A', 'Z');
    add('0', '9');
    for (; *others != '\0'; ++others) {
        set[static_cast<unsigned char>(*others)] = true;
    }
    return set;
}

void appendEncoded(QByteArray& out, char c)
{
    static const char digits[] = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(c);
    out += '%';
    out += digits[byte >> 4U];
    out += digits[byte & 15U];
}

// One segment of a path, or one name or value of a query: all but the unreserved characters (RFC 3986, 2.3).
void appendComponent(QByteArray& out, const QString& text)
{
    static const CharacterSet unreserved = characters("-._~");
    const QByteArray utf8 = text.toUtf8();
    for (const char c : utf8) {
        if (unreserved[static_cast<unsigned char>(c)]) {
            out += c;
        } else {
            appendEncoded(out, c);
        }
    }
}

bool isHexDigit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

// A piece of the path that holds no placeholder: slashes, a query and encoded characters are part of it.
void appendLiteral(QByteArray& out, const QString& text)
{
    static const CharacterSet literal = characters("-._~!$&'()*+,;=:@/?");
    const QByteArray utf8 = text.toUtf8();
    for (int i = 0; i < utf8.size(); ++i) {
        const char c = utf8[i];
        const char* const next = utf8.constData() + i; // a zero byte ends the text
        const bool encoded = c == '%' && isHexDigit(next[1]) && isHexDigit(next[2]);
        if (encoded || literal[static_cast<unsigned char>(c)]) {
            out += c;
        } else {
            appendEncoded(out, c);
        }
    }
}

} // namespace

QByteArray requestTarget(const QString& path, const QMap<QString, QString>& placeHolders,
                         const QMap<QString, QString>& parameters)
{
    // Encoding makes a text longer, never shorter: what fits does not overflow on the way.
    const auto fits = [](const QString& text) { return text.size() <= MaximumTargetLength; };
    if (!fits(path)) {
        return {};
    }
    QByteArray target;
    target.reserve(path.size() + 64);
    if (!path.startsWith(QLatin1Char('/'))) {
        target += '/';
    }
    int done = 0;
    while (done < path.size()) {
        const int open = path.indexOf(QLatin1Char('{'), done);
        const int close = open < 0 ? -1 : path.indexOf(QLatin1Char('}'), open);
        if (close < 0) {
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
        if (target.size() > MaximumTargetLength) {
            return {};
        }
    }
    appendLiteral(target, path.mid(done));

    char separator = target.contains('?') ? '&' : '?';
    for (auto it = parameters.cbegin(); it != parameters.cend(); ++it) {
        if (!fits(it.key()) || !fits(it.value()) || target.size() > MaximumTargetLength) {
            return {};
        }
        target += separator;
        appendComponent(target, it.key());
        target += '=';
        appendComponent(target, it.value());
        separator = '&';
    }
    return target.size() <= MaximumTargetLength ? target : QByteArray();
}

} // namespace Krelm::Communicator::HttpDevice
