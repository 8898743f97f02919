// SPDX-License-Identifier: MIT
#include "signalrecorder.h"

#include "variantof.h"

#include <QMetaMethod>

SignalRecorder::SignalRecorder(const QObject* sender)
    : m_meta(sender->metaObject())
{
    for (int i = m_meta->methodOffset(); i < m_meta->methodCount(); ++i) {
        if (m_meta->method(i).methodType() != QMetaMethod::Signal) {
            continue;
        }
        // A slot for each of the sender's methods, after those of QObject.
        const int slot = QObject::staticMetaObject.methodCount() + i;
        QMetaObject::connect(sender, i, this, slot, Qt::DirectConnection);
    }
}

QStringList SignalRecorder::take()
{
    QStringList raised;
    raised.swap(m_raised);
    return raised;
}

int SignalRecorder::qt_metacall(QMetaObject::Call call, int id, void** arguments)
{
    id = QObject::qt_metacall(call, id, arguments);
    if (id < 0 || call != QMetaObject::InvokeMetaMethod) {
        return id;
    }
    const QMetaMethod signal = m_meta->method(id);
    QStringList values;
    for (int i = 0; i < signal.parameterCount(); ++i) {
        values << variantOf(signal.parameterType(i), arguments[i + 1]).toString();
    }
    m_raised << QString::fromLatin1(signal.name()) + '(' + values.join(QStringLiteral(", ")) + ')';
    m_threads << QThread::currentThread();
    return -1;
}
