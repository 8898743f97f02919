// SPDX-License-Identifier: MIT
//
// When libcurl, with what it brings, and libuv are loaded.
#include <communicator/deviceendpoint.h>
#include <communicator/httpjsonpackage.h>
#include <communicator/httpproxy.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

namespace {

QByteArrayList loaded()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    const QByteArray text = maps.open(QIODevice::ReadOnly) ? maps.readAll() : QByteArray();
    QByteArrayList found;
    for (const char* name : {"libcurl", "libuv"}) {
        if (text.contains(QByteArray("/") + name)) {
            found << name;
        }
    }
    return found;
}

} // namespace

class TestCurlLibrary : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void librariesAreLoadedWithTheFirstExchangeAndNotWithTheProgram()
    {
        HttpProxy* const proxy = HttpProxy::getInstance();
        DeviceEndpoint endpoint;
        endpoint.address = QStringLiteral("127.0.0.1:1");
        QVERIFY(proxy->addDevice(QStringLiteral("wall"), endpoint));
        QCOMPARE(loaded(), QByteArrayList());
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/x"));
        proxy->getSync(QStringLiteral("wall"), &package);
        QCOMPARE(loaded(), (QByteArrayList{"libcurl", "libuv"}));
        QVERIFY(proxy->removeDevice(QStringLiteral("wall")));
    }

    void aLibraryThatCannotBeUsedEndsTheProgramAndIsNamed_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<bool>("isLibrary");
        QTest::addColumn<QByteArray>("message");
        const auto curl = QStringLiteral("libcurl.so.4");
        const auto uv = QStringLiteral("libuv.so.1");
        QTest::newRow("no library for libcurl") << curl << false << QByteArray("libcurl cannot be loaded: ");
        QTest::newRow("another library for libcurl")
            << curl << true << QByteArray("libcurl has no curl_global_init: ");
        QTest::newRow("no library for libuv") << uv << false << QByteArray("libuv cannot be loaded: ");
        QTest::newRow("another library for libuv")
            << uv << true << QByteArray("libuv has no uv_async_init: ");
    }
    void aLibraryThatCannotBeUsedEndsTheProgramAndIsNamed()
    {
        QFETCH(QString, file);
        QFETCH(bool, isLibrary);
        QFETCH(QByteArray, message);
        const QTemporaryDir folder;
        const QString path = folder.filePath(file);
        if (isLibrary) {
            QVERIFY(QFile::link(libraryOfTheTests(), path));
        } else {
            QFile text(path);
            QVERIFY(text.open(QIODevice::WriteOnly) && text.write("no library") > 0);
        }
        QProcess program;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        const QString others = environment.value(QStringLiteral("LD_LIBRARY_PATH"));
        environment.insert(QStringLiteral("LD_LIBRARY_PATH"), folder.path() + QLatin1Char(':') + others);
        environment.insert(QStringLiteral("QTEST_DISABLE_CORE_DUMP"), QStringLiteral("1"));
        environment.insert(QStringLiteral("QTEST_DISABLE_STACK_DUMP"), QStringLiteral("1"));
        program.setProcessEnvironment(environment);
        program.setProcessChannelMode(QProcess::MergedChannels);
        program.start(QCoreApplication::applicationFilePath(),
                      {QStringLiteral("librariesAreLoadedWithTheFirstExchangeAndNotWithTheProgram")});
        QVERIFY(program.waitForFinished());
        const QByteArray output = program.readAll();
        QVERIFY2(output.contains(message), output.constData());
        QVERIFY(program.exitStatus() == QProcess::CrashExit || program.exitCode() != 0);
    }

private:
    /// The path of a library that has nothing to do with them.
    static QString libraryOfTheTests()
    {
        QFile maps(QStringLiteral("/proc/self/maps"));
        if (maps.open(QIODevice::ReadOnly)) {
            for (const QByteArray& line : maps.readAll().split('\n')) {
                if (line.contains("Test.so")) {
                    return QString::fromLocal8Bit(line.mid(line.indexOf('/')));
                }
            }
        }
        return {};
    }
};

QTEST_GUILESS_MAIN(TestCurlLibrary)
#include "tst_curllibrary.moc"
