// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_DEVICEENDPOINT_H
#define COMMUNICATOR_DEVICEENDPOINT_H

#include <communicator/communicatorexport.h>

#include <QByteArray>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// Where a device is reached and how one logs in to it.
struct COMMUNICATOR_EXPORT DeviceEndpoint
{
    /// How the transport logs in. Digest is RFC 7616, Basic RFC 7617, Bearer RFC 6750.
    enum class Login { None, Basic, Digest, Bearer };

    QString address;           ///< `http(s)://host[:port]` or `host[:port]`; without a scheme it is http
    Login login = Login::None; ///< how to log in
    QString user;              ///< for Basic and Digest
    QString secret;            ///< password or token; never logged
    QString
        caFile; ///< PEM file of the authorities to trust for this device; empty: the system's. Needs https
    QString pinnedKey;     ///< `sha256//` and the base64 of the public key's hash; empty: none. Needs https.
                           ///< Without a caFile it alone says which device is meant, else both must agree
    bool verifyTls = true; ///< `false` accepts any certificate: for commissioning on a closed network only
    bool requireTls = false; ///< refuses an address without https, so that a login never travels in clear
};

} // namespace Krelm::Communicator::HttpDevice

#endif
