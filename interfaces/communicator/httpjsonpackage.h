// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPJSONPACKAGE_H
#define COMMUNICATOR_HTTPJSONPACKAGE_H

#include <communicator/ihttpversiontrigger.h>

#include <QList>
#include <QObject>
#include <QVariant>

#include <memory>

namespace Krelm::Communicator::HttpDevice {

/// One request to a device and its reply.
///
/// A package is filled, sent once, answered, read and destroyed; it is never sent again. It belongs to the
/// thread that owns it, and all of its operations are called there. It may be destroyed at any time, also
/// while its request is in flight: the reply is then dropped.
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

    /// Sets the path from the route table, placeholders such as `{id}` unexpanded; may be empty.
    void setUrl(const QString& path);
    /// `{name}` in the path is replaced by @p value, percent-encoded as one segment. A name that the path
    /// lacks is ignored.
    void addPlaceHolders(const QString& name, const QString& value);
    /// Adds or replaces one query parameter. The value is kept as it is and percent-encoded on the wire.
    void addParameters(const QString& name, const QString& value);
    /// Replaces all query parameters.
    void setParameters(const QMap<QString, QString>& parameters);
    /// Writes @p body, a map or a list, as compact JSON into the request body; content type application/json
    /// unless the request headers give one. A body that nests too deep to be written, or is longer than
    /// 2 GiB, makes the request end with `InvalidRequest`.
    void setRequestWithJsonObj(const QVariant& body);
    /// Sets the request body to raw bytes, sent as they are; without a content type unless the request
    /// headers give one.
    void setRequestData(const QByteArray& data);
    /// Replaces the request headers. Names go out as they are written.
    void setRequestHeader(const QMap<QString, QString>& headers);
    /// Marks a request of a long-running device task: it travels on connections of its own, so that neither
    /// it nor normal traffic waits for the other.
    void setDaemonFlag(bool daemon);
    /// Whether setDaemonFlag(true) was called.
    bool daemonFlag() const;
    /// The key of the device that the package was sent to or is meant for; empty while neither was told.
    QString getDevkey() const;
    /// Stores the device's key; it does not say where the package goes. The transport calls it when it sends
    /// the package, an application before it hands one to an operation that fills it for its device.
    void setDevkey(const QString& deviceKey);

    /// The reply's `data` object, flattened: a member of a nested object stands under a key path with dots,
    /// an array stays one entry holding a QList<QVariant>, an empty nested object one entry holding an empty
    /// map. Empty when the exchange failed, the body is no JSON, or `data` is no object.
    QMap<QString, QVariant> getRoutesJsonMap() const;
    /// The elements of the reply's `data` array, each object among them flattened as by getRoutesJsonMap().
    /// Empty when the exchange failed, the body is no JSON, or `data` is no array.
    QList<QVariant> getRoutesJsonDataListMap() const;
    /// The elements of the reply's `data` array as parsed. Empty as for getRoutesJsonDataListMap().
    QList<QVariant> getJsonDataListMap() const;

    /// Where HttpProxy::getFileDownloadSync() stores the reply body. The file appears on success only.
    QString fileDownloadPath;
    /// The reply's HTTP status, 0 when no reply came.
    int replyStatus = 0;

Q_SIGNALS:
    /// The exchange ended, well or not: once per non-blocking request, on the thread that owns the package,
    /// from its event loop and never from inside the call that started the request. State, body and headers
    /// are set before. Blocking requests do not raise it.
    void readyRead(Krelm::Communicator::HttpDevice::HttpJsonPackage* package);

private:
    friend class HttpProxy;
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(HttpJsonPackage)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
