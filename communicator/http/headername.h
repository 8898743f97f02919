// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_HEADERNAME_H
#define COMMUNICATOR_HTTP_HEADERNAME_H

#include <QMap>
#include <QString>

#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// Whether two names of headers, or other tokens of HTTP, are the same: they compare without regard to case
/// (RFC 9110, 5.1).
inline bool isNamed(std::string_view name, std::string_view wanted)
{
    return name.size() == wanted.size() && qstrnicmp(name.data(), wanted.data(), uint(wanted.size())) == 0;
}
inline bool isNamed(const QString& name, const char* wanted)
{
    return name.compare(QLatin1String(wanted), Qt::CaseInsensitive) == 0;
}

/// Whether @p c may be part of a token, such as a name (RFC 9110, "Tokens").
inline bool isTokenCharacter(char c)
{
    return c > 0x20 && c < 0x7F && std::string_view("()<>@,;:\\\"/[]?={}").find(c) == std::string_view::npos;
}

/// The first header in @p headers called @p name, a QString or QLatin1String; cend() if there is none.
template <class Name>
QMap<QString, QString>::const_iterator findHeader(const QMap<QString, QString>& headers, const Name& name)
{
    auto it = headers.cbegin();
    while (it != headers.cend() && it.key().compare(name, Qt::CaseInsensitive) != 0) {
        ++it;
    }
    return it;
}

} // namespace Krelm::Communicator::HttpDevice

#endif
