// SPDX-License-Identifier: MIT
#ifndef TESTS_PEERS_EVENTLOG_H
#define TESTS_PEERS_EVENTLOG_H

#include <simulator/simulator.h>

#include <QObject>
#include <QVector>

/// Numbers the events that a simulator pushes, and keeps those that arrive. Used by the application's thread.
class EventLog
{
public:
    EventLog(Tessel::Simulator::Simulator& simulator, const QString& deviceKey);

    /// Pushes @p count events, numbered on.
    void push(int count);
    int pushed() const { return m_pushed; }
    /// Waits until all that were pushed have arrived. @return whether they have.
    bool waitForAll();
    /// The same, and meanwhile pushes more, so that what a proxy collects moves on.
    bool waitForAllAndPush();
    /// Why what arrived is not 1, 2, 3 and so on; empty when it is.
    QByteArray disorder() const;

private:
    Tessel::Simulator::Simulator& m_simulator;
    int m_pushed = 0;
    QVector<int> m_arrived;
    QObject m_context;
    Q_DISABLE_COPY_MOVE(EventLog)
};

#endif
