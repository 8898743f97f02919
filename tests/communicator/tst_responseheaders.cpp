// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include <communicator/httpjsonpackage.h>
#include <communicator/httpproxy.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using Headers = QMap<QString, QString>;

class TestResponseHeaders : public QObject
{
    Q_OBJECT

private:
    // What a package holds after a reply with @p lines in its head.
    static Headers received(const QByteArray& lines, HttpJsonPackage& package)
    {
        MisbehavingServer server(MisbehavingServer::Mode::Raw);
        server.setRaw("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n" + lines + "\r\n{}");
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        Headers headers = package.responseHeader();
        headers.remove(QStringLiteral("Content-Length"));
        return headers;
    }

private Q_SLOTS:
    void namesKeepTheSpellingOfTheDevice_data()
    {
        QTest::addColumn<QByteArray>("lines");
        QTest::addColumn<Headers>("headers");
        QTest::newRow("capitals") << QByteArray("X-Task-ID: 7\r\n") << Headers{{"X-Task-ID", "7"}};
        QTest::newRow("lower case") << QByteArray("x-task-id: 7\r\n") << Headers{{"x-task-id", "7"}};
        QTest::newRow("upper case") << QByteArray("X-TASK-ID: 7\r\n") << Headers{{"X-TASK-ID", "7"}};
        QTest::newRow("several") << QByteArray("eTag: a\r\nX-Fault: 1\r\n")
                                 << Headers{{"X-Fault", "1"}, {"eTag", "a"}};
        QTest::newRow("without a value") << QByteArray("X-Empty:\r\n") << Headers{{"X-Empty", ""}};
        QTest::newRow("repeated") << QByteArray("X-A: 1\r\nX-B: 2\r\nX-A: 3\r\n")
                                  << Headers{{"X-A", "1, 3"}, {"X-B", "2"}};
        QTest::newRow("repeated in another spelling")
            << QByteArray("X-a: 1\r\nx-A: 2\r\nX-A: 3\r\n") << Headers{{"X-a", "1, 2, 3"}};
        QTest::newRow("repeated after no value")
            << QByteArray("X-A:\r\nx-a: 2\r\n") << Headers{{"X-A", ", 2"}};
    }
    void namesKeepTheSpellingOfTheDevice()
    {
        QFETCH(QByteArray, lines);
        QFETCH(Headers, headers);
        HttpJsonPackage package(nullptr);
        QCOMPARE(received(lines, package), headers);
    }

    void aHeaderIsFoundByItsNameInAnyCase_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("value");
        QTest::newRow("as sent") << "X-Task-ID"
                                 << "7";
        QTest::newRow("lower case") << "x-task-id"
                                    << "7";
        QTest::newRow("upper case") << "X-TASK-ID"
                                    << "7";
        QTest::newRow("another name") << "X-Task" << QString();
        QTest::newRow("no name") << QString() << QString();
    }
    void aHeaderIsFoundByItsNameInAnyCase()
    {
        QFETCH(QString, name);
        QFETCH(QString, value);
        HttpJsonPackage package(nullptr);
        received("X-Task-ID: 7\r\nX-Task-IDs: 8\r\n", package);
        QCOMPARE(package.responseHeader(name), value);
    }

    void ofAnInterimReplyNoHeaderStays()
    {
        MisbehavingServer server(MisbehavingServer::Mode::Raw);
        server.setRaw("HTTP/1.1 103 Early Hints\r\nX-Early: 1\r\n\r\n"
                      "HTTP/1.1 200 OK\r\nX-Late: 2\r\nContent-Length: 2\r\n\r\n{}");
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        QCOMPARE(package.responseHeader(), (Headers{{"Content-Length", "2"}, {"X-Late", "2"}}));
    }

    void theHeadersOfAnEngineStayAsTheyAre()
    {
        const Headers headers{{"X-A", "1"}, {"x-a", "2"}, {"Y", "3"}};
        HttpJsonPackage package(nullptr);
        package.setResponseHeader(headers);
        QCOMPARE(package.responseHeader(), headers);
        QCOMPARE(package.responseHeader(QStringLiteral("X-A")), QString("1"));
        QCOMPARE(package.responseHeader(QStringLiteral("x-a")), QString("2"));
        QCOMPARE(package.responseHeader(QStringLiteral("x-A")), QString("1"));
        QCOMPARE(package.responseHeader(QStringLiteral("y")), QString("3"));
    }

    void anAddedHeaderReplacesThatOfItsNameInAnySpelling()
    {
        HttpJsonPackage package(nullptr);
        package.setResponseHeader({{"X-A", "1"}, {"Y", "2"}});
        package.addResponseHeader(QStringLiteral("x-a"), QStringLiteral("3"));
        package.addResponseHeader(QStringLiteral("Z"), QStringLiteral("4"));
        QCOMPARE(package.responseHeader(), (Headers{{"Y", "2"}, {"Z", "4"}, {"x-a", "3"}}));
    }
};

QTEST_GUILESS_MAIN(TestResponseHeaders)
#include "tst_responseheaders.moc"
