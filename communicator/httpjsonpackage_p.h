// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPJSONPACKAGE_P_H
#define COMMUNICATOR_HTTPJSONPACKAGE_P_H

#include "communicator/httpengine.h"

#include <communicator/httpjsonpackage.h>

#include <memory>

namespace Krelm::Communicator::HttpDevice {

class PendingReply;

class HttpJsonPackage::Private
{
public:
    /// The package as the value that an engine takes; the body is shared, not copied.
    static HttpRequest request(const HttpJsonPackage* package);
    /// Whether the package was given a JSON body that could not be written.
    static bool lacksBody(const HttpJsonPackage* package);
    /// The package's next reply: what was pending before is dropped.
    static std::shared_ptr<PendingReply> newPending(HttpJsonPackage* package);

    explicit Private(quint64 packageNumber)
        : number(packageNumber)
    {}

    quint64 number;
    QString path;
    QMap<QString, QString> placeHolderValues;
    QMap<QString, QString> queryParameters;
    QMap<QString, QString> requestHeaders;
    QByteArray body;
    bool bodyIsJson = false;
    int expectedMilliseconds;
    bool daemon = false;
    QString deviceKey;

    HttpSimpleState state = Success;
    QByteArray received;
    QMap<QString, QString> responseHeaders;

    std::shared_ptr<PendingReply> pending;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
