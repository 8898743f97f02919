// SPDX-License-Identifier: MIT
#include "communicator/http/outgoingbody.h"

#include <QTemporaryDir>
#include <QUrl>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

namespace {

/// All that @p body sends, in steps of @p step bytes at most.
QByteArray drain(OutgoingBody& body, std::size_t step = std::size_t(-1))
{
    QByteArray sent;
    while (!body.isSent()) {
        const Bytes next = body.next();
        if (next.size == 0) {
            break;
        }
        const std::size_t taken = std::min(next.size, step);
        sent.append(next.data, int(taken));
        body.consume(taken);
        if (body.sent() != sent.size()) {
            qFatal("%lld bytes are counted of %d", body.sent(), int(sent.size()));
        }
    }
    return sent;
}

QByteArray boundaryOf(const OutgoingBody& body)
{
    return body.contentType().mid(body.contentType().indexOf('=') + 1);
}

} // namespace

class TestOutgoingBody : public QObject
{
    Q_OBJECT
private:
    QTemporaryDir m_directory;

    QUrl fileOf(const QString& name, const QByteArray& content)
    {
        QFile file(m_directory.filePath(name));
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size()) {
            qFatal("no file can be written");
        }
        return QUrl::fromLocalFile(file.fileName());
    }

private Q_SLOTS:
    void bytesGoOutAsTheyAre_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("none") << QByteArray();
        QTest::newRow("some") << QByteArray("a\0\r\n\xff", 5);
    }
    void bytesGoOutAsTheyAre()
    {
        QFETCH(QByteArray, bytes);
        OutgoingBody body;
        body.setBytes(bytes);
        QCOMPARE(body.size(), qint64(bytes.size()));
        QCOMPARE(body.contentType(), QByteArray());
        for (const std::size_t step : {std::size_t(1), std::size_t(2), std::size_t(100)}) {
            QCOMPARE(body.isSent(), bytes.isEmpty());
            QCOMPARE(drain(body, step), bytes);
            QVERIFY(body.isSent());
            QVERIFY(!body.hasFailed());
            QCOMPARE(body.next().size, std::size_t(0));
            body.rewind();
            QCOMPARE(body.sent(), qint64(0));
        }
        body.setBytes("xy");
        QCOMPARE(body.size(), qint64(2));
        drain(body, 1);
        body.clear();
        QCOMPARE(body.size(), qint64(0));
        QCOMPARE(body.sent(), qint64(0));
        QVERIFY(body.isSent());
        QCOMPARE(body.next().size, std::size_t(0));
    }

    void aFormIsWrittenToTheByte()
    {
        const QByteArray content(600000, 'f'); // more than is read at a time
        OutgoingBody body;
        const QMap<QString, QVariant> parts{{"a", QByteArray("by\0", 3)},
                                            {"b", fileOf("wall.PNG", content)},
                                            {"c", QStringLiteral("gr\u00fc\u00df")},
                                            {"d", 7},
                                            {"e", fileOf("empty", {})},
                                            {"f\"\r\n", QByteArray()}};
        QCOMPARE(body.setForm(parts), State::Success);
        const QByteArray boundary = boundaryOf(body);
        const QByteArray start = "--" + boundary + "\r\nContent-Disposition: form-data; name=";
        const QByteArray type = "\r\nContent-Type: ";
        const QByteArray wanted =
            start + "\"a\"" + type + "application/octet-stream\r\n\r\n" + QByteArray("by\0", 3) + "\r\n" + //
            start + "\"b\"; filename=\"wall.PNG\"" + type + "image/png\r\n\r\n" + content + "\r\n" +       //
            start + "\"c\"" + type + "text/plain\r\n\r\ngr\xc3\xbc\xc3\x9f\r\n" +                          //
            start + "\"d\"" + type + "application/json\r\n\r\n7\r\n" +                                     //
            start + "\"e\"; filename=\"empty\"" + type + "application/octet-stream\r\n\r\n\r\n" +          //
            start + "\"f%22%0D%0A\"" + type + "application/octet-stream\r\n\r\n\r\n" +                     //
            "--" + boundary + "--\r\n";
        QCOMPARE(body.contentType(), "multipart/form-data; boundary=" + boundary);
        QCOMPARE(body.size(), qint64(wanted.size()));
        for (const std::size_t step : {std::size_t(-1), std::size_t(99991)}) {
            QCOMPARE(drain(body, step), wanted);
            QVERIFY(body.isSent());
            body.rewind();
        }
        // Started over in the middle of the file.
        for (int i = 0; i < 4; ++i) {
            body.consume(body.next().size);
        }
        QVERIFY(body.next().size > 0);
        body.consume(1);
        body.rewind();
        QCOMPARE(drain(body), wanted);
        body.setBytes("x");
        QCOMPARE(body.contentType(), QByteArray());
        QCOMPARE(drain(body), QByteArray("x"));
    }

    void eachFormHasABoundaryOfItsOwn()
    {
        OutgoingBody body;
        QSet<QByteArray> seen;
        for (int i = 0; i < 50; ++i) {
            QCOMPARE(body.setForm({}), State::Success);
            const QByteArray boundary = boundaryOf(body);
            QCOMPARE(boundary.size(), 22 + 32);
            QCOMPARE(boundary.left(22), QByteArray(22, '-'));
            for (const char c : boundary.mid(22)) {
                QVERIFY(QByteArray("0123456789abcdef").contains(c));
            }
            seen.insert(boundary.mid(22, 16));
            seen.insert(boundary.mid(38));
            QCOMPARE(drain(body), "--" + boundary + "--\r\n");
        }
        QCOMPARE(seen.size(), 100);
    }

    void aFilesTypeFollowsFromItsName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("type");
        const char* const known[][2] = {
            {"a.gif", "image/gif"},       {"a.jpg", "image/jpeg"},       {"a.jpeg", "image/jpeg"},
            {"a.png", "image/png"},       {"a.svg", "image/svg+xml"},    {"a.txt", "text/plain"},
            {"a.htm", "text/html"},       {"a.html", "text/html"},       {"a.pdf", "application/pdf"},
            {"a.xml", "application/xml"}, {"a.b.XmL", "application/xml"}};
        for (const auto& [name, type] : known) {
            QTest::newRow(name) << QString(name) << QByteArray(type);
        }
        QTest::newRow("another") << QString("a.xmlx") << QByteArray("application/octet-stream");
        QTest::newRow("none") << QString("xml") << QByteArray("application/octet-stream");
    }
    void aFilesTypeFollowsFromItsName()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, type);
        OutgoingBody body;
        QCOMPARE(body.setForm({{"x", fileOf(name, "content")}}), State::Success);
        const QByteArray sent = drain(body);
        QVERIFY2(sent.contains("\r\nContent-Type: " + type + "\r\n\r\ncontent\r\n"), sent.constData());
    }

    void whatCannotBeReadIsNotBegun_data()
    {
        QTest::addColumn<QUrl>("url");
        QTest::addColumn<QString>("error");
        const QString missing = m_directory.filePath(QStringLiteral("missing"));
        QTest::newRow("missing") << QUrl::fromLocalFile(missing) << "cannot read the file " + missing;
        QTest::newRow("a directory") << QUrl::fromLocalFile(m_directory.path())
                                     << "cannot read the file " + m_directory.path();
        QTest::newRow("no file") << QUrl("http://wall/a")
                                 << QStringLiteral(
                                        "cannot read the file of a part whose URL is not a local file");
    }
    void whatCannotBeReadIsNotBegun()
    {
        QFETCH(QUrl, url);
        QFETCH(QString, error);
        OutgoingBody body;
        QCOMPARE(body.setForm({{"a", "b"}, {"x", url}}), State::FileFailure);
        QCOMPARE(body.error(), error);
        body.setBytes("x");
        QCOMPARE(body.error(), QString());
    }

    void aPartThatIsNoJsonIsNotBegun()
    {
        QVariant deep = 1;
        for (int i = 0; i < 2000; ++i) {
            deep = QVariantList{deep};
        }
        OutgoingBody body;
        QCOMPARE(body.setForm({{"x", deep}}), State::InvalidRequest);
        QCOMPARE(body.error(), QStringLiteral("a part is nested too deeply to be written as JSON"));
    }

    void aFileThatGoesOrShrinksFailsTheBody_data()
    {
        QTest::addColumn<bool>("gone");
        QTest::newRow("gone") << true;
        QTest::newRow("shrunk") << false;
    }
    void aFileThatGoesOrShrinksFailsTheBody()
    {
        QFETCH(bool, gone);
        const QUrl url = fileOf(gone ? "gone" : "shrunk", QByteArray(1000, 'x'));
        const QString path = url.toLocalFile();
        OutgoingBody body;
        QCOMPARE(body.setForm({{"x", url}}), State::Success);
        QVERIFY(gone ? QFile::remove(path) : QFile::resize(path, 400));
        const QByteArray sent = drain(body);
        QVERIFY(!body.isSent());
        QCOMPARE(sent.size() - sent.indexOf("\r\n\r\n") - 4, gone ? 0 : 400);
        QVERIFY(body.hasFailed());
        QCOMPARE(body.error(), "cannot read the file " + path);
        QCOMPARE(body.next().size, std::size_t(0));
        // The next attempt reads the file again.
        fileOf(gone ? "gone" : "shrunk", QByteArray(1000, 'y'));
        body.rewind();
        QVERIFY(!body.hasFailed());
        QVERIFY(drain(body).contains(QByteArray(1000, 'y')));
        QVERIFY(body.isSent());
        QVERIFY(!body.hasFailed());
    }
};

QTEST_GUILESS_MAIN(TestOutgoingBody)
#include "tst_outgoingbody.moc"
