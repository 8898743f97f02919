// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_OPERATIONSCOPE_H
#define TESSEL_FRAMES_OPERATIONSCOPE_H

namespace Tessel {

/// What the thread sends while it lives belongs to one operation, so that whoever asks why the operation
/// failed is told of all of it; scopes can be nested. A single request needs none.
class OperationScope
{
public:
    OperationScope();
    ~OperationScope();
    OperationScope(const OperationScope&) = delete;
    OperationScope& operator=(const OperationScope&) = delete;
};

/// Marks an operation that sends nothing, which would otherwise be taken for the one before.
inline void nothingIsSent()
{
    const OperationScope scope;
}

} // namespace Tessel

#endif
