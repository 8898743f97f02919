// SPDX-License-Identifier: MIT
#ifndef TESTS_DEVICESIDE_H
#define TESTS_DEVICESIDE_H

#include <QByteArray>
#include <QString>

/// What devices do of their own accord, as operators hear it through the proxy.
namespace DeviceSide {

/// The key of a device that is unknown to everything in this process: operators and their caches outlive a
/// test function.
QString fresh();

/// The device pushes the event @p json.
void push(const QString& deviceKey, const QByteArray& json);
/// The same on a thread of the transport; returns when that thread ended.
void pushFromForeignThread(const QString& deviceKey, const QByteArray& json);
/// The device goes.
void logOut(const QString& deviceKey);

} // namespace DeviceSide

#endif
