// SPDX-License-Identifier: MIT
#include "scriptserver.h"

#include "proxies.h"

#include <communicator/httpproxy.h>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;

bool ScriptServer::start(const QString& interpreter, const QStringList& arguments)
{
    static const QByteArray ready = QByteArrayLiteral("ready ");
    m_ports.clear();
    if (!m_process.start(interpreter, arguments, ready) || !m_process.waitForOutput("\n")) {
        return false;
    }
    const QByteArray output = m_process.output();
    const int first = output.indexOf(ready) + ready.size();
    const QByteArray line = output.mid(first, output.indexOf('\n', first) - first);
    for (const QByteArray& port : line.split(' ')) {
        m_ports << port.toUShort();
    }
    return true;
}

bool ScriptServer::startPython(const QString& interpreter, int ports, const QByteArray& protocol,
                               int idleLimit)
{
    return start(interpreter,
                 {QStringLiteral("-B"), QStringLiteral(PEER_SCRIPTS "/server.py"), QString::number(ports),
                  QString::fromLatin1(protocol), QString::number(idleLimit / 1000.0)});
}

bool ScriptServer::startNode(const QString& interpreter, int ports, bool tls, int idleLimit)
{
    QStringList arguments{QStringLiteral(PEER_SCRIPTS "/server.js"), QString::number(ports),
                          QString::number(idleLimit)};
    m_tls = tls;
    if (tls) {
        if (!makeCertificate(m_process.directory())) {
            return false;
        }
        arguments << QStringLiteral("key.pem") << QStringLiteral("cert.pem");
    }
    return start(interpreter, arguments);
}

DeviceEndpoint ScriptServer::endpoint(int number) const
{
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("%1://127.0.0.1:%2")
                           .arg(m_tls ? QStringLiteral("https") : QStringLiteral("http"))
                           .arg(m_ports[number]);
    if (m_tls) {
        endpoint.caFile = m_process.directory() + QStringLiteral("/cert.pem");
    }
    return endpoint;
}

Counts ScriptServer::executed() const
{
    const KnownDevice device(endpoint());
    HttpJsonPackage package(nullptr);
    package.setUrl(QStringLiteral("/executed"));
    HttpProxy::getInstance()->getSync(device.key, &package);
    if (package.replyStatus != 200) {
        qFatal("the server does not tell what it executed");
    }
    Counts counts;
    const QMap<QString, QVariant> data = package.getRoutesJsonMap();
    for (auto entry = data.cbegin(); entry != data.cend(); ++entry) {
        counts[entry.key().toLatin1()] = entry->toInt();
    }
    return counts;
}
