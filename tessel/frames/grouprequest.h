// SPDX-License-Identifier: MIT
//
// Several parallel requests and a nested event loop that waits for them. See request.md for when to use
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
/// The nested loop delivers other events of the thread, so operators may be re-entered during the wait.
/// @warning An empty list of ids enters the loop as well, and nothing ends it: the call waits until something
/// else quits the loop or the application ends.
///
/// Each request has a timer with its expected time, which its reply does not cancel: a timer that fires while
/// other replies are outstanding counts its package a second time and makes the call fail. The call can thus
/// return before the slowest reply, which is then dropped.
///
/// A thread without an event dispatcher gets one from the application. Without an application the requests
/// are sent one after another. When the application ends, the wait ends with `false`.
class GroupRequest
{
public:
    explicit GroupRequest(const char* routeKey);
    explicit GroupRequest(const QString& routeKey);

    /// Sets the body of each request.
    GroupRequest& body(const QMap<QString, QVariant>& map);

    /// Sends GETs and appends the map of each successful reply, with the id as member `id`, to @p results in
    /// the order of arrival.
    /// @return whether all requests succeeded in time.
    bool get(const QString& deviceKey, const QStringList& ids, QList<QVariant>& results);
    /// Sends PUTs and discards the replies.
    /// @return whether all requests succeeded in time.
    bool put(const QString& deviceKey, const QStringList& ids);

private:
    QString m_path;
    QVariant m_body;
};

/// Sends one PUT per item: to the device in its member `devKey`, with the item as the body, and on the route
/// that @p routeKeyFor returns for the device. @p expectedTime is the time limit of the whole batch, in
/// milliseconds. User input is held back meanwhile. Without an application, and when it ends, this behaves
/// like GroupRequest.
/// @return whether every request succeeded in time; `false`, with a critical log message that names
/// @p function, if there are no items.
bool putToDevices(const char* function, const std::vector<QMap<QString, QVariant>>& items,
                  const std::function<const char*(const QString& deviceKey)>& routeKeyFor, int expectedTime);

} // namespace Tessel

#endif
