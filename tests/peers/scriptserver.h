// SPDX-License-Identifier: MIT
#ifndef TESTS_PEERS_SCRIPTSERVER_H
#define TESTS_PEERS_SCRIPTSERVER_H

#include "load.h"
#include "peerprocess.h"

#include <communicator/deviceendpoint.h>

using Krelm::Communicator::HttpDevice::DeviceEndpoint;

/// server.py or server.js: a device on the HTTP library of another language, which counts what it carries
/// out. Used by one thread.
class ScriptServer
{
public:
    /// Runs server.py. @return whether it serves.
    bool startPython(const QString& interpreter, int ports, const QByteArray& protocol, int idleLimit);
    /// Runs server.js.
    bool startNode(const QString& interpreter, int ports, bool tls, int idleLimit);

    const QList<quint16>& ports() const { return m_ports; }
    DeviceEndpoint endpoint(int number = 0) const;
    /// How often it carried out which call, asked over HTTP.
    Counts executed() const;
    /// What it printed, for a test to tell.
    QByteArray output() const { return m_process.output(); }

private:
    bool start(const QString& interpreter, const QStringList& arguments);

    PeerProcess m_process;
    QList<quint16> m_ports;
    bool m_tls = false;
};

#endif
