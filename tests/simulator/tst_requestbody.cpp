// SPDX-License-Identifier: MIT
#include "simulator/device/requestbody.h"

#include <nlohmann/json.hpp>

#include <QtTest>

using namespace Tessel::Simulator;

namespace {

QByteArray text(const nlohmann::json& value)
{
    return QByteArray::fromStdString(value.dump());
}

} // namespace

class TestRequestBody : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aTypeOrARouteThatTakesFilesMakesAFile_data()
    {
        QTest::addColumn<QByteArray>("contentType");
        QTest::addColumn<bool>("anywhere");
        QTest::addColumn<bool>("whereFilesAreTaken");
        QTest::newRow("form") << QByteArray("Multipart/Form-Data; boundary=x") << true << true;
        QTest::newRow("bytes") << QByteArray("application/octet-stream") << true << true;
        QTest::newRow("image") << QByteArray("image/png") << true << true;
        QTest::newRow("video") << QByteArray("video/mp4") << true << true;
        QTest::newRow("JSON") << QByteArray("application/JSON; charset=utf-8") << false << false;
        QTest::newRow("text") << QByteArray("text/plain") << false << true;
        QTest::newRow("none") << QByteArray() << false << true;
    }
    void aTypeOrARouteThatTakesFilesMakesAFile()
    {
        QFETCH(QByteArray, contentType);
        QFETCH(bool, anywhere);
        QFETCH(bool, whereFilesAreTaken);
        Route plain;
        Route takesFiles;
        takesFiles.takesFiles = true;
        QCOMPARE(isFile(contentType.toStdString(), nullptr), anywhere);
        QCOMPARE(isFile(contentType.toStdString(), &plain), anywhere);
        QCOMPARE(isFile(contentType.toStdString(), &takesFiles), whereFilesAreTaken);
    }

    void aFileIsDescribedByTypeAndSize()
    {
        QCOMPARE(text(fileDescription("image/png", 5)),
                 QByteArray(R"({"contentType":"image/png","size":5})"));
        QCOMPARE(text(fileDescription("\xFF", 0)),
                 QByteArray("{\"contentType\":\"\xEF\xBF\xBD\",\"size\":0}"));
    }

    void aFormIsDescribedByItsFileAndAllItsParts()
    {
        const std::vector<FormPart> parts{{"note", "", "", "abc"}, {"file", "a.bin", "image/png", "12345"}};
        QCOMPARE(text(formDescription(parts)),
                 QByteArray(
                     R"({"contentType":"image/png","fileName":"a.bin","name":"file","parts":[)"
                     R"({"contentType":"","name":"note","size":3},)"
                     R"({"contentType":"image/png","fileName":"a.bin","name":"file","size":5}],"size":5})"));
        QCOMPARE(text(formDescription({})), QByteArray(R"({"parts":[]})"));
    }

    void aQueryIsAnObjectOfDecodedTexts()
    {
        QCOMPARE(text(queryObject("a=1&b=%20x&c")), QByteArray(R"({"a":"1","b":" x","c":""})"));
        QCOMPARE(text(queryObject("a=%FF")), QByteArray("{\"a\":\"\xEF\xBF\xBD\"}"));
        QCOMPARE(text(queryObject("")), QByteArray("{}"));
    }
};

QTEST_GUILESS_MAIN(TestRequestBody)
#include "tst_requestbody.moc"
