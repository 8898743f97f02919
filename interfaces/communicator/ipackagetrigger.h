// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_IPACKAGETRIGGER_H
#define COMMUNICATOR_IPACKAGETRIGGER_H

#include <communicator/communicatorexport.h>

#include <QByteArray>
#include <QMap>
#include <QString>

namespace Krelm::Communicator {

/// A request and its reply as a transport sees them, whatever the protocol.
///
/// The order of the virtual functions is part of the binary interface and must not change. Use a package only
/// on the thread it lives in.
class COMMUNICATOR_EXPORT IPackageTrigger
{
public:
    virtual ~IPackageTrigger();

    /// The raw reply body, including that of a complete reply with a failure status; empty before the reply
    /// and if no complete reply arrived.
    virtual QByteArray getReceiveData() const = 0;
    /// Stores the raw reply body. For the transport only.
    virtual void setReceiveData(const QByteArray& data) = 0;
    /// A name that is unique among the packages of this process, for the transport's bookkeeping.
    virtual QString getIdentity() const = 0;
    /// The path with placeholders unexpanded; may be empty.
    virtual QString getUrl() const = 0;
    /// The value of one request header, empty if it is not set. Names are compared exactly.
    virtual QString requestHeader(const QString& key) const = 0;
    /// All request headers.
    virtual QMap<QString, QString> requestHeader() const = 0;
    /// The value of one query parameter, empty if it is not set.
    virtual QString parameters(const QString& key) const = 0;
    /// All query parameters, with unencoded values.
    virtual QMap<QString, QString> parameters() const = 0;
    /// The value for one placeholder, empty if it is not set.
    virtual QString placeHolders(const QString& key) const = 0;
    /// All placeholder values, unencoded.
    virtual QMap<QString, QString> placeHolders() const = 0;
    /// Replaces the response headers. For the transport only.
    virtual void setResponseHeader(const QMap<QString, QString>& headers) = 0;
    /// Adds one response header; replaces headers of the same name in any case. For the transport only.
    virtual void addResponseHeader(const QString& name, const QString& value) = 0;
    /// The value of one response header, empty if the reply has none. Names are compared without regard to
    /// case (RFC 9110, "Field Names"); among several spellings an exact match is preferred. Header lines of
    /// the same name are joined into one value by ", ".
    virtual QString responseHeader(const QString& key) const = 0;
    /// All response headers, with names as the device spelt them; a name that occurs in several spellings has
    /// the first one. To look up a header use responseHeader(key), since spellings can change with the
    /// device's firmware.
    virtual QMap<QString, QString> responseHeader() const = 0;
    /// The request body as it is sent.
    virtual QByteArray requestData() const = 0;
    /// Sets the time limit of the whole exchange, from queueing to the end of the reply, in milliseconds.
    /// With 0 or a negative value the transport applies its default of 10000 ms.
    virtual void setExpectedTime(int milliseconds) = 0;
    /// The value given to setExpectedTime(), or 10000 if it was never called.
    virtual int expectedTime() const = 0;
};

} // namespace Krelm::Communicator

#endif
