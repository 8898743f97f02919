// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "enginebench.h"

#include <QDir>
#include <QTemporaryDir>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

std::atomic<bool> synchronizingFails{false};

} // namespace

// Takes the place of the system's: a quota on a network's disk shows only here.
extern "C" int fsync(int descriptor)
{
    if (synchronizingFails) {
        errno = EDQUOT;
        return -1;
    }
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

class TestEngineDownloads : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void aDownloadAppearsUnderItsName_data() { bothWays(); }
    void aDownloadAppearsUnderItsName();
    void aFailedDownloadLeavesTheOldFile_data();
    void aFailedDownloadLeavesTheOldFile();
    void aDownloadThatCannotBeWrittenFails();
    void aFullDiskFailsTheDownload_data();
    void aFullDiskFailsTheDownload();
    void aDiskThatRefusesToKeepADownloadFailsIt_data() { bothWays(); }
    void aDiskThatRefusesToKeepADownloadFailsIt();
};

namespace {

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("(no file)");
}

void writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
}

} // namespace

void TestEngineDownloads::aDownloadAppearsUnderItsName()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    const QByteArray content(300000, 'd');
    MisbehavingServer server(Mode::Answer, content);
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    const HttpReply reply = bench.ask(asked, blocking);
    QCOMPARE(reply.state, State::Success);
    QVERIFY(reply.body.isEmpty());
    QCOMPARE(contentOf(asked.downloadPath), content);
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void TestEngineDownloads::aFailedDownloadLeavesTheOldFile_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<int>("state");
    QTest::newRow("not found") << QByteArray("HTTP/1.1 404 Not Found\r\nContent-Length: 2\r\n\r\n{}")
                               << int(State::HttpFailure);
    QTest::newRow("cut") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nabc")
                         << int(State::Broken);
    QTest::newRow("close-delimited") << QByteArray("HTTP/1.1 200 OK\r\n\r\n{}") << int(State::Broken);
    QTest::newRow("too large") << QByteArray("HTTP/1.1 200 OK\r\nContent-Length: 3000000\r\n\r\n")
                               << int(State::LimitExceeded);
}

void TestEngineDownloads::aFailedDownloadLeavesTheOldFile()
{
    QFETCH(QByteArray, text);
    QFETCH(int, state);
    QTemporaryDir directory;
    MisbehavingServer server(Mode::Raw);
    server.setRaw(text);
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    QCOMPARE(int(bench.ask(asked, true).state), state);
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("old"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void TestEngineDownloads::aDownloadThatCannotBeWrittenFails()
{
    QTemporaryDir directory;
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address());
    const QString pipe = directory.filePath(QStringLiteral("pipe"));
    QCOMPARE(::mkfifo(qPrintable(pipe), 0600), 0);
    const QString link = directory.filePath(QStringLiteral("link"));
    QVERIFY(QFile::link(pipe, link));
    for (const QString& path :
         {directory.filePath(QStringLiteral("absent/firmware.bin")), directory.path(), pipe, link}) {
        asked.downloadPath = path;
        QCOMPARE(bench.ask(asked, true).state, State::FileFailure);
        QCOMPARE(bench.ask(asked, false).state, State::FileFailure);
    }
    QCOMPARE(server.connections(), 0);
    QVERIFY(!QFileInfo(pipe).isFile() && QFileInfo(link).isSymLink());
}

void TestEngineDownloads::aFullDiskFailsTheDownload_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("room");
    for (const bool blocking : {true, false}) {
        const char* const way = blocking ? "blocking" : "non-blocking";
        QTest::addRow("within a large file, %s", way) << blocking << (1 << 20) << 100000;
        QTest::addRow("at the end of a large file, %s", way) << blocking << 300000 << 299999;
        QTest::addRow("a file that a buffer holds, %s", way) << blocking << 5000 << 100;
        QTest::addRow("no room at all, %s", way) << blocking << 5000 << 0;
    }
}

void TestEngineDownloads::aFullDiskFailsTheDownload()
{
    QFETCH(bool, blocking);
    QFETCH(int, size);
    QFETCH(int, room);
    QTemporaryDir directory;
    MisbehavingServer server(Mode::Answer, QByteArray(size, 'd'));
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    QString reason;
    setExchangeObserver([&](const ExchangeRecord& record) { reason = record.reason; });
    // A limit on file sizes simulates a full disk: writing beyond it fails.
    rlimit before{};
    QCOMPARE(getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit small = before;
    small.rlim_cur = static_cast<rlim_t>(room);
    auto* const handler = std::signal(SIGXFSZ, SIG_IGN);
    QCOMPARE(setrlimit(RLIMIT_FSIZE, &small), 0);
    const HttpReply reply = bench.ask(asked, blocking);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    setExchangeObserver({});
    QCOMPARE(reply.state, State::FileFailure);
    QVERIFY2(reason.startsWith(QLatin1String("cannot write the destination: ")) &&
                 reason.contains(QLatin1String("too large")),
             qPrintable(reason));
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("old"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
}

void TestEngineDownloads::aDiskThatRefusesToKeepADownloadFailsIt()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    MisbehavingServer server(Mode::Answer, "new");
    Bench bench;
    HttpRequest asked = request(server.address());
    asked.downloadPath = directory.filePath(QStringLiteral("firmware.bin"));
    writeFile(asked.downloadPath, "old");
    synchronizingFails = true;
    const HttpReply reply = bench.ask(asked, blocking);
    synchronizingFails = false;
    QCOMPARE(reply.state, State::FileFailure);
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("old"));
    QCOMPARE(QDir(directory.path()).entryList(QDir::Files | QDir::Hidden).size(), 1);
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    QCOMPARE(contentOf(asked.downloadPath), QByteArray("new"));
}

QTEST_GUILESS_MAIN(TestEngineDownloads)
#include "tst_engine_downloads.moc"
