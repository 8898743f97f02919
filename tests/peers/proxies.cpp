// SPDX-License-Identifier: MIT
#include "proxies.h"

#include <QFile>

#include <unistd.h>

namespace {

constexpr int attempts = 5;
constexpr int timeout = 30000;

QByteArray number(int value)
{
    return QByteArray::number(value);
}

QByteArray contentOf(const QString& name)
{
    QFile file(name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

bool makeCertificate(const QString& directory)
{
    QProcess openssl;
    openssl.setWorkingDirectory(directory);
    openssl.start(
        QStringLiteral("openssl"),
        QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 -subj "
                       "/CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out cert.pem")
            .split(QLatin1Char(' ')));
    if (!openssl.waitForFinished(timeout) || openssl.exitCode() != 0) {
        return false;
    }
    QFile both(directory + QStringLiteral("/both.pem"));
    return both.open(QIODevice::WriteOnly) &&
           both.write(contentOf(directory + QStringLiteral("/key.pem")) +
                      contentOf(directory + QStringLiteral("/cert.pem"))) > 0;
}

FrontProxy::FrontProxy(Manners manners)
    : m_manners(std::move(manners))
{}

bool FrontProxy::startProcess()
{
    return m_process.start(m_manners.program, m_manners.arguments, m_manners.ready);
}

bool FrontProxy::start(quint16 device, const ProxyOptions& options)
{
    m_options = options;
    if (options.tls && !makeCertificate(m_process.directory())) {
        return false;
    }
    // Another program may take a port between the look and the start.
    for (int attempt = 0; attempt < attempts; ++attempt) {
        m_ports = freePorts(options.ports);
        if (!m_process.write(QStringLiteral("peer.conf"), configuration(device, options))) {
            return false;
        }
        if (startProcess()) {
            return true;
        }
    }
    return false;
}

bool FrontProxy::reload()
{
    return m_process.signalUntilOutput(m_manners.reloadSignal, m_manners.ready);
}

bool FrontProxy::restart()
{
    return m_process.signalUntilEnd(m_manners.quitSignal) && startProcess();
}

bool FrontProxy::crashAndStart()
{
    return m_process.crash() && startProcess();
}

DeviceEndpoint FrontProxy::endpoint(int number) const
{
    DeviceEndpoint endpoint;
    endpoint.address = QStringLiteral("%1://127.0.0.1:%2")
                           .arg(m_options.tls ? QStringLiteral("https") : QStringLiteral("http"))
                           .arg(m_ports[number]);
    if (m_options.tls) {
        endpoint.caFile = m_process.directory() + QStringLiteral("/cert.pem");
    }
    return endpoint;
}

Nginx::Nginx(const QString& program)
    : FrontProxy({program,
                  {QStringLiteral("-p"), QStringLiteral("."), QStringLiteral("-e"), QStringLiteral("stderr"),
                   QStringLiteral("-c"), QStringLiteral("peer.conf")},
                  "start worker process ",
                  SIGHUP,
                  SIGQUIT})
{}

QByteArray Nginx::configuration(quint16 device, const ProxyOptions& options) const
{
    QByteArray text = "daemon off;\n"
                      "worker_processes 1;\n"
                      "worker_shutdown_timeout 500ms;\n" // event streams end by themselves never
                      "pid nginx.pid;\n"
                      "error_log stderr notice;\n";
    if (::getuid() == 0) {
        text += "user root;\n"; // or its worker could not enter the directory
    }
    text += "events { worker_connections 1024; }\n"
            "http {\n"
            "  access_log off;\n"
            "  client_body_temp_path body; proxy_temp_path proxy; fastcgi_temp_path fastcgi;\n"
            "  uwsgi_temp_path uwsgi; scgi_temp_path scgi;\n"
            "  keepalive_timeout " +
            number(options.idleLimit) +
            "ms;\n"
            "  upstream device { server 127.0.0.1:" +
            number(device) +
            "; keepalive 64; }\n"
            "  server {\n";
    for (const quint16 port : ports()) {
        text += "    listen 127.0.0.1:" + number(port) + (options.tls ? " ssl;\n" : ";\n");
    }
    if (options.tls) {
        text += "    ssl_certificate cert.pem; ssl_certificate_key key.pem;\n";
    }
    text += "    location / {\n";
    if (options.turnsEveryCallAway) {
        text += "      return 503;\n";
    }
    text += "      proxy_pass http://device;\n"
            "      proxy_read_timeout " +
            number(options.replyLimit) +
            "ms;\n"
            // It would send a PUT again by itself when a connection to the device ends.
            "      proxy_next_upstream off;\n"
            "      proxy_buffering " +
            (options.buffersReplies ? "on" : "off") + ";\n";
    if (!options.http10Upstream) {
        text += "      proxy_http_version 1.1; proxy_set_header Connection \"\";\n";
    }
    text += "    }\n"
            "  }\n"
            "}\n";
    return text;
}

HaProxy::HaProxy(const QString& program)
    : FrontProxy(
          {program,
           {QStringLiteral("-W"), QStringLiteral("-db"), QStringLiteral("-f"), QStringLiteral("peer.conf")},
           "Loading success.",
           SIGUSR2,
           SIGUSR1})
{}

QByteArray HaProxy::configuration(quint16 device, const ProxyOptions& options) const
{
    QByteArray text = "global\n"
                      "  maxconn 1000\n"
                      "  hard-stop-after 500ms\n" // event streams end by themselves never
                      "defaults\n"
                      "  mode http\n"
                      "  timeout connect 5s\n"
                      "  timeout client 60s\n"
                      "  timeout http-request 10s\n"
                      "  timeout http-keep-alive " +
                      number(options.idleLimit) +
                      "ms\n"
                      "  timeout server " +
                      number(options.replyLimit) +
                      "ms\n"
                      "frontend calls\n";
    for (const quint16 port : ports()) {
        text += "  bind 127.0.0.1:" + number(port) + (options.tls ? " ssl crt both.pem\n" : "\n");
    }
    text += "  default_backend device\n"
            "backend device\n"
            "  server device 127.0.0.1:" +
            number(device) + (options.turnsEveryCallAway ? " disabled\n" : "\n");
    return text;
}
