// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTPPROXY_H
#define COMMUNICATOR_HTTPPROXY_H

#include <communicator/httpjsonpackage.h>
#include <communicator/httpmutilpartpackage.h>

#include <QObject>
#include <QStringList>

#include <memory>

namespace Krelm::Communicator::HttpDevice {

class HttpEngine;
struct DeviceEndpoint;

/// The face of the transport: sends packages to devices and tells of devices and their events.
///
/// Requests may be made from any thread. Blocking ones run on the caller's thread and return when the
/// exchange ended or the package's expected time passed; requests to other devices proceed meanwhile.
/// Non-blocking ones return at once; the package's `readyRead` follows exactly once, on the thread that owns
/// the package. The package must belong to the calling thread.
///
/// A `deviceKey` is one that addDevice() named, or reads as an address itself: `http(s)://host[:port]` or
/// `host[:port]`.
class COMMUNICATOR_EXPORT HttpProxy : public QObject
{
    Q_OBJECT
public:
    /// The process-wide proxy, created on first use and never deleted. It lives on the application's thread.
    static HttpProxy* getInstance();

    /// Starts the transport: with @p events `true` requests and the push channel of every known device and of
    /// those added later, with `false` requests only. Requests work without it as well.
    void initialize(bool events);

    /// Makes a GET and returns when it ended; the package then has state, body and headers.
    void getSync(const QString& deviceKey, HttpJsonPackage* package);
    /// Makes a PUT, as getSync().
    void putSync(const QString& deviceKey, HttpJsonPackage* package);
    /// Makes a POST, as getSync().
    void postSync(const QString& deviceKey, HttpJsonPackage* package);
    /// Makes a DELETE, as getSync().
    void delSync(const QString& deviceKey, HttpJsonPackage* package);
    // Quirk: Misspelt names are part of the interface.
    /// PUT of a multipart body.
    void putMutilPartSync(const QString& deviceKey, HttpMutilPartPackage* package);
    /// GET whose body is stored in HttpJsonPackage::fileDownloadPath: written beside the destination first
    /// and renamed when it is whole, so that a failure leaves an earlier file as it was.
    void getFileDownloadSync(const QString& deviceKey, HttpJsonPackage* package);

    /// Starts a GET. @return whether it was handed over; `readyRead` follows in either case.
    bool get(const QString& deviceKey, HttpJsonPackage* package);
    /// Starts a PUT; returns as get() does.
    bool put(const QString& deviceKey, HttpJsonPackage* package);
    /// Starts a POST; returns as get() does.
    bool post(const QString& deviceKey, HttpJsonPackage* package);
    // Quirk: The PUT for many devices does not block in spite of its name.
    /// Starts a PUT, for the fan-out to many devices under one event loop; does not block in spite of its
    /// name.
    void putMultSync(const QString& deviceKey, HttpJsonPackage* package);

    /// Makes a device known under @p deviceKey, or gives it another address or login. An invalid key or
    /// endpoint is refused with one log line. @return whether the device is known now.
    bool addDevice(const QString& deviceKey, const DeviceEndpoint& endpoint);
    /// Forgets a device: its requests in flight end with `Aborted`, its event stream is closed and
    /// deviceLogout() follows. @return whether it was known.
    bool removeDevice(const QString& deviceKey);
    /// The keys of all devices made known by addDevice(), sorted.
    QStringList devices() const;

    /// Ends the exchange @p exchange (`communicator/exchangeid.h`) at once with `Aborted`, whatever thread it
    /// is on; nothing when it has ended. ExchangeIds::cancel() ends all exchanges of an operation.
    /// @warning What had gone out may have been executed by the device. Any thread.
    void cancel(quint64 exchange);
    /// Ends all exchanges with @p deviceKey that are under way or wait with `Aborted`; the device stays known
    /// and its event stream open. Any thread.
    void cancelAll(const QString& deviceKey);

    /// Replaces the engine; null restores the built-in one. What the old engine had in flight ends with
    /// `Aborted`. To be called from the application's thread while no blocking request runs.
    void setEngine(std::unique_ptr<HttpEngine> engine);

Q_SIGNALS:
    /// The set of known devices changed: after addDevice() of a new key and after removeDevice(). Never from
    /// inside those calls; on the proxy's thread.
    void deviceChanged();
    /// The device has gone: removed, or its push channel stayed away for longer than the transport waits.
    /// Once per departure, on the proxy's thread.
    void deviceLogout(const QString& deviceKey);
    /// The device pushed an event; @p data is UTF-8 JSON. In the order of the device, on the proxy's thread.
    void deviceAutoReportData(const QByteArray& data, const QString& deviceKey);

private:
    explicit HttpProxy(QObject* parent = nullptr);
    ~HttpProxy() override;
    class Private;
    std::unique_ptr<Private> d;
    Q_DISABLE_COPY_MOVE(HttpProxy)
};

} // namespace Krelm::Communicator::HttpDevice

#endif
