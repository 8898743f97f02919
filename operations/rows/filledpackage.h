// SPDX-License-Identifier: MIT
//
// For rows whose operation only fills a package, which the application then sends.
#ifndef OPERATIONS_ROWS_FILLEDPACKAGE_H
#define OPERATIONS_ROWS_FILLEDPACKAGE_H

#include <communicator/httpproxy.h>

#include <QMap>
#include <QString>
#include <QVariant>

namespace Tessel::Operations {

/// Lets @p fill fill a package and sends it to the device, as an application would.
template <class Class, void (Class::*fill)(Krelm::Communicator::HttpDevice::HttpJsonPackage*,
                                           const QMap<QString, QVariant>&)>
bool putFilled(const QString& deviceKey, const QMap<QString, QVariant>& body, QMap<QString, QVariant>& result)
{
    using namespace Krelm::Communicator::HttpDevice;
    HttpJsonPackage package(nullptr);
    package.setDevkey(deviceKey);
    (Class::getInstance()->*fill)(&package, body);
    HttpProxy::getInstance()->putSync(deviceKey, &package);
    result = package.getRoutesJsonMap();
    return package.getSimpleState() == 0;
}

} // namespace Tessel::Operations

#endif
