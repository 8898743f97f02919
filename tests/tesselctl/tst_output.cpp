// SPDX-License-Identifier: MIT
#include "tesselctl/requests/callobserver.h"
#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/output.h"
#include "tesselctl/terminal/printable.h"

#include <QtTest>

using namespace TesselCtl;
using State = Krelm::Communicator::HttpDevice::IHttpVersionTrigger;

class TestOutput : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void valuesForPeople_data();
    void valuesForPeople();
    void wideCharactersKeepTheColumns();
    void jsonIsExact_data();
    void jsonIsExact();
    void jsonComesBackAsItWas();
    void aByteOrderMarkIsACharacterOfItsString_data();
    void aByteOrderMarkIsACharacterOfItsString();
    void membersStandInTheOrderOfTheirNames();
    void nothingSteersTheTerminal_data();
    void nothingSteersTheTerminal();
    void sizesForPeople_data();
    void sizesForPeople();
    void exchangesNameTheirOutcome_data();
    void exchangesNameTheirOutcome();
    void aTraceLineTellsTheExchangeAndNoBody();
};

namespace {

QVariantMap chip(int id, const char* name)
{
    return {{"id", id}, {"name", name}};
}

} // namespace

void TestOutput::valuesForPeople_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, const QVariant& value, const char* text) {
        QTest::newRow(name) << value << QString(text);
    };
    row("text", "hall", "hall\n");
    row("number", 7, "7\n");
    row("fraction", 2.8, "2.8\n");
    row("boolean", false, "false\n");
    row("nothing", QVariant(), "null\n");
    row("map", QVariantMap{{"brightness", 80}, {"id", "a"}}, "brightness  80\nid          a\n");
    row("map with an inner list", QVariantMap{{"ids", QVariantList{1, 2}}}, "ids  [1,2]\n");
    row("empty map", QVariantMap(), "{}\n");
    row("empty list", QVariantList(), "[]\n");
    row("plain list", QVariantList{"a", 2}, "a\n2\n");
    row("table", QVariantList{chip(1, "long name"), chip(12, "x")}, "id  name\n1   long name\n12  x\n");
    row("maps with different keys", QVariantList{chip(1, "a"), QVariantMap{{"id", 2}}},
        "[\n  {\n    \"id\": 1,\n    \"name\": \"a\"\n  },\n  {\n    \"id\": 2\n  }\n]\n");
    row("maps that nest", QVariantList{QVariantMap{{"a", QVariantList{1}}}},
        "[\n  {\n    \"a\": [\n      1\n    ]\n  }\n]\n");
    row("list of empty maps", QVariantList{QVariantMap()}, "[\n  {}\n]\n");
}

void TestOutput::valuesForPeople()
{
    QFETCH(QVariant, value);
    QFETCH(QString, text);
    QCOMPARE(humanText(value), text);
}

void TestOutput::wideCharactersKeepTheColumns()
{
    if (displayWidth(QString::fromUtf8("屏")) != 2) {
        QSKIP("the locale knows no wide characters");
    }
    QCOMPARE(aligned({{QString::fromUtf8("屏幕"), "1"}, {"hall", "2"}}),
             QString::fromUtf8("屏幕  1\nhall  2\n"));
}

void TestOutput::jsonIsExact_data()
{
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<QByteArray>("json");
    const auto row = [](const char* name, const QVariant& value, const char* json) {
        QTest::newRow(name) << value << QByteArray(json);
    };
    row("beyond 2^53", qlonglong(9007199254740993), "9007199254740993");
    row("beyond 2^63", qulonglong(18446744073709551615ULL), "18446744073709551615");
    row("negative", qlonglong(-9007199254740993), "-9007199254740993");
    row("fraction", 0.1, "0.1");
    row("no number", qQNaN(), "null");
    row("nothing", QVariant(), "null");
    row("null", QVariant::fromValue(nullptr), "null");
    row("boolean", true, "true");
    row("text", QString::fromUtf8("Gr\xc3\xbc\xc3\x9f\x65"), "\"Gr\xc3\xbc\xc3\x9f\x65\"");
    row("bytes", QByteArray("abc"), "\"abc\"");
    row("quotes", "a\"b\\c", R"("a\"b\\c")");
    row("nested", QVariantMap{{"a", QVariantList{1, QVariantMap()}}}, R"({"a":[1,{}]})");
}

void TestOutput::jsonIsExact()
{
    QFETCH(QVariant, value);
    QFETCH(QByteArray, json);
    QCOMPARE(toJson(value, false), json);
}

void TestOutput::jsonComesBackAsItWas()
{
    const QVariantMap value{
        {"a", qlonglong(9007199254740993)}, {"b", QVariantList{"x", 2.5, false}}, {"c", "\x1b[0m"}};
    for (const bool indented : {false, true}) {
        const Expected<QVariant> back = parseJson(toJson(value, indented));
        QVERIFY2(back, qPrintable(back.error()));
        QCOMPARE(*back, QVariant(value));
    }
}

void TestOutput::aByteOrderMarkIsACharacterOfItsString_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("in a name") << QByteArray("{\"\xEF\xBB\xBF\":2,\"a\":1}");
    QTest::newRow("in a value") << QByteArray("{\"a\":\"\xEF\xBB\xBF\xEF\xBB\xBF b\"}");
    QTest::newRow("within a value") << QByteArray("{\"a\":\"b\xEF\xBB\xBF\"}");
}

void TestOutput::aByteOrderMarkIsACharacterOfItsString()
{
    QFETCH(QByteArray, json);
    const Expected<QVariant> value = parseJson(json);
    QVERIFY2(value, qPrintable(value.error()));
    const QVariantMap map = value->toMap();
    // As long as it was, counted in characters.
    const QString first =
        map.firstKey() == QLatin1String("a") && map.size() == 1 ? map.first().toString() : map.lastKey();
    QCOMPARE(first.count(QChar(QChar::ByteOrderMark)), json.count("\xEF\xBB\xBF"));
    QCOMPARE(map.size(), json.count(':'));
}

void TestOutput::membersStandInTheOrderOfTheirNames()
{
    QCOMPARE(toJson(QVariantMap{{"b", 1}, {"a", 2}, {"B", 3}}, false), QByteArray(R"({"B":3,"a":2,"b":1})"));
}

void TestOutput::nothingSteersTheTerminal_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("shown");
    QTest::newRow("escape") << "a\x1b[31mb"
                            << "a\\u001b[31mb";
    QTest::newRow("bell") << "\x07"
                          << "\\u0007";
    QTest::newRow("line feed") << "a\nb"
                               << "a\\nb";
    QTest::newRow("carriage return") << "a\rb"
                                     << "a\\u000db";
    QTest::newRow("tabulator") << "a\tb"
                               << "a\\tb";
    QTest::newRow("delete") << "\x7f"
                            << "\\u007f";
    QTest::newRow("C1 control sequence introducer") << QString(QChar(0x9b)) << "\\u009b";
    QTest::newRow("right-to-left override") << QString(QChar(0x202e)) << "\\u202e";
    QTest::newRow("line separator") << QString(QChar(0x2028)) << "\\u2028";
    QTest::newRow("letters") << QString::fromUtf8("Größe 屏幕") << QString::fromUtf8("Größe 屏幕");
}

void TestOutput::nothingSteersTheTerminal()
{
    QFETCH(QString, text);
    QFETCH(QString, shown);
    QCOMPARE(printable(text), shown);
    QCOMPARE(humanText(QVariantMap{{text, text}}), shown + "  " + shown + "\n");
    QCOMPARE(humanText(QVariantList{QVariantMap{{text, text}}}), shown + "\n" + shown + "\n");
    const QByteArray json = toJson(QVariantMap{{text, QVariantList{text}}}, true);
    for (const QChar character : QString::fromUtf8(json)) {
        QVERIFY(character == '\n' || printable(QString(character)) == QString(character));
    }
}

void TestOutput::sizesForPeople_data()
{
    QTest::addColumn<qint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << qint64(0) << "0 B";
    QTest::newRow("bytes") << qint64(999) << "999 B";
    QTest::newRow("kilobytes") << qint64(1000) << "1.0 kB";
    QTest::newRow("rounded") << qint64(1449) << "1.4 kB";
    QTest::newRow("rounded up to the next unit") << qint64(999999) << "1.0 MB";
    QTest::newRow("megabytes") << qint64(5000000) << "5.0 MB";
    QTest::newRow("gigabytes") << qint64(3200000000) << "3.2 GB";
}

void TestOutput::sizesForPeople()
{
    QFETCH(qint64, bytes);
    QFETCH(QString, text);
    QCOMPARE(humanSize(bytes), text);
}

void TestOutput::exchangesNameTheirOutcome_data()
{
    QTest::addColumn<int>("state");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("reason");
    const auto row = [](const char* name, int state, int status, const char* reply, ExitCode code,
                        const char* reason) {
        QTest::newRow(name) << state << status << QByteArray(reply) << int(code) << QString(reason);
    };
    row("success", State::Success, 200, R"({"code":0})", Done, "");
    row("success without an envelope", State::Success, 200, "[]", Done, "");
    row("success without a body", State::Success, 204, "", Done, "");
    row("no JSON", State::Success, 200, "<html>\n<body>Router</body></html>", Refused,
        "the device answered, but not with JSON: \"<html>\\n<body>Router</body></html>\"");
    row("long text that is no JSON", State::Success, 200, QByteArray(100, 'x').constData(), Refused,
        qPrintable("the device answered, but not with JSON: \"" + QString(60, 'x') + "...\""));
    row("code", State::Success, 200, R"({"code":7,"message":"busy"})", Refused,
        "the device refused: code 7, \"busy\"");
    row("status", State::HttpFailure, 404, "", Refused, "the device refused: HTTP status 404");
    row("status and code", State::HttpFailure, 400, R"({"code":3,"message":"\u001b"})", Refused,
        "the device refused: HTTP status 400, code 3, \"\\u001b\"");
    row("invalid", State::InvalidRequest, 0, "", Failed, "why");
    row("no such host", State::HostNotFound, 0, "", Unreachable, "why");
    row("unreachable", State::Unreachable, 0, "", Unreachable, "why");
    row("broken", State::Broken, 0, "", Unreachable, "why");
    row("TLS", State::TlsFailure, 0, "", Unreachable, "why");
    row("time-out", State::TimedOut, 0, "", TimedOut, "why");
    row("too large", State::LimitExceeded, 200, "", Failed, "why");
    row("file", State::FileFailure, 200, "", Failed, "why");
    row("aborted", State::Aborted, 0, "", Failed, "why");
}

void TestOutput::exchangesNameTheirOutcome()
{
    QFETCH(int, state);
    QFETCH(int, status);
    QFETCH(QByteArray, reply);
    QFETCH(int, code);
    QFETCH(QString, reason);
    CallObserver::Record record;
    record.state = static_cast<State::HttpSimpleState>(state);
    record.status = status;
    record.reply = reply;
    record.reason = "why";
    const Outcome outcome = outcomeOf(record);
    QCOMPARE(int(outcome.code), code);
    QCOMPARE(outcome.error, reason);
}

void TestOutput::aTraceLineTellsTheExchangeAndNoBody()
{
    CallObserver::Record record;
    record.deviceKey = "wall";
    record.verb = "PUT";
    record.path = "/api/v1/x";
    record.status = 200;
    record.milliseconds = 12;
    record.bytesSent = 34;
    record.bytesReceived = 5600;
    record.reply = "body";
    QCOMPARE(traceLine(record), QString("wall  PUT  /api/v1/x  200  12 ms  34 B sent  5.6 kB received"));
    record.status = 0;
    record.path.clear();
    QCOMPARE(traceLine(record), QString("wall  PUT  (no path)  ---  12 ms  34 B sent  5.6 kB received"));
}

QTEST_GUILESS_MAIN(TestOutput)
#include "tst_output.moc"
