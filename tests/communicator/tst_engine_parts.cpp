// SPDX-License-Identifier: MIT
#include "communicator/exchangeobserver.h"
#include "enginebench.h"

#include <QDateTime>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QPointF>
#include <QRegularExpression>
#include <QSize>
#include <QTemporaryDir>
#include <QUrl>
#include <QUuid>

#include <sys/stat.h>
#include <unistd.h>

class TestEngineParts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { muteLog(); }

    void multipartValuesBecomePartsOfTheirKind_data() { bothWays(); }
    void multipartValuesBecomePartsOfTheirKind();
    void valuesOfOtherTypesBecomeJsonParts_data();
    void valuesOfOtherTypesBecomeJsonParts();
    void aPartThatIsNoJsonSendsNothing_data() { bothWays(); }
    void aPartThatIsNoJsonSendsNothing();
    void aFileThatCannotBeReadIsTold_data();
    void aFileThatCannotBeReadIsTold();
    void aMissingFilePartSendsNothing_data() { bothWays(); }
    void aMissingFilePartSendsNothing();
};

namespace {

/// The part @p name of a form that came: its head from the name on, and its content.
QByteArray partOf(const MisbehavingServer::Received& received, const QByteArray& name)
{
    const QByteArray type = received.headers.value("content-type");
    const QByteArray boundary = "--" + type.mid(type.indexOf('=') + 1);
    const int at = received.body.indexOf("name=\"" + name + "\"");
    const int end = received.body.indexOf("\r\n" + boundary, at);
    return at < 0 ? QByteArray() : received.body.mid(at, end - at);
}

} // namespace

void TestEngineParts::multipartValuesBecomePartsOfTheirKind()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    const QString path = directory.filePath(QStringLiteral("pattern.bin"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    const QByteArray content(200000, 'f');
    file.write(content);
    file.close();

    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    QByteArray bytes("\0\r\n--\xff", 6);
    asked.parts = {{QStringLiteral("binary"), bytes},
                   {QStringLiteral("file"), QUrl::fromLocalFile(path)},
                   {QStringLiteral("json"), QVariantMap{{QStringLiteral("k"), 1}}},
                   {QStringLiteral("number"), 7},
                   {QStringLiteral("text"), QStringLiteral("gr\u00fc\u00df")}};
    // The boundary is the transport's to name.
    asked.headers.insert(QStringLiteral("content-Type"), QStringLiteral("application/json"));
    QCOMPARE(bench.ask(asked, blocking).state, State::Success);
    const auto received = server.received();
    const QByteArray type = received[0].headers.value("content-type");
    QVERIFY2(type.startsWith("multipart/form-data; boundary="), type.constData());
    const auto part = [&](const QByteArray& name) { return partOf(received[0], name); };
    QVERIFY(part("binary").contains("Content-Type: application/octet-stream"));
    QVERIFY(part("binary").endsWith("\r\n\r\n" + bytes));
    QVERIFY(part("file").startsWith("name=\"file\"; filename=\"pattern.bin\""));
    QVERIFY(part("file").endsWith("\r\n\r\n" + content));
    QVERIFY(part("json").contains("Content-Type: application/json"));
    QVERIFY(part("json").endsWith("\r\n\r\n{\"k\":1}"));
    QVERIFY(part("number").endsWith("\r\n\r\n7"));
    QVERIFY(part("text").contains("Content-Type: text/plain"));
    QVERIFY(part("text").endsWith("\r\n\r\ngr\xc3\xbc\xc3\x9f"));
}

void TestEngineParts::valuesOfOtherTypesBecomeJsonParts_data()
{
    QTest::addColumn<QVariant>("value");
    const QDateTime time = QDateTime::fromSecsSinceEpoch(1000000000, Qt::UTC);
    const QVariantMap map{{QStringLiteral("k"), QVariantList{1, QStringLiteral("x")}}};
    const QVariant values[] = {
        QVariant(),
        QVariant(QString()), // a null text is a text
        true,
        -7,
        7U,
        QVariant::fromValue(short(-3)),
        QVariant::fromValue(ushort(3)),
        QVariant::fromValue(char(65)),
        QVariant::fromValue(long(5)),
        QVariant::fromValue(ulong(5)),
        qlonglong(-9007199254740991),
        qulonglong(9007199254740991),
        1.5F,
        0.1,
        QVariant::fromValue(nullptr),
        QChar(u'x'),
        QStringList{QStringLiteral("a"), QStringLiteral("b")},
        QVariantList{1, QVariantList{2}, map},
        map,
        QVariantHash{{QStringLiteral("h"), true}},
        QDate(2020, 2, 29),
        QTime(12, 30),
        time,
        QUuid(QStringLiteral("{67c8770b-44f1-410a-ab9a-f9b5446f13ee}")),
        QJsonValue(5),
        QJsonObject{{QStringLiteral("o"), 1}},
        QJsonArray{1, 2},
        QVariant::fromValue(QJsonDocument(QJsonArray{3})),
        QRegularExpression(QStringLiteral("a")),
        QSize(1, 2),
        QPointF(1, 2),
        QVariant::fromValue(QByteArrayList{"a"}),
        QLocale(QLocale::C),
    };
    int row = 0;
    for (const QVariant& value : values) {
        QTest::addRow("%d %s", row++, value.typeName() != nullptr ? value.typeName() : "invalid") << value;
    }
}

void TestEngineParts::valuesOfOtherTypesBecomeJsonParts()
{
    QFETCH(QVariant, value);
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    asked.parts.insert(QStringLiteral("p"), value);
    QCOMPARE(bench.ask(asked, true).state, State::Success);
    const QByteArray part = partOf(server.received().at(0), "p");
    if (value.userType() == QMetaType::QString) {
        QVERIFY2(part.contains("Content-Type: text/plain") && part.endsWith("\r\n\r\n"), part.constData());
        return;
    }
    // Short integers are sent as strings, which is how the document of Qt 5 writes them but not that of Qt 6.
    const bool isShort = value.userType() == QMetaType::Short || value.userType() == QMetaType::UShort;
    const auto written = isShort ? QJsonValue(value.toString()) : QJsonValue::fromVariant(value);
    QByteArray expected = QJsonDocument(QJsonArray{written}).toJson(QJsonDocument::Compact).mid(1);
    expected.chop(1);
    QVERIFY2(part.contains("Content-Type: application/json"), part.constData());
    QCOMPARE(part.mid(part.indexOf("\r\n\r\n") + 4), expected);
}

void TestEngineParts::aPartThatIsNoJsonSendsNothing()
{
    QFETCH(bool, blocking);
    QVariant nested;
    for (int i = 0; i < 2000; ++i) {
        nested = QVariantList{nested};
    }
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    asked.parts.insert(QStringLiteral("p"), nested);
    QCOMPARE(bench.ask(asked, blocking).state, State::InvalidRequest);
    QCOMPARE(server.connections(), 0);
}

void TestEngineParts::aFileThatCannotBeReadIsTold_data()
{
    QTest::addColumn<bool>("blocking");
    QTest::addColumn<QString>("name");
    for (const bool blocking : {true, false}) {
        for (const char* name : {"absent", "directory", "fifo", "socket", "forbidden"}) {
            QTest::addRow("%s, %s", name, blocking ? "blocking" : "non-blocking")
                << blocking << QString::fromLatin1(name);
        }
    }
}

// One that waits for a writer would never end.
void TestEngineParts::aFileThatCannotBeReadIsTold()
{
    QFETCH(bool, blocking);
    QFETCH(QString, name);
    if (name == QLatin1String("forbidden") && ::geteuid() == 0) {
        QSKIP("nothing is forbidden to root");
    }
    QTemporaryDir directory;
    const QString path = directory.filePath(name);
    QVERIFY(QDir(directory.path()).mkdir(QStringLiteral("directory")));
    QCOMPARE(::mkfifo(qPrintable(directory.filePath(QStringLiteral("fifo"))), 0600), 0);
    QCOMPARE(::mknod(qPrintable(directory.filePath(QStringLiteral("socket"))), S_IFSOCK | 0600, 0), 0);
    QFile forbidden(directory.filePath(QStringLiteral("forbidden")));
    QVERIFY(forbidden.open(QIODevice::WriteOnly) && forbidden.setPermissions({}));
    QString reason;
    setExchangeObserver([&](const ExchangeRecord& record) { reason = record.reason; });
    MisbehavingServer server;
    Bench bench;
    HttpRequest asked = request(server.address(), HttpMethod::Put);
    asked.multipart = true;
    asked.parts.insert(QStringLiteral("file"), QUrl::fromLocalFile(path));
    const HttpReply reply = bench.ask(asked, blocking);
    setExchangeObserver({});
    QCOMPARE(reply.state, State::FileFailure);
    QVERIFY2(reason.contains(path), qPrintable(reason));
    QCOMPARE(server.connections(), 0);
}

void TestEngineParts::aMissingFilePartSendsNothing()
{
    QFETCH(bool, blocking);
    QTemporaryDir directory;
    MisbehavingServer server;
    Bench bench;
    const QUrl urls[] = {QUrl::fromLocalFile(directory.filePath(QStringLiteral("absent"))),
                         QUrl::fromLocalFile(directory.path()), QUrl(QStringLiteral("http://127.0.0.1/x")),
                         QUrl()};
    for (const QUrl& url : urls) {
        HttpRequest asked = request(server.address(), HttpMethod::Put);
        asked.multipart = true;
        asked.parts.insert(QStringLiteral("file"), url);
        QCOMPARE(bench.ask(asked, blocking).state, State::FileFailure);
    }
    QCOMPARE(server.connections(), 0);
    QCOMPARE(bench.ask(request(server.address()), blocking).state, State::Success);
}

QTEST_GUILESS_MAIN(TestEngineParts)
#include "tst_engine_parts.moc"
