// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_HEADERNAME_H
#define COMMUNICATOR_HTTP_HEADERNAME_H

#include <QMap>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// The first header in @p headers called @p name, a QString or QLatin1String; cend() if there is none. Names
/// are compared without regard to case (RFC 9110, "Field Names").
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
