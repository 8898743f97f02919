// SPDX-License-Identifier: MIT
#ifndef TESTS_DEVICESIDE_H
#define TESTS_DEVICESIDE_H

#include <QByteArray>
#include <QString>

/// Actions of devices, as the proxy reports them to operators.
namespace DeviceSide {

/// A device key that was never used in this process. Tests need one because operators and their caches
/// outlive a test function.
QString fresh();

/// The device pushes the event @p json.
void push(const QString& deviceKey, const QByteArray& json);
/// The same from a thread of the transport. Returns once that thread has ended.
void pushFromForeignThread(const QString& deviceKey, const QByteArray& json);
/// The device disconnects.
void logOut(const QString& deviceKey);

} // namespace DeviceSide

#endif
