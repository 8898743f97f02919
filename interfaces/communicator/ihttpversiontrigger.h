// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_IHTTPVERSIONTRIGGER_H
#define COMMUNICATOR_IHTTPVERSIONTRIGGER_H

#include <communicator/ipackagetrigger.h>

namespace Krelm::Communicator::HttpDevice {

/// A package of the HTTP protocol: adds the outcome of the exchange.
class COMMUNICATOR_EXPORT IHttpVersionTrigger : public IPackageTrigger
{
public:
    /// The outcome of an exchange. Operators only check for zero; the other values are for diagnostics.
    /// @warning A reply whose `code` refuses the request is a `Success` if its HTTP status is 2xx.
    enum HttpSimpleState {
        // Quirk: A package without a reply counts as successful.
        Success = 0, ///< a complete reply with a 2xx status; also the state of a package not yet answered
        /// Nothing was sent: the request has no path or no such device, the request contains a control
        /// character, or
        /// its body, path or headers are too long.
        InvalidRequest = 1,
        HostNotFound = 2, ///< the device's host name could not be resolved
        Unreachable = 3,  ///< no connection could be opened, such as refused or no route
        TimedOut = 4,     ///< the expected time passed before the reply was complete
        Broken = 5,       ///< the connection ended early, or the reply is not valid HTTP/1.1 (RFC 9112)
        HttpFailure = 6,  ///< a complete reply with a status other than 2xx; see HttpJsonPackage::replyStatus
        LimitExceeded = 7, ///< the reply or its headers exceed the transport's limits
        TlsFailure = 8,    ///< the TLS handshake failed, or the certificate is not trusted
        FileFailure = 9,   ///< a file to send could not be read, or the download could not be written
        Aborted = 10       ///< cancelled, or the transport was stopped or the device removed meanwhile
    };

    ~IHttpVersionTrigger() override;

    /// The outcome; zero means success.
    virtual HttpSimpleState getSimpleState() const = 0;
    /// Stores the outcome. For the transport only.
    virtual void setSimpleState(HttpSimpleState state) = 0;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
