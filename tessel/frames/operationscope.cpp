// SPDX-License-Identifier: MIT
#include "tessel/frames/operationscope.h"

#include <communicator/httpproxy.h>

namespace Tessel {

namespace {

// By name: a transport that keeps no outcomes of operations is used as it is.
void mark(bool begins)
{
    using Krelm::Communicator::HttpDevice::HttpProxy;
    using Boundary = void (*)(bool);
    static const Boundary boundary = [] {
        HttpProxy* const proxy = HttpProxy::getInstance();
        quintptr function = 0;
        if (proxy != nullptr && proxy->metaObject()->indexOfMethod("operationBoundary()") >= 0) {
            QMetaObject::invokeMethod(proxy, "operationBoundary", Qt::DirectConnection,
                                      Q_RETURN_ARG(quintptr, function));
        }
        return reinterpret_cast<Boundary>(function);
    }();
    if (boundary != nullptr) {
        boundary(begins);
    }
}

} // namespace

OperationScope::OperationScope()
{
    mark(true);
}

OperationScope::~OperationScope()
{
    mark(false);
}

} // namespace Tessel
