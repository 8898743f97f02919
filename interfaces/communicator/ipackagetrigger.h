// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_IPACKAGETRIGGER_H
#define COMMUNICATOR_IPACKAGETRIGGER_H

#include <communicator/communicatorexport.h>

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Krelm::Communicator {

/// What a transport needs of a request and fills of its reply, whatever the protocol.
///
/// The order of the virtual operations is part of the binary interface and does not change.
/// A package belongs to the thread that owns it; none of these operations may be called from another one.
class COMMUNICATOR_EXPORT IPackageTrigger
{
public:
    virtual ~IPackageTrigger();

    /// The raw reply body, also that of a whole reply with a failure status; empty before the reply and when
    /// none came whole.
    virtual QByteArray getReceiveData() const = 0;
    /// Stores the raw reply body. For the transport only.
    virtual void setReceiveData(const QByteArray& data) = 0;
    /// A text that no other package of this process has, for the transport's bookkeeping.
    virtual QString getIdentity() const = 0;
    /// The path as it was set, placeholders unexpanded; possibly empty.
    virtual QString getUrl() const = 0;
    /// The value of one request header, empty when it is not set. Names compare exactly.
    virtual QString requestHeader(const QString& key) const = 0;
    /// All request headers.
    virtual QMap<QString, QString> requestHeader() const = 0;
    /// The value of one query parameter, empty when it is not set.
    virtual QString parameters(const QString& key) const = 0;
    /// All query parameters, values unencoded.
    virtual QMap<QString, QString> parameters() const = 0;
    /// The value for one placeholder, empty when it is not set.
    virtual QString placeHolders(const QString& key) const = 0;
    /// All placeholder values, unencoded.
    virtual QMap<QString, QString> placeHolders() const = 0;
    /// Replaces the response headers. For the transport only.
    virtual void setResponseHeader(const QMap<QString, QString>& headers) = 0;
    /// Adds one response header in place of any of the same name, however spelled. For the transport only.
    virtual void addResponseHeader(const QString& name, const QString& value) = 0;
    /// The value of one response header, empty when the reply had none. Names compare without regard to case
    /// (RFC 9110, 5.1); where several spellings stand, the one that is exactly @p key comes first. Lines of
    /// one name are one value, joined by ", ".
    virtual QString responseHeader(const QString& key) const = 0;
    /// All response headers, names as the device spelled them; of a name that came in several spellings the
    /// first. Look one up with responseHeader(key): a device may change the spelling with its firmware.
    virtual QMap<QString, QString> responseHeader() const = 0;
    /// The request body as it goes out.
    virtual QByteArray requestData() const = 0;
    /// Sets how long the whole exchange may take, in milliseconds.
    virtual void setExpectedTime(int milliseconds) = 0;
    /// What setExpectedTime() was given, or the transport's default of 10000 ms.
    virtual int expectedTime() const = 0;
};

} // namespace Krelm::Communicator

#endif
