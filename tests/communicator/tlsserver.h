// SPDX-License-Identifier: MIT
#ifndef TESTS_COMMUNICATOR_TLSSERVER_H
#define TESTS_COMMUNICATOR_TLSSERVER_H

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QTemporaryDir>

/// The server that comes with OpenSSL, on a free port of the loopback interface, with a certificate that it
/// signed itself for 127.0.0.1. Used by one thread.
class TlsServer
{
public:
    TlsServer();
    ~TlsServer();

    /// Whether OpenSSL's program is installed.
    bool isAvailable() const { return !m_openssl.isEmpty(); }
    enum class Serves {
        Bodies,      ///< files, each behind a head of its own
        WholeReplies ///< files that hold the head too
    };
    /// Makes the certificates and serves. @return whether it does.
    bool start(Serves what = Serves::Bodies);
    /// Answers GET requests on @p path with @p content.
    bool serve(const QString& path, const QByteArray& content) const;

    /// `127.0.0.1:port`
    QString address() const { return QStringLiteral("127.0.0.1:") + m_port; }
    /// PEM file of its certificate.
    QString certificate() const { return m_directory.filePath(QStringLiteral("cert.pem")); }
    /// PEM file of another certificate for the same address.
    QString otherCertificate() const { return m_directory.filePath(QStringLiteral("other.pem")); }
    /// `sha256//BASE64` of its public key.
    QString pin() const { return m_pin; }

private:
    QByteArray run(const QStringList& arguments, const QByteArray& input = {}) const;

    const QString m_openssl;
    QTemporaryDir m_directory;
    QProcess m_server;
    QString m_port;
    QString m_pin;
    Q_DISABLE_COPY_MOVE(TlsServer)
};

#endif
