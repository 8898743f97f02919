// SPDX-License-Identifier: MIT
#ifndef TESSEL_MONITORINFO_H
#define TESSEL_MONITORINFO_H

#include <tessel/tesselexport.h>

#include <communicator/httpjsonpackage.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

#include <functional>

namespace UrlResource {

/// @ingroup monitoring
/// The monitoring service of a device: reads, and signals for pushed warnings.
///
/// @snippet snippets.cpp MonitorInfo
///
/// See the [calling conventions](docs/calling-conventions.md) for what holds for all operations.
/// `OperationOutcome::last()` (communicator/calloutcome.h) says why an operation returned `false`.
///
/// No cache; the operations may run on any thread.
///
/// Events. Those of the sender "monitor" cause signals, emitted on the thread of the first getInstance().
/// @warning The object is connected twice, so each signal is emitted twice per event; slots must be
/// idempotent.
class TESSEL_EXPORT MonitorInfo : public QObject
{
    Q_OBJECT
public:
    /// The process-wide instance, created on first use and never deleted.
    static MonitorInfo* getInstance();

    /// Reads the monitoring data without blocking. @p callback is called once with the answered package, even
    /// after a failure, which the package's state shows, and on the calling thread, which needs an event
    /// loop.
    /// @warning The callback owns the package and must call its deleteLater(). An empty callback throws
    /// `std::bad_function_call` when the reply arrives.
    /// @return always `true`.
    bool getMonitorData(const QString& deviceKey,
                        std::function<void(Krelm::Communicator::HttpDevice::HttpJsonPackage*)> callback);
    /// The monitoring history between two times, in the device's unit.
    /// @warning @p id is not used: the placeholder in the path is sent unfilled.
    bool getMonitorHistory(const QString& deviceKey, const QString& id, qint64 startTime, qint64 endTime,
                           QList<QVariant>& result);
    /// The monitoring logs. The times are not used.
    bool getMonitorLogs(const QString& deviceKey, qint64 startTime, qint64 endTime,
                        QMap<QString, QVariant>& result);
    /// The state of the monitoring service.
    bool getMonitorState(const QString& deviceKey, QMap<QString, QVariant>& result);

Q_SIGNALS:
    /// The state of an output has changed (event "outputChange"). @p var is the event's payload as parsed.
    void signal_tqOutputStateChanged(const QString& deviceKey, const QVariant& var);
    // Quirk: The types of warnings are numbered in an order of their own.
    /// The controller reports a warning. @p type is 0 for "fanSpeed", 1 for "voltage", 2 for "temperature";
    /// @p var is the event's payload as parsed.
    void signal_tqWarningReport(const QString& deviceKey, const QVariant& var, int type);
    /// A cabinet reports a warning (event "cabinet"). @p var is the event's payload as parsed.
    void signal_cabinetWarningReport(const QString& deviceKey, const QVariant& var);

public Q_SLOTS:
    /// Parses a pushed event and emits its signal. Events of other senders are ignored; an unknown type of
    /// this sender is logged as critical.
    void slot_onDeviceAutoReport(const QByteArray& data, const QString& deviceKey);

private:
    explicit MonitorInfo(QObject* parent = nullptr);
    ~MonitorInfo() override;

    bool init();

    static MonitorInfo* m_pInstance;
};

} // namespace UrlResource

#endif
