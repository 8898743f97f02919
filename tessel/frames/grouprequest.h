// SPDX-License-Identifier: MIT
//
// Several requests in parallel, waited for on the spot in a nested event loop. See request.md for when to use
// which.
#ifndef TESSEL_FRAMES_GROUPREQUEST_H
#define TESSEL_FRAMES_GROUPREQUEST_H

#include <QList>
#include <QMap>
#include <QStringList>
#include <QVariant>

#include <functional>
#include <vector>

namespace Tessel {

/// One request per id to one device.
///
/// The nested loop delivers other events of the thread, so operators may be re-entered during the wait. An
/// empty list of ids enters the loop as well, and nothing ends it: the call returns when something else quits
/// the loop.
///
/// Each request has a timer of its expected time, which its reply does not cancel: one that fires while other
/// replies are outstanding counts its package a second time and fails the call. The call may thus return
/// before the slowest reply, which is then dropped.
///
/// A thread without an event dispatcher gets one from the application. Without an application the requests go
/// out one after the other. The end of the application ends the wait with `false`.
class GroupRequest
{
public:
    explicit GroupRequest(const char* routeKey);
    explicit GroupRequest(const QString& routeKey);

    /// The body that each request carries.
    GroupRequest& body(const QMap<QString, QVariant>& map);

    /// GETs; appends each successful reply's map, with the id as member `id`, to @p results in the order of
    /// arrival.
    /// @return whether all requests succeeded in time.
    bool get(const QString& deviceKey, const QStringList& ids, QList<QVariant>& results);
    /// PUTs; the replies are dropped. @return as get().
    bool put(const QString& deviceKey, const QStringList& ids);

private:
    QString m_path;
    QVariant m_body;
};

/// One PUT per item, each to the device that its member `devKey` names, with the item as its body, the route
/// that @p routeKeyFor gives for the device and @p expectedTime in milliseconds for the whole batch. User
/// input is held back meanwhile. Without an application, and when it ends, it behaves like GroupRequest.
/// @return whether every request succeeded in time; without items `false`, with a critical log line that
/// names @p function.
bool putToDevices(const char* function, const std::vector<QMap<QString, QVariant>>& items,
                  const std::function<const char*(const QString& deviceKey)>& routeKeyFor, int expectedTime);

} // namespace Tessel

#endif
