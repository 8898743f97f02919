// SPDX-License-Identifier: MIT
#ifndef OPERATIONS_SIGNALCATCHER_H
#define OPERATIONS_SIGNALCATCHER_H

#include <QMetaMethod>
#include <QObject>
#include <QString>
#include <QVariant>

#include <functional>
#include <vector>

namespace Tessel::Operations {

/// A signal that was emitted.
struct CaughtSignal
{
    QString name;        ///< `HWInfo::signal_customNameChanged`
    QString deviceKey;   ///< null if the signal has no such parameter
    QVariantMap payload; ///< the other arguments, by parameter name
};

/// Connects to all signals of objects, through their meta-objects, without knowing their classes.
///
/// The handler runs directly inside the emission, on the emitting thread.
class SignalCatcher : public QObject
{
public:
    /// Called for each signal.
    using Handler = std::function<void(const CaughtSignal&)>;

    /// Not connected to anything yet. @p handler must not be empty.
    explicit SignalCatcher(Handler handler);

    /// Connects to all signals of @p object except those of QObject.
    void watch(const QObject* object);

    /// Receives the signals; called by Qt.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    Handler m_handler;
    std::vector<QMetaMethod> m_signals; // in the order of the slot numbers
};

} // namespace Tessel::Operations

#endif
