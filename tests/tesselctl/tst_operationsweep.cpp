// SPDX-License-Identifier: MIT
//
// Every operation of the library over the real transport against a controller in software.
#include "tesselctl/operations/requestprobe.h"
#include <operations/operationlist.h>
#include <operations/reference.h>

#include <communicator/exchangeobserver.h>
#include <simulator/simulator.h>
#include <tessel/hwinfo.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QThread>
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
        // An operation without a route fails in the transport, without a reply.
        if (record.state != IHttpVersionTrigger::Success &&
            record.state != IHttpVersionTrigger::InvalidRequest) {
            m_failures << QString::fromUtf8(record.verb + ' ' + record.path + ' ' +
                                            QByteArray::number(record.status));
        }
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

/// The bodies that the description of the device API exemplifies, by the operation that sends them to a
/// multi-screen controller.
QMap<QString, QVariant> describedBodies()
{
    QFile file(QStringLiteral(TESSEL_SOURCE_DIR "/api/openapi.json"));
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QMap<QString, QVariant> bodies;
    for (const QJsonValue path : QJsonDocument::fromJson(file.readAll())["paths"].toObject()) {
        for (const char* verb : {"put", "post"}) {
            const QJsonValue described = path[QLatin1String(verb)];
            const QJsonValue body = described["requestBody"]["content"]["application/json"]["example"];
            for (const QJsonValue use : described["x-tessel-operations"].toArray()) {
                if (!body.isUndefined() && use["protocol"].toString() != "single-screen") {
                    bodies.insert(use["operation"].toString(), body.toVariant());
                }
            }
        }
    }
    return bodies;
}

/// Sample arguments, with @p body for the first that takes it.
QVariantList argumentsWith(const QVariant& body, const Operation& operation, const QString& device)
{
    QVariantList arguments = sampleArguments(operation, device);
    for (std::size_t i = 0; i < operation.parameters.size(); ++i) {
        const Parameter& parameter = operation.parameters[i];
        QVariant& argument = arguments[static_cast<int>(i)];
        if (parameter.direction != Parameter::Out && parameter.type != ValueType::TextMap &&
            argument.userType() == body.userType()) {
            argument = body;
            break;
        }
    }
    return arguments;
}

} // namespace

class TestOperationSweep : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void cleanup() { setExchangeObserver({}); }
    void everyOperationIsAnswered();
    void aStrictDeviceTakesTheBodiesOfTheDescription();
    void whatIsReadAsAListComesAsOne();
};

void TestOperationSweep::everyOperationIsAnswered()
{
    // Operations that download take a sample argument for a file name.
    const QTemporaryDir scratch;
    QVERIFY(QDir::setCurrent(scratch.path()));
    // Not strict: a body of sample arguments has an id where the description knows of none.
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

// Operations have bodies that the description knows, and send them as it says.
void TestOperationSweep::aStrictDeviceTakesTheBodiesOfTheDescription()
{
    const QTemporaryDir scratch;
    QVERIFY(QDir::setCurrent(scratch.path()));
    Tessel::Simulator::Options options;
    options.strict = true;
    Tessel::Simulator::Simulator simulator(options);
    QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
    const QString device = simulator.address();
    QVERIFY(HWInfo::getInstance()->getHwProtoc(device, true));

    const QMap<QString, QVariant> bodies = describedBodies();
    const QStringList names = referenceNames(allOperations());
    Ended ended;
    const quint64 before = exchangesBegun();
    setExchangeObserver([&ended](const ExchangeRecord& record) { ended.add(record); });
    int described = 0;
    for (int i = 0; i < names.size(); ++i) {
        const Operation& operation = allOperations()[static_cast<std::size_t>(i)];
        described += bodies.contains(names[i]) ? 1 : 0;
        operation.invoke(argumentsWith(bodies.value(names[i]), operation, device));
    }
    QTRY_COMPARE_WITH_TIMEOUT(ended.count(), exchangesBegun() - before, 60000);
    setExchangeObserver({});
    qInfo("%d of %d operations called with the body of their description", described, int(names.size()));
    QVERIFY2(ended.failures().isEmpty(), qPrintable(ended.failures().join('\n')));
    QVERIFY(described > 150);
}

// A device that answered with an object where the library reads a list would leave the list empty.
void TestOperationSweep::whatIsReadAsAListComesAsOne()
{
    const QTemporaryDir scratch;
    QVERIFY(QDir::setCurrent(scratch.path()));
    Tessel::Simulator::Simulator simulator;
    QVERIFY2(simulator.start(), qPrintable(simulator.errorString()));
    const QString device = simulator.address();
    QVERIFY(HWInfo::getInstance()->getHwProtoc(device, true));

    int read = 0;
    QStringList empty;
    for (const Operation& operation : allOperations()) {
        std::vector<std::size_t> lists;
        std::size_t output = 0;
        for (const Parameter& parameter : operation.parameters) {
            if (parameter.direction == Parameter::In) {
                continue;
            }
            if (parameter.type == ValueType::List) {
                lists.push_back(output);
            }
            ++output;
        }
        if (lists.empty()) {
            continue;
        }
        // Those that wait are told of on the thread that calls; the others end at any time.
        QStringList requests;
        setExchangeObserver([&requests, caller = QThread::currentThread()](const ExchangeRecord& record) {
            if (QThread::currentThread() == caller) {
                requests << QString::fromUtf8(record.verb + ' ' + record.path);
            }
        });
        const CallResult result = operation.invoke(sampleArguments(operation, device));
        setExchangeObserver({});
        if (!result.succeeded || requests.size() != 1 || !requests.first().startsWith("GET")) {
            continue;
        }
        ++read;
        for (const std::size_t index : lists) {
            if (result.outputs.value(int(index)).toList().isEmpty()) {
                empty << operation.qualifiedName() + ": " + requests.first();
            }
        }
    }
    qInfo("%d operations read a list", read);
    QVERIFY2(empty.isEmpty(), qPrintable(empty.join('\n')));
    QVERIFY(read > 20);
}

QTEST_GUILESS_MAIN(TestOperationSweep)
#include "tst_operationsweep.moc"
