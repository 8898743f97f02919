// SPDX-License-Identifier: MIT
#include <communicator/deviceendpoint.h>
#include <communicator/httpproxy.h>
#include <tessel/devicemanager.h>

#include <oneinstance.h>
#include <recordingengine.h>

#include <QSignalSpy>
#include <QtTest>

using Krelm::Communicator::HttpDevice::DeviceEndpoint;
using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

QList<bool> initialized; // what HttpProxy::initialize() was called with

} // namespace

// In place of the transport's own.
void HttpProxy::initialize(bool events)
{
    initialized << events;
}

class TestDeviceManager : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void deviceChangedFiresWheneverTheProxysDoes()
    {
        QSignalSpy proxy(HttpProxy::getInstance(), &HttpProxy::deviceChanged);
        QSignalSpy manager(DeviceManager::getInstance(), &DeviceManager::deviceChanged);
        DeviceEndpoint endpoint;
        endpoint.address = "127.0.0.1:9";
        QVERIFY(HttpProxy::getInstance()->addDevice("wall", endpoint));
        QVERIFY(manager.wait());
        QVERIFY(HttpProxy::getInstance()->removeDevice("wall"));
        QVERIFY(manager.wait());
        QCOMPARE(manager.count(), proxy.count());
        QCOMPARE(manager.count(), 2);
    }

    void initManagerStartsTheTransportWithEventsAndSendsNoRequest()
    {
        RecordingEngine* engine = RecordingEngine::install();
        initialized.clear();
        DeviceManager::getInstance()->initManager();
        QCOMPARE(initialized, QList<bool>{true});
        QCOMPARE(engine->count(), 0);
    }

    void theMetaObjectHasOneSignalAndNothingElse()
    {
        const QMetaObject& meta = DeviceManager::staticMetaObject;
        QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
        QCOMPARE(meta.method(meta.methodOffset()).methodSignature(), QByteArray("deviceChanged()"));
        QCOMPARE(meta.method(meta.methodOffset()).methodType(), QMetaMethod::Signal);
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void getInstanceStartsNothing()
    {
        initialized.clear();
        DeviceManager::getInstance();
        QVERIFY(initialized.isEmpty());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<DeviceManager>(); }
};

QTEST_GUILESS_MAIN(TestDeviceManager)
#include "tst_devicemanager.moc"
