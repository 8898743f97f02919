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

/// A signal that was raised.
struct CaughtSignal
{
    QString name;        ///< `HWInfo::signal_customNameChanged`
    QString deviceKey;   ///< null where the signal does not name the device
    QVariantMap payload; ///< the other arguments by their names
};

/// Hears every signal that objects declare, whichever they are, by way of their meta-objects.
///
/// The handler is called on the thread that raises the signal, from inside of it.
class SignalCatcher : public QObject
{
public:
    /// What is called for each signal.
    using Handler = std::function<void(const CaughtSignal&)>;

    /// Hears nothing yet; @p handler must be callable.
    explicit SignalCatcher(Handler handler);

    /// Hears the signals of @p object from now on, those of QObject left out.
    void hear(const QObject* object);

    /// Where the signals arrive; called by Qt.
    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    Handler m_handler;
    std::vector<QMetaMethod> m_signals; // the index is that of its slot
};

} // namespace Tessel::Operations

#endif
