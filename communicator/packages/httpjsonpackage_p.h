// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_PACKAGES_HTTPJSONPACKAGE_P_H
#define COMMUNICATOR_PACKAGES_HTTPJSONPACKAGE_P_H

#include "communicator/httpengine.h"
#include "communicator/packages/operationlog.h"
#include "json/jsonwriter.h"

#include <communicator/httpjsonpackage.h>

#include <memory>

namespace Krelm::Communicator::HttpDevice {

class PendingReply;

class Q_DECL_HIDDEN HttpJsonPackage::Private
{
public:
    /// The package as a value for an engine; the body is shared, not copied.
    static HttpRequest request(const HttpJsonPackage* package);
    /// Whether the package was given a JSON body that could not be written.
    static bool lacksBody(const HttpJsonPackage* package);
    /// Why it could not.
    static QString errorOfBody(const HttpJsonPackage* package);
    /// Decodes the reply's `data` into @p out, whatever it holds; empty after a failure. A reply that is not
    /// a JSON object is logged once, however often it is read.
    static void readMap(const HttpJsonPackage& package, QMap<QString, QVariant>& out);
    static void readFlattenedList(const HttpJsonPackage& package, QList<QVariant>& out);
    static void readList(const HttpJsonPackage& package, QList<QVariant>& out);
    template <class Data>
    static void decode(const HttpJsonPackage& package, Data& out,
                       bool (*read)(const QByteArray& reply, Data& out));
    /// Stores the engine's reply, and how the exchange ended. On the package's thread.
    static void putReply(HttpJsonPackage* package, const HttpReply& reply, const EndedExchange& ended);
    /// Creates the package's next reply; one that was pending before is dropped.
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
    Json::Unwritable bodyError = {}; // why the JSON body is empty
    int expectedMilliseconds;
    bool daemon = false;
    QString deviceKey;
    ExchangeId exchange = 0; // the latest
    HttpMethod method = HttpMethod::Get;
    EndedExchange ended; // how the latest ended; the application may have set what follows since

    HttpSimpleState state = Success;
    QByteArray received;
    bool unreadableLogged = false; // that `received` is not a JSON object
    QMap<QString, QString> responseHeaders;

    std::shared_ptr<PendingReply> pending;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
