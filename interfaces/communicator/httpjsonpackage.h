// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPJSONPACKAGE_H
#define COMMUNICATOR_HTTPJSONPACKAGE_H

#include <communicator/ihttpversiontrigger.h>

#include <QList>
#include <QObject>
#include <QVariant>

#include <memory>

namespace Krelm::Communicator::HttpDevice {

class PendingReply;
struct ExchangeOutcome;

/// One request to a device and its reply.
///
/// Fill a package, send it once through HttpProxy, read the reply, and destroy it; a package cannot be sent
/// again. Use it only on the thread it lives in (`QObject::thread()`). It may be destroyed at any time, even
/// while its request is in flight; the reply is then dropped.
///
/// After a failure getSimpleState() tells the kind and replyStatus the HTTP status; ExchangeOutcome
/// (`communicator/calloutcome.h`), the log category `tessel.http` and exchange observers
/// (`communicator/exchangeobserver.h`) give the reason as text.
class COMMUNICATOR_EXPORT HttpJsonPackage : public QObject, public IHttpVersionTrigger
{
    Q_OBJECT
public:
    /// An empty package of the calling thread.
    explicit HttpJsonPackage(QObject* parent);
    ~HttpJsonPackage() override;

    QByteArray getReceiveData() const override;
    void setReceiveData(const QByteArray& data) override;
    QString getIdentity() const override;
    QString getUrl() const override;
    QString requestHeader(const QString& key) const override;
    QMap<QString, QString> requestHeader() const override;
    QString parameters(const QString& key) const override;
    QMap<QString, QString> parameters() const override;
    QString placeHolders(const QString& key) const override;
    QMap<QString, QString> placeHolders() const override;
    void setResponseHeader(const QMap<QString, QString>& headers) override;
    void addResponseHeader(const QString& name, const QString& value) override;
    QString responseHeader(const QString& key) const override;
    QMap<QString, QString> responseHeader() const override;
    QByteArray requestData() const override;
    void setExpectedTime(int milliseconds) override;
    int expectedTime() const override;
    HttpSimpleState getSimpleState() const override;
    void setSimpleState(HttpSimpleState state) override;

    /// Sets the path as the route table has it, with placeholders such as `{id}` unexpanded.
    /// @warning An empty path is accepted here and makes the request fail with `InvalidRequest`.
    void setUrl(const QString& path);
    /// Sets the value that replaces `{name}` in the path, percent-encoded as one path segment (RFC 3986).
    /// A name that does not occur in the path is ignored.
    void addPlaceHolders(const QString& name, const QString& value);
    /// Adds or replaces one query parameter. The value is stored unencoded and percent-encoded when sent.
    void addParameters(const QString& name, const QString& value);
    /// Replaces all query parameters.
    void setParameters(const QMap<QString, QString>& parameters);
    /// Sets the request body to @p body, a map or a list, written as compact JSON (RFC 8259). The content
    /// type is application/json unless the request headers contain one. A body that is nested too deeply or
    /// longer than 2 GiB makes the request end with `InvalidRequest`.
    void setRequestWithJsonObj(const QVariant& body);
    /// Sets the request body to raw bytes, which are sent unchanged. There is no content type unless the
    /// request headers contain one.
    void setRequestData(const QByteArray& data);
    /// Replaces the request headers. Names are sent as spelt here.
    void setRequestHeader(const QMap<QString, QString>& headers);
    /// Marks a request that starts a long-running task of the device: it uses connections of its own, so that
    /// neither it nor normal requests wait for the other.
    void setDaemonFlag(bool daemon);
    /// Whether setDaemonFlag(true) was called.
    bool daemonFlag() const;
    /// The key given to setDevkey(), or of the device to which the package was sent; empty before either.
    QString getDevkey() const;
    /// Stores the device's key. The transport calls this when it sends the package; an application calls it
    /// before passing the package to an operation that fills it for its device.
    /// @warning This does not select the destination: the request goes to the key passed to HttpProxy.
    void setDevkey(const QString& deviceKey);

    /// The reply's `data` object, flattened: members of nested objects become entries whose keys are paths
    /// joined by dots; an array remains one entry that holds a QList<QVariant>, and an empty nested object
    /// one entry that holds an empty map. Empty if the exchange failed, the body is not JSON, or `data` is
    /// not an object.
    QMap<QString, QVariant> getRoutesJsonMap() const;
    /// The elements of the reply's `data` array, with each object flattened as by getRoutesJsonMap(). Empty
    /// if the exchange failed, the body is not JSON, or `data` is not an array.
    QList<QVariant> getRoutesJsonDataListMap() const;
    /// The elements of the reply's `data` array as parsed; empty in the same cases.
    QList<QVariant> getJsonDataListMap() const;

    /// Reads what getRoutesJsonMap() returns into @p out, whatever it holds. Faster
    /// when @p out holds an earlier reply of the same shape that nothing shares, as of a device that is read
    /// again and again.
    void readRoutesJsonMap(QMap<QString, QVariant>& out) const;
    /// As getRoutesJsonDataListMap(), likewise.
    void readRoutesJsonDataListMap(QList<QVariant>& out) const;
    /// As getJsonDataListMap(), likewise.
    void readJsonDataListMap(QList<QVariant>& out) const;

    /// The file in which HttpProxy::getFileDownloadSync() stores the reply body; written only on success.
    QString fileDownloadPath;
    /// The HTTP status of the reply (RFC 9110), or 0 if there was no reply.
    int replyStatus = 0;

Q_SIGNALS:
    /// The exchange has finished, successfully or not. Emitted once per non-blocking request, on the thread
    /// that the package lives in, by its event loop and never from inside the call that started the request.
    /// State, body and headers are already set. Blocking requests do not emit it.
    void readyRead(Krelm::Communicator::HttpDevice::HttpJsonPackage* package);

private:
    friend class HttpProxy;
    friend class PendingReply;
    friend struct ExchangeOutcome;
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(HttpJsonPackage)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
