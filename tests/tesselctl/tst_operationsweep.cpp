// SPDX-License-Identifier: MIT
//
// Every operation of the library over the real transport against a controller in software.
#include "tesselctl/operations/requestprobe.h"
#include <operations/operationlist.h>

#include <communicator/exchangeobserver.h>
#include <simulator/simulator.h>
#include <tessel/hwinfo.h>

#include <QTemporaryDir>
#include <QtTest>

#include <mutex>

using namespace TesselCtl;
using namespace Tessel::Operations;
using Krelm::Communicator::HttpDevice::ExchangeRecord;
using Krelm::Communicator::HttpDevice::exchangesBegun;
using Krelm::Communicator::HttpDevice::IHttpVersionTrigger;
using Krelm::Communicator::HttpDevice::setExchangeObserver;

namespace {

/// What ended, counted on whatever thread it ended.
class Ended
{
public:
    void add(const ExchangeRecord& record)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_count;
        // An operation without a route fails in the transport; that is no reply.
        if (record.state != IHttpVersionTrigger::Success &&
            record.state != IHttpVersionTrigger::InvalidRequest)
            m_failures << QString::fromUtf8(record.verb + ' ' + record.path + ' ' +
                                            QByteArray::number(record.status));
    }
    quint64 count() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    QStringList failures() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_failures;
    }

private:
    mutable std::mutex m_mutex; // guards both
    quint64 m_count = 0;
    QStringList m_failures;
};

} // namespace

class TestOperationSweep : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyOperationIsAnswered();
};

void TestOperationSweep::everyOperationIsAnswered()
{
    // Operations that download take a sample argument for a file name.
    const QTemporaryDir scratch;
    QVERIFY(QDir::setCurrent(scratch.path()));
    Tessel::Simulator::Simulator simulator;
    QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
    const QString device = simulator.address();
    QVERIFY(HWInfo::getInstance()->getHwProtoc(device, true));

    Ended ended;
    const quint64 before = exchangesBegun();
    setExchangeObserver([&ended](const ExchangeRecord& record) { ended.add(record); });
    int called = 0;
    for (const Operation& operation : allOperations()) {
        operation.invoke(sampleArguments(operation, device));
        ++called;
    }
    QTRY_COMPARE_WITH_TIMEOUT(ended.count(), exchangesBegun() - before, 60000);
    setExchangeObserver({});
    qInfo("%d operations called, %d exchanges ended", called, int(ended.count()));
    QVERIFY2(ended.failures().isEmpty(), qPrintable(ended.failures().join('\n')));
    QVERIFY(called > 500);
}

QTEST_GUILESS_MAIN(TestOperationSweep)
#include "tst_operationsweep.moc"
