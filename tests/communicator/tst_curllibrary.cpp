// SPDX-License-Identifier: MIT
//
// When libcurl, with what it brings, and libuv are loaded.
#include <communicator/httpproxy.h>

#include <QFile>
#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

class TestCurlLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void librariesAreLoadedWithTheTransportAndNotWithTheProgram()
    {
        const auto loaded = [] {
            QFile maps(QStringLiteral("/proc/self/maps"));
            const QByteArray text = maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
            QByteArrayList found;
            for (const char* name : {"libcurl", "libuv"}) {
                if (text.contains(QByteArray("/") + name)) {
                    found << name;
                }
            }
            return found;
        };
        QCOMPARE(loaded(), QByteArrayList());
        QVERIFY(HttpProxy::getInstance() != nullptr);
        QCOMPARE(loaded(), (QByteArrayList{"libcurl", "libuv"}));
    }
};

QTEST_GUILESS_MAIN(TestCurlLibrary)
#include "tst_curllibrary.moc"
