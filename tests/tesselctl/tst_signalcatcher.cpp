// SPDX-License-Identifier: MIT
#include <operations/signalcatcher.h>

#include "variantof.h"

#include <operations/operators.h>

#include <QMetaMethod>
#include <QSet>
#include <QtTest>

using namespace Tessel::Operations;

class Sender : public QObject
{
    Q_OBJECT
Q_SIGNALS:
    void nothing();
    void changed(const QString& deviceKey, const QVariant& var, int type);
    void keyed(const QString& key);
    void numbered(QString deviceKey, unsigned short input);
};

class TestSignalCatcher : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_caught.clear(); }
    void aSignalWithoutArgumentsIsCaught();
    void argumentsAreToldByTheirNames();
    void theDeviceIsToldApart();
    void signalsOfQObjectAreLeftOut();
    void severalObjectsAreHeard();
    void everySignalOfEveryOperatorIsHeard();

private:
    SignalCatcher::Handler catching()
    {
        return [this](const CaughtSignal& caught) { m_caught.push_back(caught); };
    }
    std::vector<CaughtSignal> m_caught;
};

void TestSignalCatcher::aSignalWithoutArgumentsIsCaught()
{
    SignalCatcher catcher(catching());
    Sender sender;
    catcher.watch(&sender);
    Q_EMIT sender.nothing();
    QCOMPARE(m_caught.size(), std::size_t(1));
    QCOMPARE(m_caught[0].name, QString("Sender::nothing"));
    QVERIFY(m_caught[0].deviceKey.isNull());
    QVERIFY(m_caught[0].payload.isEmpty());
}

void TestSignalCatcher::argumentsAreToldByTheirNames()
{
    SignalCatcher catcher(catching());
    Sender sender;
    catcher.watch(&sender);
    Q_EMIT sender.changed("wall", QVariantMap{{"fan", 1}}, 2);
    Q_EMIT sender.numbered("wall", 255);
    QCOMPARE(m_caught.size(), std::size_t(2));
    QCOMPARE(m_caught[0].payload, (QVariantMap{{"var", QVariantMap{{"fan", 1}}}, {"type", 2}}));
    QCOMPARE(m_caught[1].payload.value("input").toInt(), 255);
}

void TestSignalCatcher::theDeviceIsToldApart()
{
    SignalCatcher catcher(catching());
    Sender sender;
    catcher.watch(&sender);
    Q_EMIT sender.keyed("wall");
    Q_EMIT sender.numbered("other", 1);
    QCOMPARE(m_caught.size(), std::size_t(2));
    QCOMPARE(m_caught[0].deviceKey, QString("wall"));
    QVERIFY(m_caught[0].payload.isEmpty());
    QCOMPARE(m_caught[1].deviceKey, QString("other"));
}

void TestSignalCatcher::signalsOfQObjectAreLeftOut()
{
    SignalCatcher catcher(catching());
    Sender sender;
    catcher.watch(&sender);
    sender.setObjectName("renamed");
    QVERIFY(m_caught.empty());
}

void TestSignalCatcher::severalObjectsAreHeard()
{
    SignalCatcher catcher(catching());
    Sender one;
    Sender two;
    catcher.watch(&one);
    catcher.watch(&two);
    Q_EMIT two.keyed("wall");
    Q_EMIT one.nothing();
    QCOMPARE(m_caught.size(), std::size_t(2));
    QCOMPARE(m_caught[0].name, QString("Sender::keyed"));
    QCOMPARE(m_caught[1].name, QString("Sender::nothing"));
}

void TestSignalCatcher::everySignalOfEveryOperatorIsHeard()
{
    SignalCatcher catcher(catching());
    QSet<QString> names;
    for (QObject* one : allOperators()) {
        catcher.watch(one);
        const QMetaObject* const meta = one->metaObject();
        for (int i = meta->methodOffset(); i < meta->methodCount(); ++i) {
            const QMetaMethod method = meta->method(i);
            if (method.methodType() != QMetaMethod::Signal) {
                continue;
            }
            QVector<QVariant> values;
            for (int k = 0; k < method.parameterCount(); ++k) {
                const int type = method.parameterType(k);
                values << (type == QMetaType::QVariant ? QVariant(1) : variantOf(type));
            }
            const QList<QByteArray> types = method.parameterTypes();
            QVector<QGenericArgument> arguments(3);
            for (int k = 0; k < values.size(); ++k) {
                const bool variant = method.parameterType(k) == QMetaType::QVariant;
                arguments[k] =
                    QGenericArgument(types[k].constData(), variant ? &values[k] : values[k].constData());
            }
            QVERIFY2(method.invoke(one, Qt::DirectConnection, arguments[0], arguments[1], arguments[2]),
                     method.methodSignature());
            names << QString(meta->className()) + "::" + method.name();
        }
    }
    QVERIFY(names.contains("HWInfo::signal_customNameChanged"));
    QSet<QString> caught;
    for (const CaughtSignal& one : m_caught) {
        caught << one.name;
    }
    QCOMPARE(caught, names);
}

QTEST_GUILESS_MAIN(TestSignalCatcher)
#include "tst_signalcatcher.moc"
