// SPDX-License-Identifier: MIT
//
// The measurement of a wall's reads, and its figures.
#include "walltest.h"

#include <tesselctl/commands/latencies.h>

#include <QJsonArray>
#include <QJsonObject>

using TesselCtl::Latencies;

namespace {

const char* const hardware = "/api/v1/device/hw";

} // namespace

class TestBench : public WallTest
{
    Q_OBJECT
private Q_SLOTS:
    void percentilesAreThoseOfTheSortedTimes()
    {
        Latencies latencies;
        QCOMPARE(latencies.percentile(0.5), 0.0);
        for (int i = 100; i > 0; --i) {
            latencies.add(i);
        }
        latencies.addError();
        QCOMPARE(latencies.percentile(0), 1.0);
        QCOMPARE(latencies.percentile(0.5), 50.0);
        QCOMPARE(latencies.percentile(0.99), 99.0);
        QCOMPARE(latencies.percentile(1), 100.0);
        QCOMPARE(latencies.toObject().value("requests").toInt(), 101);
        QCOMPARE(latencies.toObject().value("errors").toInt(), 1);
    }

    void theHistogramCountsEveryRead()
    {
        Latencies latencies;
        QCOMPARE(latencies.histogram(), QString());
        for (const double one : {0.1, 0.25, 0.3, 0.9, 3.0}) {
            latencies.add(one);
        }
        QCOMPARE(latencies.histogram(),
                 QString("  up to     0.25 ms  ######################################## 2\n"
                         "  up to      0.5 ms  #################### 1\n"
                         "  up to        1 ms  #################### 1\n"
                         "  up to        2 ms   0\n"
                         "  up to        4 ms  #################### 1\n"));
    }

    void readsAreCountedAndNothingIsWritten()
    {
        startWall();
        m_simulator->addFault(answer(hardware, 500, {}, 3));
        const Run ran = run(device() + QStringList{"bench", "--count", "20", "--rate", "1000", "-o", "json"});
        QVERIFY2(ran.code == 0, ran.err);
        const QJsonObject figures = ran.json().array().at(0).toObject().value("result").toObject();
        QCOMPARE(figures.value("requests").toInt(), 20);
        QCOMPARE(figures.value("errors").toInt(), 3);
        QVERIFY(figures.value("min").toDouble() > 0);
        QVERIFY(figures.value("p50").toDouble() <= figures.value("max").toDouble());
        QCOMPARE(m_simulator->requestCount(hardware), quint64(20));
        for (const auto& record : m_simulator->requests()) {
            QCOMPARE(record.method, QByteArray("GET"));
        }
        const Run text = run(device() + QStringList{"bench", "--count", "2", "--rate", "1000"});
        QVERIFY2(text.out.startsWith("wall: 2 reads, 0 errors; ms  min ") && text.out.contains("  up to "),
                 text.out);
    }

    void theRateIsKept()
    {
        startWall();
        // Two pauses of 0.2 s lie between three reads, however fast the machine is.
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(run(device() + QStringList{"bench", "--count", "3", "--rate", "5"}).code, 0);
        QVERIFY(clock.elapsed() >= 390);
    }

    void whatCannotBeMeasuredIsTold()
    {
        startWall();
        QCOMPARE(run({"-d", "gone=" + closedAddress(), "bench"}).code, 3);
        const Run route = run(device() + QStringList{"bench", "--route", "nonsense"});
        QCOMPARE(route.code, 2);
        QVERIFY2(route.err.contains("see tesselctl routes"), route.err);
        QCOMPARE(run(device() + QStringList{"bench", "--count", "0"}).code, 2);
        QCOMPARE(m_simulator->requestCount(), quint64(0));
    }

    void aSignalEndsIt()
    {
        startWall();
        Program program(device() + QStringList{"bench", "--count", "10000", "--rate", "1"});
        QTRY_VERIFY_WITH_TIMEOUT(m_simulator->requestCount(hardware) == 1, 30000);
        program.send(SIGINT);
        const Run ran = program.finish();
        QCOMPARE(ran.code, 130);
        QVERIFY2(ran.err.contains("wall: interrupted"), ran.err);
    }
};

QTEST_GUILESS_MAIN(TestBench)
#include "tst_bench.moc"
