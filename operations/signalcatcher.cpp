// SPDX-License-Identifier: MIT
#include "operations/signalcatcher.h"

#include <utility>

namespace Tessel::Operations {

namespace {

bool namesDevice(const QByteArray& parameter)
{
    return parameter == "deviceKey" || parameter == "key";
}

QVariant argument(int type, const void* value)
{
    if (type == QMetaType::QVariant) {
        return *static_cast<const QVariant*>(value);
    }
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    return QVariant(type, value);
#else
    return QVariant(QMetaType(type), value);
#endif
}

} // namespace

SignalCatcher::SignalCatcher(Handler handler)
    : m_handler(std::move(handler))
{}

void SignalCatcher::watch(const QObject* object)
{
    const QMetaObject* const meta = object->metaObject();
    for (int i = QObject::staticMetaObject.methodCount(); i < meta->methodCount(); ++i) {
        const QMetaMethod method = meta->method(i);
        if (method.methodType() != QMetaMethod::Signal) {
            continue;
        }
        const int slot = QObject::staticMetaObject.methodCount() + static_cast<int>(m_signals.size());
        m_signals.push_back(method);
        QMetaObject::connect(object, i, this, slot, Qt::DirectConnection);
    }
}

// The slots exist only as numbers, one per watched signal, following those of QObject.
int SignalCatcher::qt_metacall(QMetaObject::Call call, int id, void** arguments)
{
    id = QObject::qt_metacall(call, id, arguments);
    if (id < 0 || call != QMetaObject::InvokeMetaMethod) {
        return id;
    }
    const QMetaMethod& method = m_signals.at(static_cast<std::size_t>(id));
    const QList<QByteArray> names = method.parameterNames();
    CaughtSignal caught;
    caught.name = QString::fromLatin1(method.enclosingMetaObject()->className()) + QStringLiteral("::") +
                  QString::fromLatin1(method.name());
    for (int i = 0; i < method.parameterCount(); ++i) {
        const QVariant value = argument(method.parameterType(i), arguments[i + 1]); // [0] is the return value
        if (namesDevice(names[i])) {
            caught.deviceKey = value.toString();
        } else {
            caught.payload.insert(QString::fromLatin1(names[i]), value);
        }
    }
    m_handler(caught);
    return -1;
}

} // namespace Tessel::Operations
