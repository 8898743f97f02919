// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPPROXY_H
#define COMMUNICATOR_HTTPPROXY_H

#include <communicator/httpjsonpackage.h>
#include <communicator/httpmutilpartpackage.h>

#include <QByteArrayList>
#include <QObject>
#include <QStringList>

#include <memory>

namespace Krelm::Communicator::HttpDevice {

class HttpEngine;
struct DeviceEndpoint;

/// The entry point of the transport: sends packages to devices, and reports devices and their events.
///
/// Requests can be made from any thread, with packages that live in the calling thread. A blocking request
/// runs on the caller's thread and returns when the exchange has finished or the package's expected time has
/// passed, 10 s by default; requests to other devices are not held up. A non-blocking request returns at once
/// and is followed by the package's `readyRead`, exactly once, on the thread that the package lives in. The
/// outcome is in the package, see HttpJsonPackage.
///
/// A `deviceKey` is either a key registered with addDevice(), or an address: `http(s)://host[:port]`,
/// `host:port`, or a host that contains a dot or is `localhost`. Any other key is unknown, and a request to
/// it ends with `InvalidRequest`.
class COMMUNICATOR_EXPORT HttpProxy : public QObject
{
    Q_OBJECT
public:
    /// The proxy of this process, created on first use and never deleted. It lives in the application's main
    /// thread.
    static HttpProxy* getInstance();

    /// Starts the transport. With @p events, it also opens the event stream of every known device, now and
    /// whenever one is added; without, it closes them. Requests work without this call.
    void initialize(bool events);

    /// Performs a GET (RFC 9110) and blocks until it has finished; the package then has state, body and
    /// headers.
    void getSync(const QString& deviceKey, HttpJsonPackage* package);
    /// Performs a PUT, like getSync().
    void putSync(const QString& deviceKey, HttpJsonPackage* package);
    /// Performs a POST, like getSync().
    void postSync(const QString& deviceKey, HttpJsonPackage* package);
    /// Performs a DELETE, like getSync().
    void delSync(const QString& deviceKey, HttpJsonPackage* package);
    // Quirk: Misspelt names are part of the interface.
    /// Performs a PUT with a multipart body and blocks until it has finished.
    void putMutilPartSync(const QString& deviceKey, HttpMutilPartPackage* package);
    /// Performs a GET, blocks until it has finished, and stores the body in
    /// HttpJsonPackage::fileDownloadPath. The body is written to a file beside the destination, which
    /// replaces the destination once it is complete; a failure leaves an existing file unchanged.
    void getFileDownloadSync(const QString& deviceKey, HttpJsonPackage* package);

    /// Starts a GET and returns at once.
    /// @return whether it was started; `readyRead` follows in either case.
    bool get(const QString& deviceKey, HttpJsonPackage* package);
    /// Starts a PUT; returns like get().
    bool put(const QString& deviceKey, HttpJsonPackage* package);
    /// Starts a POST; returns like get().
    bool post(const QString& deviceKey, HttpJsonPackage* package);
    // Quirk: The PUT for many devices does not block in spite of its name.
    /// Starts a PUT, used to write to many devices at once under one event loop.
    /// @warning Despite its name it does not block; wait for `readyRead`.
    void putMultSync(const QString& deviceKey, HttpJsonPackage* package);

    /// Registers a device under @p deviceKey, or changes the address, login or trust of a registered one. An
    /// invalid key or endpoint is refused, and the log (`tessel.http`) gives the reason. May be called from
    /// any thread.
    /// @return whether the endpoint was accepted.
    bool addDevice(const QString& deviceKey, const DeviceEndpoint& endpoint);
    /// Removes a device: its requests in flight end with `Aborted`, its event stream is closed, and
    /// deviceLogout() follows. May be called from any thread.
    /// @return whether it was registered.
    bool removeDevice(const QString& deviceKey);
    /// The keys of all devices registered with addDevice(), sorted.
    QStringList devices() const;

    /// Ends the exchange @p exchange (`communicator/exchangeid.h`) at once with `Aborted`, whatever thread it
    /// is on; nothing when it has ended. ExchangeIds::cancel() ends all exchanges of an operation.
    /// @warning What had gone out may have been executed by the device. Any thread.
    void cancel(quint64 exchange);
    /// Ends all exchanges with @p deviceKey that are under way or wait with `Aborted`; the device stays known
    /// and its event stream open. Any thread.
    void cancelAll(const QString& deviceKey);

    /// Replaces the engine; null restores the built-in one. Requests in flight with the old engine end with
    /// `Aborted`. Call it on the application's main thread while no blocking request is running.
    void setEngine(std::unique_ptr<HttpEngine> engine);

Q_SIGNALS:
    /// The set of registered devices has changed. Emitted after addDevice() with a new key and after
    /// removeDevice(), on the proxy's thread and never from inside those calls.
    void deviceChanged();
    /// The device is gone: it was removed, or its event stream could not be restored in time. Emitted once
    /// per departure, on the proxy's thread.
    void deviceLogout(const QString& deviceKey);
    /// The device pushed an event; @p data is its JSON text in UTF-8. Emitted in the order in which the
    /// device sent the events, on the proxy's thread.
    void deviceAutoReportData(const QByteArray& data, const QString& deviceKey);

private Q_SLOTS:
    /// Adds to what is reported of a device whose events may have been missed.
    void addChangeEvents(const QByteArrayList& events);
    /// What an event of @p deviceKey told to read could not be read: the change events are reported later.
    void readAfterEventFailed(const QString& deviceKey);
    /// A function that takes whether an operation of the calling thread begins (true) or ends (false).
    quintptr operationBoundary() const;
    /// A function `void(const HttpJsonPackage&, Data& out)` that reads what the member function @p decoder of
    /// HttpJsonPackage would return into @p out, whose memory it uses again; 0 if there is none.
    quintptr replyReader(const QByteArray& decoder) const;

private:
    explicit HttpProxy(QObject* parent = nullptr);
    ~HttpProxy() override;
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(HttpProxy)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
