// SPDX-License-Identifier: MIT
#ifndef TESTS_SIGNALRECORDER_H
#define TESTS_SIGNALRECORDER_H

#include <QObject>
#include <QStringList>
#include <QThread>

/// Records all signals that an object's own class declares, so that a test also notices unexpected ones.
/// Signals may come from any thread, one at a time.
class SignalRecorder : public QObject
{
public:
    explicit SignalRecorder(const QObject* sender);

    /// The signals since the last call, in order, as "name(first, second)".
    QStringList take();
    /// The threads that have emitted signals so far.
    const QList<QThread*>& threads() const { return m_threads; }

    int qt_metacall(QMetaObject::Call call, int id, void** arguments) override;

private:
    const QMetaObject* m_meta;
    QStringList m_raised;
    QList<QThread*> m_threads;
};

#endif
