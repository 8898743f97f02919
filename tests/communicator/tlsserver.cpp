// SPDX-License-Identifier: MIT
#include "tlsserver.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

namespace {

constexpr int timeout = 30000;

} // namespace

TlsServer::TlsServer()
    : m_openssl(QStandardPaths::findExecutable(QStringLiteral("openssl")))
{
    m_server.setWorkingDirectory(m_directory.path());
}

TlsServer::~TlsServer()
{
    m_server.kill();
    m_server.waitForFinished();
}

QByteArray TlsServer::run(const QStringList& arguments, const QByteArray& input) const
{
    QProcess process;
    process.setWorkingDirectory(m_directory.path());
    process.start(m_openssl, arguments);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished(timeout) && process.exitCode() == 0 ? process.readAllStandardOutput()
                                                                       : QByteArray();
}

bool TlsServer::start(Serves what)
{
    const QString certificates[] = {QStringLiteral("-keyout key.pem -out cert.pem"),
                                    QStringLiteral("-keyout other.key -out other.pem")};
    for (const QString& files : certificates) {
        run((QStringLiteral("req -x509 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -days 2 "
                            "-subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 ") +
             files)
                .split(QLatin1Char(' ')));
    }
    const QByteArray publicKey =
        run({QStringLiteral("x509"), QStringLiteral("-in"), QStringLiteral("cert.pem"),
             QStringLiteral("-pubkey"), QStringLiteral("-noout")});
    const QByteArray der = run(
        {QStringLiteral("pkey"), QStringLiteral("-pubin"), QStringLiteral("-outform"), QStringLiteral("DER")},
        publicKey);
    m_pin = QStringLiteral("sha256//") +
            QString::fromLatin1(QCryptographicHash::hash(der, QCryptographicHash::Sha256).toBase64());
    if (der.isEmpty() || !QFile::exists(otherCertificate())) {
        return false;
    }

    m_server.start(m_openssl,
                   QStringLiteral("s_server %1 -accept 127.0.0.1:0 -cert cert.pem -key key.pem")
                       .arg(what == Serves::Bodies ? QLatin1String("-WWW") : QLatin1String("-HTTP"))
                       .split(QLatin1Char(' ')));
    QByteArray line;
    while (!line.startsWith("ACCEPT") || !line.endsWith('\n')) {
        if (!m_server.canReadLine() && !m_server.waitForReadyRead(timeout)) {
            return false;
        }
        line = m_server.canReadLine() ? m_server.readLine() : QByteArray();
    }
    m_port = QString::fromLatin1(line.mid(line.lastIndexOf(':') + 1).trimmed());
    return true;
}

bool TlsServer::serve(const QString& path, const QByteArray& content) const
{
    const QString name = m_directory.path() + path;
    QFile file(name);
    return QDir().mkpath(QFileInfo(name).path()) && file.open(QIODevice::WriteOnly) &&
           file.write(content) == content.size();
}
