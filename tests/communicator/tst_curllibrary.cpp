// SPDX-License-Identifier: MIT
//
// When libcurl and what it brings are loaded.
#include <communicator/deviceendpoint.h>
#include <communicator/httpjsonpackage.h>
#include <communicator/httpproxy.h>

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
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

    void aLibraryThatCannotBeUsedEndsTheProgramAndIsNamed_data()
    {
        QTest::addColumn<bool>("isLibrary");
        QTest::addColumn<QByteArray>("message");
        QTest::newRow("no library") << false << QByteArray("libcurl cannot be loaded: ");
        QTest::newRow("another library") << true << QByteArray("libcurl has no curl_global_init: ");
    }
    void aLibraryThatCannotBeUsedEndsTheProgramAndIsNamed()
    {
        QFETCH(bool, isLibrary);
        QFETCH(QByteArray, message);
        const QTemporaryDir folder;
        const QString path = folder.filePath(QStringLiteral("libcurl.so.4"));
        if (isLibrary) {
            QVERIFY(QFile::link(libraryOfTheTests(), path));
        } else {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.write("no library") > 0);
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
                      {QStringLiteral("libcurlIsLoadedWithTheFirstExchangeAndNotWithTheProgram")});
        QVERIFY(program.waitForFinished());
        const QByteArray output = program.readAll();
        QVERIFY2(output.contains(message), output.constData());
        QVERIFY(program.exitStatus() == QProcess::CrashExit || program.exitCode() != 0);
    }

private:
    /// The path of a library that has nothing to do with libcurl.
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
