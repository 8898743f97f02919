// SPDX-License-Identifier: MIT
#ifndef TESTS_PEERS_PROXIES_H
#define TESTS_PEERS_PROXIES_H

#include "peerprocess.h"

#include <communicator/deviceendpoint.h>

#include <QMetaType>

using Krelm::Communicator::HttpDevice::DeviceEndpoint;

/// How a proxy stands in front of a device.
struct ProxyOptions
{
    int ports = 1; ///< on which it listens, so that each caller can have one of its own
    bool tls = false;
    int idleLimit = 1000;            ///< milliseconds after which it ends a silent connection
    bool http10Upstream = false;     ///< it asks the device in HTTP/1.0
    bool buffersReplies = true;      ///< it collects what the device sends
    int replyLimit = 30000;          ///< milliseconds that it waits for the device
    bool turnsEveryCallAway = false; ///< it answers 503 itself
};
Q_DECLARE_METATYPE(ProxyOptions)

/// A proxy of another maker in front of a device on this machine. Used by one thread.
class FrontProxy
{
public:
    virtual ~FrontProxy() = default;
    FrontProxy(const FrontProxy&) = delete;
    FrontProxy& operator=(const FrontProxy&) = delete;

    /// Starts it on free ports in front of the device at 127.0.0.1:@p device. @return whether it serves.
    bool start(quint16 device, const ProxyOptions& options = {});

    /// Reads its configuration anew, as an administrator would have it do.
    bool reload();
    /// Ends it once its requests have had their replies, and starts it again.
    bool restart();
    /// Ends it amid its requests, and starts it again.
    bool crashAndStart();

    const QList<quint16>& ports() const { return m_ports; }
    /// What a device that is reached through the port of this number is added with.
    DeviceEndpoint endpoint(int number = 0) const;
    /// What it printed, for a test to tell.
    QByteArray output() const { return m_process.output(); }

protected:
    /// The texts and signals by which proxies differ.
    struct Manners
    {
        QString program;
        QStringList arguments;
        QByteArray ready; ///< what it prints when it serves, at first and anew
        int reloadSignal;
        int quitSignal;
    };
    explicit FrontProxy(Manners manners);
    virtual QByteArray configuration(quint16 device, const ProxyOptions& options) const = 0;

private:
    bool startProcess();

    const Manners m_manners;
    ProxyOptions m_options;
    PeerProcess m_process;
    QList<quint16> m_ports;
};

class Nginx : public FrontProxy
{
public:
    explicit Nginx(const QString& program);

private:
    QByteArray configuration(quint16 device, const ProxyOptions& options) const override;
};

/// It asks devices in HTTP/1.1 alone and hands on what comes, so that two options do not apply.
class HaProxy : public FrontProxy
{
public:
    explicit HaProxy(const QString& program);

private:
    QByteArray configuration(quint16 device, const ProxyOptions& options) const override;
};

/// Makes a key and a certificate for 127.0.0.1, signed by itself, in the files key.pem, cert.pem and both.pem
/// of
/// @p directory. @return whether that worked.
bool makeCertificate(const QString& directory);

#endif
