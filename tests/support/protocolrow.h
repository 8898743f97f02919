// SPDX-License-Identifier: MIT
#ifndef TESTS_PROTOCOLROW_H
#define TESTS_PROTOCOLROW_H

#include <QMetaType>
#include <QString>

#include <functional>

/// An operation that chooses its route by the device's protocol.
struct ProtocolRow
{
    const char* name;   ///< class and operation
    const char* single; ///< route key of the single-screen protocol
    const char* multi;  ///< route key of the multi-screen protocol
    std::function<void(const QString& deviceKey)> call;
};

Q_DECLARE_METATYPE(ProtocolRow)

/// Calls the operation on a device before and after it told the multi-screen protocol and compares, with Qt
/// Test's comparisons, the path of the request that it sends last. Every request is answered with one
/// cabinet.
void checkRouteByProtocol(const ProtocolRow& row);

#endif
