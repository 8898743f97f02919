// SPDX-License-Identifier: MIT
//
// When libcurl and what it brings are loaded.
#include <communicator/httpproxy.h>

#include <QFile>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

class TestCurlLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void libcurlIsLoadedWithTheTransportAndNotWithTheProgram()
    {
        const auto isLoaded = [] {
            QFile maps(QStringLiteral("/proc/self/maps"));
            return maps.open(QIODevice::ReadOnly) && maps.readAll().contains("/libcurl");
        };
        QVERIFY(!isLoaded());
        QVERIFY(HttpProxy::getInstance() != nullptr);
        QVERIFY(isLoaded());
    }
};

QTEST_GUILESS_MAIN(TestCurlLibrary)
#include "tst_curllibrary.moc"
