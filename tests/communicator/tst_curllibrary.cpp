// SPDX-License-Identifier: MIT
//
// When libcurl and what it brings are loaded.
#include <communicator/deviceendpoint.h>
#include <communicator/httpjsonpackage.h>
#include <communicator/httpproxy.h>

#include <QFile>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

namespace {

bool isLoaded()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("/libcurl");
}

} // namespace

class TestCurlLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void libcurlIsLoadedWithTheFirstExchangeAndNotWithTheProgram()
    {
        HttpProxy* const proxy = HttpProxy::getInstance();
        DeviceEndpoint endpoint;
        endpoint.address = QStringLiteral("127.0.0.1:1");
        QVERIFY(proxy->addDevice(QStringLiteral("wall"), endpoint));
        QVERIFY(!isLoaded());
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/x"));
        proxy->getSync(QStringLiteral("wall"), &package);
        QVERIFY(isLoaded());
        QVERIFY(proxy->removeDevice(QStringLiteral("wall")));
    }
};

QTEST_GUILESS_MAIN(TestCurlLibrary)
#include "tst_curllibrary.moc"
