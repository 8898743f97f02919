// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICEENDPOINT_H
#define COMMUNICATOR_DEVICEENDPOINT_H

#include <communicator/communicatorexport.h>

#include <QByteArray>
#include <QString>

#include <functional>

namespace Krelm::Communicator::HttpDevice {

/// How to reach a device, how to log in to it, and how to verify its identity. A plain value.
struct COMMUNICATOR_EXPORT DeviceEndpoint
{
    /// The login scheme: Basic is RFC 7617, Digest RFC 7616, Bearer RFC 6750.
    enum class Login { None, Basic, Digest, Bearer };

    QString address;           ///< `http(s)://host[:port]` or `host[:port]`; http if there is no scheme
    Login login = Login::None; ///< the login scheme
    QString user;              ///< the user name for Basic and Digest
    QString secret;            ///< the password or token; never logged
    /// PEM file with the authorities to trust for this device; empty for the system's. Requires https.
    QString caFile;
    /// `sha256//` followed by the base64 SHA-256 hash of the device's public key; empty for none. Requires
    /// https. Without a caFile it identifies the device by itself, whoever signed the certificate; with a
    /// caFile both must match.
    QString pinnedKey;
    /// Whether the device's certificate is verified.
    /// @warning `false` accepts any certificate; use it only for commissioning on a closed network.
    bool verifyTls = true;
    bool requireTls = false; ///< refuses an address without https, so that a login is never sent in clear
    /// Returns a new `secret` when the device refuses the current one (401); only with a Bearer login. Empty
    /// if the token does not run out.
    ///
    /// It is called on a thread of its own, once for all requests and the event stream of the device that
    /// were refused, never twice at a time. They wait for it, at most 30 s and within their own time limits,
    /// and are sent again with the new token, writes as well, since a 401 says that the device did nothing;
    /// each of them once. If it returns nothing or the same token, throws, takes too long, or if the device
    /// refuses the new token as well, they end with the 401, and it is not called again for 5 s.
    ///
    /// It may call the library; its own requests to the device do not wait for it.
    /// @warning It must not wait for a thread that may be waiting in an operation on the device, such as the
    /// main thread. It may still be running when removeDevice() has returned or the application ends.
    std::function<QString(const QString& deviceKey)> renewSecret;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
