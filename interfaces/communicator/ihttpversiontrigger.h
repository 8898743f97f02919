// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_IHTTPVERSIONTRIGGER_H
#define COMMUNICATOR_IHTTPVERSIONTRIGGER_H

#include <communicator/ipackagetrigger.h>

namespace Krelm::Communicator::HttpDevice {

/// A package of the HTTP device protocol: adds the outcome of the exchange.
class COMMUNICATOR_EXPORT IHttpVersionTrigger : public IPackageTrigger
{
public:
    /// Outcome of an exchange. Operators test for zero alone; the other values serve diagnostics.
    enum HttpSimpleState {
        // Quirk: A package without a reply counts as successful.
        Success = 0, ///< a reply with a 2xx status came whole; also the state of a package not yet answered
        /// Nothing was sent: no path, no such device, a control character in what was to be sent, a body,
        /// path or header that is too long.
        InvalidRequest = 1,
        HostNotFound = 2,  ///< the device's host name has no address
        Unreachable = 3,   ///< no connection: refused, no route
        TimedOut = 4,      ///< the expected time passed before the reply was whole
        Broken = 5,        ///< the connection ended early, or what came is no HTTP
        HttpFailure = 6,   ///< a whole reply with a status other than 2xx; see HttpJsonPackage::replyStatus
        LimitExceeded = 7, ///< the reply or its headers are larger than the transport takes
        TlsFailure = 8,    ///< no TLS session, or a certificate that is not trusted
        FileFailure = 9,   ///< a file to send cannot be read, or the download's destination cannot be written
        Aborted = 10 ///< cancelled, or the transport was stopped or the device removed before the reply came
    };

    ~IHttpVersionTrigger() override;

    /// The outcome; zero is success.
    virtual HttpSimpleState getSimpleState() const = 0;
    /// Stores the outcome. For the transport only.
    virtual void setSimpleState(HttpSimpleState state) = 0;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
