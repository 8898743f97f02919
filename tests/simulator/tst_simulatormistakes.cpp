// SPDX-License-Identifier: MIT
//
// What the simulated controller says of requests that are not as the description of the device API has them.
#include "httpclient.h"

#include <simulator/device/mistakelog.h>
#include <simulator/simulator.h>

#include <QJsonDocument>
#include <QtTest>

using namespace Tessel::Simulator;

namespace {

Options optionsOf(bool strict)
{
    Options options;
    options.control = true;
    options.strict = strict;
    options.cabinets = 16;
    return options;
}

} // namespace

class TestSimulatorMistakes : public QObject
{
    Q_OBJECT

private:
    Simulator m_lenient{optionsOf(false)};
    Simulator m_strict{optionsOf(true)};

private Q_SLOTS:
    void initTestCase()
    {
        QVERIFY2(m_lenient.start(), qPrintable(m_lenient.errorString()));
        QVERIFY2(m_strict.start(), qPrintable(m_strict.errorString()));
    }
    void init()
    {
        m_lenient.reset();
        m_strict.reset();
    }

    void aMistakeInABodyIsToldAndItsMemberNamed_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QByteArray>("mistake");
        const auto row = [](const char* name, const char* path, const char* body, const char* mistake) {
            QTest::newRow(name) << QByteArray(path) << QByteArray(body) << QByteArray(mistake);
        };
        row("another type", "/device/cabinet/1/weight", R"({"weight":"heavy"})", "weight must be a");
        row("a type that is a member of another", "/device/log/age", R"({"days":1.5})",
            "days must be a whole number, not a number");
        row("below the range", "/device/log/age", R"({"days":-1})", "days must be 0 at least, not -1");
        row("an unknown member", "/device/log/age", R"({"day":1})", "day is no member that is known here");
        row("a member that is no word", "/device/log/age", "{\"a b\\r\\nX: \xC3\xBC\":1}",
            R"("a b\r\nX: \u00fc" is no member that is known here)");
        row("several mistakes", "/device/log/age", R"({"a":1,"b":2,"c":3,"d":4})",
            "a is no member that is known here; b is no member that is known here; c is no member that is "
            "known here");
        row("deeper", "/device/output/1/offset", R"({"offset":{"x":true,"y":2}})",
            "offset.x must be a whole number, not true or false");
        row("an element of a list", "/device/cabinet/weight", R"({"ids":["1",{}],"weight":1})",
            "ids[1] must be text or a whole number, not an object");
        row("a body of another type", "/device/log/age", R"([1])", "the body must be an object, not a list");
        row("a cabinet that does not exist", "/device/cabinet/weight", R"({"ids":["1","17"],"weight":1})",
            R"(ids names 17, but the last is 16)");
        row("an id that is none", "/device/cabinet/weight", R"({"ids":["x y"],"weight":1})",
            R"(ids names "x y", but the last is 16)");
    }

    void aMistakeInABodyIsToldAndItsMemberNamed()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QFETCH(QByteArray, mistake);
        const HttpReply told = HttpClient(m_lenient.port()).put("/api/v1" + path, body);
        QCOMPARE(told.status, 200);
        QVERIFY2(told.headers.value("tessel-sim-mistake").startsWith(mistake),
                 told.headers.value("tessel-sim-mistake").constData());
        const auto logged = m_lenient.requests();
        QCOMPARE(logged.size(), 1);
        QCOMPARE(logged.first().mistake.toLatin1(), told.headers.value("tessel-sim-mistake"));
        HttpClient control(m_lenient.port());
        QCOMPARE(
            control.get("/sim/requests").list().at(0).toObject().value(QStringLiteral("mistake")).toString(),
            logged.first().mistake);
        QVERIFY(control.get("/sim/counts").object().value(QStringLiteral("mistakes")).toInt() >= 1);

        const QByteArray before = m_strict.value("/api/v1" + QString::fromLatin1(path));
        const HttpReply refused = HttpClient(m_strict.port()).put("/api/v1" + path, body);
        QCOMPARE(refused.status, 400);
        QCOMPARE(refused.code(), 400);
        QVERIFY(
            refused.envelope().value(QStringLiteral("message")).toString().toLatin1().startsWith(mistake));
        QCOMPARE(m_strict.value("/api/v1" + QString::fromLatin1(path)), before);
    }

    void whatIsAsDescribedIsNoMistake_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::newRow("a value") << QByteArray("/device/log/age") << QByteArray(R"({"days":3})");
        QTest::newRow("for several") << QByteArray("/device/cabinet/weight")
                                     << QByteArray(R"({"ids":["1","16"],"weight":1})");
        QTest::newRow("for all") << QByteArray("/device/cabinet/weight") << QByteArray(R"({"weight":1})");
        QTest::newRow("coefficients") << QByteArray("/device/correctionop/cabinets/chroma/coefficient")
                                      << QByteArray(R"([{"cid":"1","anything":[1,2]}])");
        QTest::newRow("no body") << QByteArray("/device/log/age") << QByteArray();
    }

    void whatIsAsDescribedIsNoMistake()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        for (const Simulator* simulator : {&m_lenient, &m_strict}) {
            const HttpReply reply = HttpClient(simulator->port()).put("/api/v1" + path, body);
            QCOMPARE(reply.status, 200);
            QVERIFY(!reply.headers.contains("tessel-sim-mistake"));
            QCOMPARE(simulator->requests().last().mistake, QString());
        }
    }

    void aTextThatIsTooLongIsCut()
    {
        const QByteArray name(10000, 'n');
        const HttpReply reply =
            HttpClient(m_lenient.port()).put("/api/v1/device/log/age", "{\"" + name + "\":1}");
        QCOMPARE(reply.status, 200);
        QVERIFY(reply.headers.value("tessel-sim-mistake").size() < 200);
    }

    void theControlInterfaceRefusesMembersThatItDoesNotKnow_data()
    {
        QTest::addColumn<QByteArray>("path");
        QTest::addColumn<QByteArray>("body");
        QTest::addColumn<QString>("message");
        const auto row = [](const char* path, const char* body, const char* message) {
            QTest::addRow("%s %s", path, body)
                << QByteArray(path) << QByteArray(body) << QString::fromLatin1(message);
        };
        row("/sim/memory", R"({"events":1,"event":2})", "unknown member event; there is events");
        row("/sim/warnings", R"({"eventType":"voltage","data":{}})",
            "unknown member data; there is eventType, eventData");
        row("/sim/token", R"({"tokens":"x"})", "unknown member tokens; there is token");
        row("/sim/restart", R"({"now":true})", "unknown member now; there is none here");
        row("/sim/logout", R"({"a b":1})", "unknown member \"a b\"; there is none here");
        row("/sim/reset", "[]", "the body must be an object");
        row("/sim/reset", "{", "the body is not valid JSON");
        row("/sim/faults", R"({"path":"*","pat":"x"})", "");
    }

    void theControlInterfaceRefusesMembersThatItDoesNotKnow()
    {
        QFETCH(QByteArray, path);
        QFETCH(QByteArray, body);
        QFETCH(QString, message);
        HttpClient client(m_lenient.port());
        const HttpReply reply = client.request("POST", path, body);
        QCOMPARE(reply.status, 400);
        const QString told = reply.envelope().value(QStringLiteral("message")).toString();
        QVERIFY2(message.isEmpty() ? told.contains(QStringLiteral("pat")) : told == message,
                 qPrintable(told));
        QCOMPARE(client.get("/api/v1/device/hw").status, 200);
    }

    void anObjectWithoutMembersIsNoBody()
    {
        QCOMPARE(HttpClient(m_lenient.port()).request("POST", "/sim/restart", "{}").status, 200);
    }

    void eachKindOfMistakeIsWrittenOnceAndNotTooManyAtOnce()
    {
        std::FILE* const file = std::tmpfile();
        QVERIFY(file);
        MistakeLog log(file);
        const auto begin = MistakeLog::Clock::now();
        const auto lines = [file] {
            std::fflush(file);
            std::rewind(file);
            QByteArray text(100000, '\0');
            text.resize(
                static_cast<int>(std::fread(text.data(), 1, static_cast<std::size_t>(text.size()), file)));
            return text.split('\n').size() - 1;
        };
        for (int i = 0; i < 5; ++i) {
            log.note("a", "weight must be a number", begin);
        }
        QCOMPARE(lines(), 1);
        for (int i = 0; i < 100; ++i) {
            log.note("kind " + std::to_string(i), "x", begin);
        }
        QCOMPARE(lines(), MistakeLog::linesAtOnce + 1); // and that there are more
        QCOMPARE(log.count(), std::uint64_t(105));
        log.note("kind 99", "x", begin + MistakeLog::pause); // it was not told before
        QCOMPARE(lines(), MistakeLog::linesAtOnce + 2);
        log.reset();
        log.note("a", "x", begin);
        QCOMPARE(lines(), MistakeLog::linesAtOnce + 3);
        QCOMPARE(log.count(), std::uint64_t(1));
        std::fclose(file);
    }
};

QTEST_GUILESS_MAIN(TestSimulatorMistakes)
#include "tst_simulatormistakes.moc"
