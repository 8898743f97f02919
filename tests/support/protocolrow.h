// SPDX-License-Identifier: MIT
#ifndef TESTS_PROTOCOLROW_H
#define TESTS_PROTOCOLROW_H

#include <QMetaType>
#include <QString>

#include <functional>

/// An operation whose route depends on the device's protocol.
struct ProtocolRow
{
    const char* name;   ///< class and operation
    const char* single; ///< route key of the single-screen protocol
    const char* multi;  ///< route key of the multi-screen protocol
    std::function<void(const QString& deviceKey)> call;
};

Q_DECLARE_METATYPE(ProtocolRow)

/// Calls the operation before and after the device reported the multi-screen protocol and compares, with Qt
/// Test's comparisons, the path of the last request. Every request is answered
/// with one cabinet.
void checkRouteByProtocol(const ProtocolRow& row);

#endif
