// SPDX-License-Identifier: MIT
//
// The guarded operations without their singletons. This program defines both getInstance() itself, which
// takes the place of those of the libraries.
#include "cabinetrows.h"

#include <logcollector.h>

#include <communicator/httpproxy.h>

#include <tessel/allurlresource.h>

#include <QRegularExpression>
#include <QtTest>

using namespace CabinetRows;
using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

bool tableIsThere = false;

struct Guarded
{
    const char* name;
    const char* function;
    const char* tableMessage;
    std::function<bool(Map&)> call;
};

const char* const plainMessage = "pInstance is nullptr!";
const char* const longMessage = "pInstance is nullptr! error occurred";
const char* const proxyMessage = "pHttpInstance is nullptr! error occurred";

} // namespace

Q_DECLARE_METATYPE(Guarded)

AllUrlResource* AllUrlResource::getInstance()
{
    static char place;
    return tableIsThere ? reinterpret_cast<AllUrlResource*>(&place) : nullptr; // compared with null only
}

HttpProxy* HttpProxy::getInstance()
{
    return nullptr;
}

class TestCabinetGuards : public QObject
{
    Q_OBJECT

    static void addRows()
    {
        QTest::addColumn<Guarded>("operation");
        const Guarded operations[] = {
            {"switch, one cabinet", "communicationErrorDetectSwitcher", plainMessage,
             [](Map& out) {
                 return cabinets()->communicationErrorDetectSwitcher(sampleDevice, cabinet, settings, out);
             }},
            {"switch, several cabinets", "communicationErrorDetectSwitcher", longMessage,
             [](Map& out) {
                 return cabinets()->communicationErrorDetectSwitcher(sampleDevice, settings, out);
             }},
            {"pattern, one cabinet", "berTestPattern", plainMessage,
             [](Map& out) { return cabinets()->berTestPattern(sampleDevice, cabinet, settings, out); }},
            {"pattern, several cabinets", "berTestPattern", longMessage,
             [](Map& out) { return cabinets()->berTestPattern(sampleDevice, settings, out); }},
            {"reading the time", "getDetecteErrorRateTimeData", longMessage,
             [](Map& out) { return cabinets()->getDetecteErrorRateTimeData(sampleDevice, cabinet, out); }},
            {"setting the time, one cabinet", "setDetecteErrorRateTimeData", longMessage,
             [](Map& out) {
                 return cabinets()->setDetecteErrorRateTimeData(sampleDevice, cabinet, settings, out);
             }},
            {"setting the time, several cabinets", "setDetecteErrorRateTimeData", longMessage,
             [](Map& out) {
                 return cabinets()->setDetecteErrorRateTimeData(sampleDevice, settingsList, out);
             }},
        };
        for (const Guarded& operation : operations) {
            QTest::newRow(operation.name) << operation;
        }
    }

    static void checkRefusal(const Guarded& operation, const char* message)
    {
        const QString line =
            QStringLiteral("debug: System Error: LogInfo:[FILE: tessel/cabinetinfooperator , LINE 0 , FUNC "
                           "CabinetInfoOperator::%1 ] -> %2")
                .arg(operation.function, message);
        const LogCollector log;
        Map out{{"kept", 1}};
        QVERIFY(!operation.call(out));
        QStringList lines = log.lines();
        lines.replaceInStrings(QRegularExpression(" LINE [1-9]\\d* "), " LINE 0 ");
        QCOMPARE(lines, QStringList{line});
        QCOMPARE(out, (Map{{"kept", 1}}));
    }

private Q_SLOTS:
    void initTestCase()
    {
        // Without a proxy the operator cannot listen to it.
        const LogCollector log;
        QVERIFY(cabinets());
        const QStringList lines = log.lines();
        QCOMPARE(lines.size(), 2);
        for (const QString& line : lines) {
            QVERIFY2(line.startsWith("warning: QObject::connect"), qPrintable(line));
        }
    }

    void aMissingRouteTableIsLoggedAndRefused_data() { addRows(); }
    void aMissingRouteTableIsLoggedAndRefused()
    {
        QFETCH(Guarded, operation);
        tableIsThere = false;
        checkRefusal(operation, operation.tableMessage);
    }

    void aMissingProxyIsLoggedAndRefused_data() { addRows(); }
    void aMissingProxyIsLoggedAndRefused()
    {
        QFETCH(Guarded, operation);
        tableIsThere = true;
        checkRefusal(operation, proxyMessage);
    }
};

QTEST_GUILESS_MAIN(TestCabinetGuards)
#include "tst_cabinetinfooperator_guards.moc"
