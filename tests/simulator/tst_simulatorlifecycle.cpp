// SPDX-License-Identifier: MIT
#include "httpclient.h"

#include <simulator/iothreads.h>
#include <simulator/simulator.h>

#include <QDir>
#include <QtTest>

#include <atomic>
#include <thread>
#include <vector>

using namespace Tessel::Simulator;

namespace {

int openDescriptors()
{
    return QDir(QStringLiteral("/proc/self/fd"))
        .entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System)
        .size();
}

Options cabinets(int count)
{
    Options options;
    options.cabinets = count;
    return options;
}

} // namespace

class TestSimulatorLifecycle : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void aSimulatorListensOnlyWhileItRuns()
    {
        Simulator simulator;
        QVERIFY(!simulator.isRunning());
        QVERIFY(simulator.address().isEmpty());
        QVERIFY(simulator.baseUrl().isEmpty());
        QVERIFY(simulator.start());
        QVERIFY(simulator.start());
        const quint16 port = simulator.port();
        QCOMPARE(simulator.address(), QStringLiteral("127.0.0.1:%1").arg(port));
        QCOMPARE(simulator.baseUrl(), QStringLiteral("http://127.0.0.1:%1").arg(port));
        QCOMPARE(HttpClient(port).get("/api/v1/device/hw").status, 200);
        simulator.stop();
        simulator.stop();
        QVERIFY(!simulator.isRunning());
        QVERIFY(!HttpClient(port).isConnected());
    }

    void aRestartKeepsTheState()
    {
        Simulator simulator;
        QVERIFY(simulator.start());
        HttpClient(simulator.port()).put("/api/v1/device/log/level", "{\"level\":9}");
        simulator.stop();
        QVERIFY(simulator.start());
        QCOMPARE(HttpClient(simulator.port())
                     .get("/api/v1/device/log/level")
                     .object()
                     .value(QStringLiteral("level"))
                     .toInt(),
                 9);
    }

    void aPortInUseIsToldClearly()
    {
        Simulator first;
        QVERIFY(first.start());
        Options options;
        options.port = first.port();
        Simulator second(options);
        QVERIFY(!second.start());
        QVERIFY(!second.isRunning());
        QVERIFY2(second.errorString().contains(QString::number(first.port())),
                 qPrintable(second.errorString()));
        first.stop();
        QVERIFY(second.start());
        QVERIFY(second.errorString().isEmpty());
    }

    void anAddressThatIsNoneIsToldClearly()
    {
        Options options;
        options.bindAddress = QStringLiteral("not an address");
        Simulator simulator(options);
        QVERIFY(!simulator.start());
        QVERIFY(simulator.errorString().contains(options.bindAddress));
    }

    void twoSimulatorsKnowNothingOfEachOther()
    {
        Simulator first;
        Simulator second;
        QVERIFY(first.start());
        QVERIFY(second.start());
        QVERIFY(first.port() != second.port());
        EventReader reader(second.port());
        QVERIFY(second.waitForEventStreams(1));
        HttpClient(first.port()).put("/api/v1/device/log/level", "{\"level\":9}");
        first.pushEvent("{}");
        first.logoutDevice();
        HttpClient client(second.port());
        QCOMPARE(client.get("/api/v1/device/log/level").object().value(QStringLiteral("level")).toInt(), 2);
        QCOMPARE(second.pushEvent("{\"b\":1}"), quint64(1));
        QCOMPARE(reader.next().data, QByteArray("{\"b\":1}"));
    }

    void aFleetSharesItsThreads()
    {
        const auto threads = std::make_shared<IoThreads>(2);
        std::vector<std::unique_ptr<Simulator>> fleet;
        for (int i = 0; i < 50; ++i) {
            fleet.push_back(std::make_unique<Simulator>(Options{}, threads));
            QVERIFY(fleet.back()->start());
        }
        std::vector<std::unique_ptr<HttpClient>> clients;
        for (const auto& simulator : fleet) {
            clients.push_back(std::make_unique<HttpClient>(simulator->port()));
            QCOMPARE(clients.back()->get("/api/v1/device/hw").status, 200);
        }
        fleet.front().reset();
        QVERIFY(clients.front()->endsSoon());
        QCOMPARE(clients.back()->get("/api/v1/device/hw").status, 200);
    }

    void stoppingWhileBusyLeavesNothingBehind()
    {
        const int before = openDescriptors();
        for (int round = 0; round < 5; ++round) {
            Simulator simulator;
            QVERIFY(simulator.start());
            const quint16 port = simulator.port();
            Fault stall;
            stall.cut = Fault::Cut::Stall;
            simulator.addFault(stall);
            HttpClient stalled(port);
            stalled.send("GET /api/v1/device/hw HTTP/1.1\r\nHost: test\r\n\r\n");
            QTRY_COMPARE(simulator.requestsInFlight(), 1);
            Fault late;
            late.delay = 600000;
            simulator.addFault(late);
            HttpClient delayed(port);
            delayed.send("GET /api/v1/device/hw HTTP/1.1\r\nHost: test\r\n\r\n");
            QTRY_COMPARE(simulator.requestsInFlight(), 2);
            EventReader reader(port);
            HttpClient idle(port);

            std::atomic<bool> served{false};
            std::vector<std::thread> threads;
            for (int i = 0; i < 3; ++i) {
                threads.emplace_back([&served, port, i] {
                    for (;;) {
                        HttpClient client(port);
                        int status = 200;
                        int value = 0;
                        while (status == 200) {
                            status =
                                i == 0
                                    ? client
                                          .put("/api/v1/device/cabinet/brightness",
                                               "{\"brightness\":" + QByteArray::number(value++ % 100) + "}")
                                          .status
                                    : client.get("/api/v1/device/cabinet").status;
                            served = served || status == 200;
                        }
                        if (!client.isConnected() || status == 0) {
                            return;
                        }
                    }
                });
            }
            threads.emplace_back([&simulator] {
                for (int i = 0; i < 1000; ++i) {
                    simulator.pushEvent("{}");
                }
            });
            QTRY_VERIFY(served);
            simulator.stop();
            QVERIFY(stalled.endsSoon());
            QVERIFY(delayed.endsSoon());
            QVERIFY(reader.endsSoon());
            QVERIFY(idle.endsSoon());
            for (auto& thread : threads) {
                thread.join();
            }
            QCOMPARE(simulator.requestsInFlight(), 0);
            QCOMPARE(simulator.eventStreams(), 0);
        }
        QCOMPARE(openDescriptors(), before);
    }

    void publicCallsMayComeFromAnyThread()
    {
        Simulator simulator;
        QVERIFY(simulator.start());
        std::vector<std::thread> threads;
        std::atomic<int> failures{0};
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&, i] {
                HttpClient client(simulator.port());
                EventReader reader(simulator.port());
                for (int k = 0; k < 50; ++k) {
                    const QByteArray id = QByteArray::number(i * 50 + k + 1);
                    failures +=
                        client.put("/api/v1/device/cabinet/" + id + "/weight", "{\"weight\":1}").status !=
                        200;
                    failures += client.get("/api/v1/device/cabinet").status != 200;
                    simulator.pushEvent("{}");
                    simulator.setValue(QStringLiteral("/api/v1/device/input/1/hue"), "{\"hue\":" + id + "}");
                    simulator.requests();
                    simulator.peakRequestsInFlight();
                    if (k % 10 == 0) {
                        simulator.disconnectStreams();
                    }
                }
            });
        }
        for (auto& thread : threads) {
            thread.join();
        }
        QCOMPARE(failures.load(), 0);
        for (const auto& entry :
             HttpClient(simulator.port()).get("/api/v1/device/cabinet").list().toVariantList().mid(0, 200)) {
            QCOMPARE(entry.toMap().value(QStringLiteral("weight")).toInt(), 1);
        }
    }

    void tenThousandCabinetsAreServed()
    {
        Simulator simulator(cabinets(10000));
        QVERIFY(simulator.start());
        HttpClient client(simulator.port());
        const auto list = client.get("/api/v1/device/cabinet");
        QCOMPARE(list.list().size(), 10000);
        QCOMPARE(list.list().last().toObject().value(QStringLiteral("id")).toString(),
                 QStringLiteral("10000"));
        QCOMPARE(client.get("/api/v1/device/output").list().size(), 625);
        QCOMPARE(client.put("/api/v1/device/cabinet/10000/weight", "{\"weight\":1}").status, 200);
        const auto last = client.get("/api/v1/device/cabinet").list().last().toObject();
        QCOMPARE(last.value(QStringLiteral("weight")).toInt(), 1);
        QCOMPARE(client.get("/api/v1/device/cabinet/brightness").list().size(), 10000);
        QCOMPARE(client.get("/api/v1/screen").status, 200);
    }

    void readingTenThousandCabinets()
    {
        Simulator simulator(cabinets(10000));
        QVERIFY(simulator.start());
        HttpClient client(simulator.port());
        QBENCHMARK
        {
            QCOMPARE(client.get("/api/v1/device/cabinet").status, 200);
        }
    }

    void readingTheDevice()
    {
        Simulator simulator;
        QVERIFY(simulator.start());
        HttpClient client(simulator.port());
        QBENCHMARK
        {
            QCOMPARE(client.get("/api/v1/device/hw").status, 200);
        }
    }
};

QTEST_GUILESS_MAIN(TestSimulatorLifecycle)
#include "tst_simulatorlifecycle.moc"
