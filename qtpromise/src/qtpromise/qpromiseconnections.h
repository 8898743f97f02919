// SPDX-License-Identifier: MIT
#ifndef QTPROMISE_QPROMISECONNECTIONS_H
#define QTPROMISE_QPROMISECONNECTIONS_H

#include "qpromise_p.h"

#include <QObject>
#include <QVector>

#include <memory>
#include <mutex>

namespace QtPromise {

/// A list of signal connections that are disconnected together, shared by its copies. Any thread may use it.
/// Connections that remain when the last copy is destroyed are disconnected, with a warning.
class QPromiseConnections
{
public:
    QPromiseConnections()
        : m_list(std::make_shared<List>())
    {}

    /// The number of connections that have not been disconnected.
    int count() const
    {
        const std::lock_guard<std::mutex> lock(m_list->mutex);
        return int(m_list->connections.count());
    }

    /// Disconnects all connections and clears the list.
    void disconnect() const
    {
        // Disconnecting may destroy a slot that holds this very handle.
        const std::shared_ptr<List> list = m_list;
        list->disconnect();
    }

    /// Adds a connection.
    void operator<<(QMetaObject::Connection&& connection) const
    {
        const std::lock_guard<std::mutex> lock(m_list->mutex);
        m_list->connections.append(std::move(connection));
    }

private:
    struct List
    {
        List() = default;
        Q_DISABLE_COPY(List)

        ~List()
        {
            if (!connections.isEmpty()) {
                qCWarning(QtPromisePrivate::promiseLog, "QPromiseConnections ends with %d connections left",
                          int(connections.count()));
                disconnect();
            }
        }

        void disconnect()
        {
            QVector<QMetaObject::Connection> cut;
            {
                const std::lock_guard<std::mutex> lock(mutex);
                cut.swap(connections);
            }
            // Without the mutex: slots are destroyed here.
            for (const QMetaObject::Connection& connection : qAsConst(cut)) {
                QObject::disconnect(connection);
            }
        }

        std::mutex mutex;
        QVector<QMetaObject::Connection> connections; // guarded by mutex
    };

    std::shared_ptr<List> m_list;
};

} // namespace QtPromise

#endif // QTPROMISE_QPROMISECONNECTIONS_H
