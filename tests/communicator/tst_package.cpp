// SPDX-License-Identifier: MIT
#include <communicator/httpjsonpackage.h>
#include <communicator/httpmutilpartpackage.h>
#include <communicator/httpproxy.h>
#include <logcollector.h>

#include <logcollector.h>

#include <QRegularExpression>
#include <QSet>
#include <QUrl>
#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using Headers = QMap<QString, QString>;

class TestPackage : public QObject
{
    Q_OBJECT
private:
    template <class Data>
    static Data readInto(Data out, const HttpJsonPackage& package, const char* decoder)
    {
        quintptr reader = 0;
        QMetaObject::invokeMethod(HttpProxy::getInstance(), "replyReader", Qt::DirectConnection,
                                  Q_RETURN_ARG(quintptr, reader), Q_ARG(QByteArray, decoder));
        if (reader != 0) {
            reinterpret_cast<void (*)(const HttpJsonPackage&, Data&)>(reader)(package, out);
        }
        return out;
    }

    // Into containers that hold something, whatever that is.
    static void readsWhatTheDecodersReturn(const HttpJsonPackage& package)
    {
        const QMap<QString, QVariant> map{{"a", 7}, {"old", QVariantList{1}}};
        const QList<QVariant> list{5, map, QVariantList{1}};
        QCOMPARE(readInto(map, package, "getRoutesJsonMap"), package.getRoutesJsonMap());
        QCOMPARE(readInto(list, package, "getRoutesJsonDataListMap"), package.getRoutesJsonDataListMap());
        QCOMPARE(readInto(list, package, "getJsonDataListMap"), package.getJsonDataListMap());
        QCOMPARE(readInto(list, package, "anotherDecoder"), list);
    }

private Q_SLOTS:
    void aFreshPackageReportsSuccessAndHoldsNothing()
    {
        const HttpJsonPackage package(nullptr);
        QCOMPARE(int(package.getSimpleState()), 0);
        QCOMPARE(package.expectedTime(), 10000);
        QCOMPARE(package.replyStatus, 0);
        QVERIFY(package.getReceiveData().isNull());
        QVERIFY(package.getUrl().isEmpty());
        QVERIFY(package.getDevkey().isEmpty());
        QVERIFY(package.fileDownloadPath.isEmpty());
        QVERIFY(!package.daemonFlag());
        QVERIFY(package.requestHeader().isEmpty() && package.parameters().isEmpty() &&
                package.placeHolders().isEmpty());
        QVERIFY(package.getRoutesJsonMap().isEmpty());
        QVERIFY(package.getRoutesJsonDataListMap().isEmpty());
        QVERIFY(package.getJsonDataListMap().isEmpty());
        readsWhatTheDecodersReturn(package);
    }

    void aReplyThatIsNoObjectIsWarnedOfOnce_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<int>("warnings");
        QTest::newRow("none yet") << 0 << QByteArray() << 0;
        QTest::newRow("204") << 204 << QByteArray() << 0;
        QTest::newRow("empty") << 200 << QByteArray() << 1;
        QTest::newRow("text") << 200 << QByteArray("x") << 1;
        QTest::newRow("204 with a text") << 204 << QByteArray("x") << 1;
        QTest::newRow("text without a status") << 0 << QByteArray("x") << 1;
        QTest::newRow("an object") << 200 << QByteArray("{}") << 0;
    }
    void aReplyThatIsNoObjectIsWarnedOfOnce()
    {
        QFETCH(int, status);
        QFETCH(QByteArray, body);
        QFETCH(int, warnings);
        const LogCollector log;
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/{id}"));
        package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("x"));
        package.addParameters(QStringLiteral("q"), QStringLiteral("1"));
        package.setDevkey(QStringLiteral("user:secret@wall"));
        package.replyStatus = status;
        package.setReceiveData(body);
        QVERIFY(package.getRoutesJsonMap().isEmpty());
        QVERIFY(package.getJsonDataListMap().isEmpty());
        const QString line =
            QStringLiteral("tessel.http.warning: ***@wall /api/v1/x?q=1: the reply is not a JSON object");
        QCOMPARE(log.lines(), warnings == 0 ? QStringList() : QStringList(line));
    }

    void whatIsSetIsReadBack()
    {
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/x/{id}"));
        package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("a b"));
        package.addParameters(QStringLiteral("q"), QStringLiteral("&="));
        package.setRequestHeader({{QStringLiteral("content-Type"), QStringLiteral("application/json")}});
        package.setRequestData(QByteArray("\0raw", 4));
        package.setExpectedTime(3000);
        package.setDaemonFlag(true);
        package.fileDownloadPath = QStringLiteral("/tmp/x");
        QCOMPARE(package.getUrl(), QStringLiteral("/x/{id}"));
        QCOMPARE(package.placeHolders(QStringLiteral("id")), QStringLiteral("a b"));
        QCOMPARE(package.placeHolders().size(), 1);
        QCOMPARE(package.parameters(QStringLiteral("q")), QStringLiteral("&="));
        QCOMPARE(package.requestHeader(QStringLiteral("content-Type")), QStringLiteral("application/json"));
        QVERIFY(package.requestHeader(QStringLiteral("Content-Type")).isEmpty());
        QCOMPARE(package.requestHeader().size(), 1);
        QCOMPARE(package.requestData(), QByteArray("\0raw", 4));
        QCOMPARE(package.expectedTime(), 3000);
        QVERIFY(package.daemonFlag());
    }

    void settingParametersReplacesThem()
    {
        HttpJsonPackage package(nullptr);
        package.addParameters(QStringLiteral("a"), QStringLiteral("1"));
        package.setParameters({{QStringLiteral("b"), QStringLiteral("2")}});
        QCOMPARE(package.parameters(), (Headers{{QStringLiteral("b"), QStringLiteral("2")}}));
    }

    void aVariantBecomesCompactJsonAtOnce()
    {
        HttpJsonPackage package(nullptr);
        package.setRequestWithJsonObj(
            QVariantMap{{QStringLiteral("a"), QVariantList{1, QStringLiteral("x")}}});
        QCOMPARE(package.requestData(), QByteArray("{\"a\":[1,\"x\"]}"));
        package.setRequestWithJsonObj(QVariantList{});
        QCOMPARE(package.requestData(), QByteArray("[]"));
    }

    void responseHeadersAreFoundWithoutRegardToCase()
    {
        HttpJsonPackage package(nullptr);
        package.setResponseHeader({{QStringLiteral("Content-Type"), QStringLiteral("a")}});
        package.addResponseHeader(QStringLiteral("X-Other"), QStringLiteral("b"));
        QCOMPARE(package.responseHeader(QStringLiteral("CONTENT-TYPE")), QStringLiteral("a"));
        QCOMPARE(package.responseHeader(QStringLiteral("x-other")), QStringLiteral("b"));
        QCOMPARE(package.responseHeader().keys(),
                 QStringList({QStringLiteral("Content-Type"), QStringLiteral("X-Other")}));
    }

    void identitiesAreUnique()
    {
        QSet<QString> identities;
        for (int i = 0; i < 100; ++i) {
            const HttpJsonPackage package(nullptr);
            QCOMPARE(package.getIdentity(), package.getIdentity());
            identities.insert(package.getIdentity());
        }
        QCOMPARE(identities.size(), 100);
    }

    void aNestedMemberIsReachedByAKeyPath()
    {
        HttpJsonPackage package(nullptr);
        package.setReceiveData("{\"code\":0,\"data\":{\"capability\":{\"deviceType\":1},\"list\":[1,2]}}");
        const QMap<QString, QVariant> map = package.getRoutesJsonMap();
        QCOMPARE(map.value(QStringLiteral("capability.deviceType")).toInt(), 1);
        QCOMPARE(map.value(QStringLiteral("list")).toList().size(), 2);
    }

    void listsAreDecodedFlattenedAndAsParsed()
    {
        HttpJsonPackage package(nullptr);
        package.setReceiveData("{\"data\":[{\"a\":{\"b\":1}},5]}");
        QCOMPARE(package.getRoutesJsonDataListMap().at(0).toMap().value(QStringLiteral("a.b")).toInt(), 1);
        QCOMPARE(package.getJsonDataListMap().at(0).toMap().value(QStringLiteral("a")).toMap().size(), 1);
        QCOMPARE(package.getJsonDataListMap().at(1).toInt(), 5);
        readsWhatTheDecodersReturn(package);
    }

    void theTimeOfALargeDecodingIsTold()
    {
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/{id}"));
        package.addPlaceHolders(QStringLiteral("id"), QStringLiteral("x"));
        package.addParameters(QStringLiteral("q"), QStringLiteral("1"));
        package.setDevkey(QStringLiteral("user:secret@wall"));
        package.setReceiveData("{\"data\":{\"a\":\"" + QByteArray((1 << 20) - 20, 'x') + "\"}}");
        const LogCollector log;
        QCOMPARE(package.getRoutesJsonMap().size(), 1);
        QVERIFY(log.lines().isEmpty());
        package.setReceiveData("{\"data\":{\"a\":\"" + QByteArray(1 << 20, 'x') + "\"}}");
        QCOMPARE(package.getRoutesJsonMap().size(), 1);
        QCOMPARE(log.lines().size(), 1);
        const QRegularExpression told(
            "^tessel\\.http\\.info: \\*\\*\\*@wall /api/v1/x\\?q=1: decoding 1048593 bytes took "
            "[0-9]+ ms beside the time limit$");
        QVERIFY2(told.match(log.lines()[0]).hasMatch(), qPrintable(log.lines()[0]));
    }

    void decodersAreEmptyAfterAFailure()
    {
        HttpJsonPackage package(nullptr);
        package.setReceiveData("{\"data\":{\"a\":1}}");
        package.setSimpleState(IHttpVersionTrigger::HttpFailure);
        QVERIFY(package.getRoutesJsonMap().isEmpty());
        package.setReceiveData("{\"data\":[1]}");
        QVERIFY(package.getRoutesJsonDataListMap().isEmpty());
        QVERIFY(package.getJsonDataListMap().isEmpty());
        readsWhatTheDecodersReturn(package);
        QCOMPARE(package.getReceiveData(), QByteArray("{\"data\":[1]}"));
    }

    void decodersAreEmptyOnTheWrongShape_data()
    {
        QTest::addColumn<QByteArray>("body");
        for (const char* body :
             {"", "hello", "[]", "{}", "{\"data\":null}", "{\"data\":1}", "{\"data\":{\"a\":1}", "null"}) {
            QTest::newRow(*body == '\0' ? "nothing" : body) << QByteArray(body);
        }
    }
    void decodersAreEmptyOnTheWrongShape()
    {
        QFETCH(QByteArray, body);
        HttpJsonPackage package(nullptr);
        package.setReceiveData(body);
        QVERIFY(package.getRoutesJsonMap().isEmpty());
        QVERIFY(package.getRoutesJsonDataListMap().isEmpty());
        QVERIFY(package.getJsonDataListMap().isEmpty());
        readsWhatTheDecodersReturn(package);
    }

    void aMultipartPackageKeepsItsPartsAsTheyAre()
    {
        HttpMutilPartPackage package(nullptr);
        const QMap<QString, QVariant> parts{{QStringLiteral("a"), QByteArray("b")},
                                            {QStringLiteral("f"), QUrl(QStringLiteral("file:///x"))}};
        package.setHttpMultiPartData(parts);
        QCOMPARE(package.httpMultiPartData(), parts);
        package.setUrl(QStringLiteral("/x"));
        QCOMPARE(package.getUrl(), QStringLiteral("/x"));
    }
};

QTEST_GUILESS_MAIN(TestPackage)
#include "tst_package.moc"
