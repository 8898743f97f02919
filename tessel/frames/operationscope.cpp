// SPDX-License-Identifier: MIT
#include "tessel/frames/operationscope.h"

#include "tessel/frames/transportoffer.h"

namespace Tessel {

namespace {

void mark(bool begins)
{
    using Boundary = void (*)(bool);
    static const auto boundary = reinterpret_cast<Boundary>(offeredByTransport("operationBoundary"));
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
