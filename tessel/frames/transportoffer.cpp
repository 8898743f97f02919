// SPDX-License-Identifier: MIT
#include "tessel/frames/transportoffer.h"

#include <communicator/httpproxy.h>

#include <QMetaObject>

namespace Tessel {

quintptr offeredByTransport(const char* name, const char* argument)
{
    using Krelm::Communicator::HttpDevice::HttpProxy;
    HttpProxy* const proxy = HttpProxy::getInstance();
    const QByteArray signature = QByteArray(name) + (argument != nullptr ? "(QByteArray)" : "()");
    if (proxy == nullptr || proxy->metaObject()->indexOfMethod(signature) < 0) {
        return 0;
    }
    quintptr function = 0;
    if (argument != nullptr) {
        QMetaObject::invokeMethod(proxy, name, Qt::DirectConnection, Q_RETURN_ARG(quintptr, function),
                                  Q_ARG(QByteArray, argument));
    } else {
        QMetaObject::invokeMethod(proxy, name, Qt::DirectConnection, Q_RETURN_ARG(quintptr, function));
    }
    return function;
}

} // namespace Tessel
