// SPDX-License-Identifier: MIT
//
// The reference of operations against their list, the route table and their pages.
#include "tesselctl/operations/requestprobe.h"
#include <operations/operationlist.h>
#include <operations/reference.h>

#include <tessel/allurlresource.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <set>

using namespace Tessel::Operations;
using TesselCtl::ProbedRequest;
using TesselCtl::RequestProbe;

namespace {

QString textOf(const QString& path)
{
    QFile file(TESSEL_SOURCE_DIR "/" + path);
    return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
}

/// "tessel/hwinfo.h" of `HWInfo` has its page at "docs/reference/hwinfo.md".
QString pageOf(const QString& name)
{
    const QString className = name.section("::", -2, -2).toLower();
    return "docs/reference/" + className + ".md";
}

} // namespace

class TestReference : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void everyOperationHasItsEntry()
    {
        QStringList names;
        for (const ReferenceEntry& entry : referenceEntries()) {
            names << entry.name;
        }
        QCOMPARE(names, referenceNames(allOperations()));
    }

    void anUnknownNameHasNoEntry()
    {
        QVERIFY(referenceOf("HWInfo::getHWInfo#2"));
        QVERIFY(!referenceOf("HWInfo::getHWInfo"));
        QVERIFY(!referenceOf(QString()));
    }

    void everyOperationIsOnThePageOfItsClassAndTheReverse()
    {
        QMap<QString, QStringList> expected;
        for (const ReferenceEntry& entry : referenceEntries()) {
            QString title = entry.name.section("::", -1).replace("#", ", overload ");
            if (!entry.withoutEffect.isEmpty()) {
                title += " (" + entry.withoutEffect + ")";
            }
            expected[pageOf(entry.name)] << title;
        }
        QVERIFY(expected.size() > 10);
        for (auto page = expected.cbegin(); page != expected.cend(); ++page) {
            static const QRegularExpression heading("^### (.+)$", QRegularExpression::MultilineOption);
            QStringList titles;
            const QString text = textOf(page.key());
            for (auto it = heading.globalMatch(text); it.hasNext();) {
                titles << it.next().captured(1);
            }
            QCOMPARE(titles, page.value());
        }
    }

    void everyRequestIsTheOneThatIsSent()
    {
        RequestProbe probe;
        const QStringList names = referenceNames(allOperations());
        for (int i = 0; i < names.size(); ++i) {
            const Operation& operation = allOperations()[static_cast<std::size_t>(i)];
            const ReferenceEntry* const entry = referenceOf(names[i]);
            QVERIFY2(entry, qPrintable(names[i]));
            for (const auto& row : Tessel::protocols) {
                if (row.protocol == Tessel::Protocol::MultiScreen && !operation.choosesByProtocol()) {
                    continue;
                }
                std::set<QString> sent;
                for (const ProbedRequest& request : probe.requestsOf(operation, row.protocol)) {
                    sent.insert(request.verb + ' ' + request.path);
                }
                std::set<QString> described;
                for (const ReferenceRequest& request : entry->requests) {
                    if (request.protocol.isEmpty() || request.protocol == QLatin1String(row.name)) {
                        described.insert(request.verb + ' ' + request.path);
                    }
                }
                QVERIFY2(sent == described, qPrintable(names[i]));
            }
        }
    }

    void everyEntrySaysAllThatIsKnown()
    {
        for (const ReferenceEntry& entry : referenceEntries()) {
            const QByteArray name = entry.name.toUtf8();
            QVERIFY2(!entry.declaration.isEmpty() && !entry.text.isEmpty(), name);
            bool routed = entry.requests.empty();
            for (const ReferenceRequest& request : entry.requests) {
                routed = routed || !request.path.isEmpty();
                QVERIFY2(!request.verb.isEmpty() && !request.waits.isEmpty(), name);
                QVERIFY2(request.timeLimit > 0, name);
                QVERIFY2(!request.reply.sample.isEmpty(), name);
                const bool writes = request.verb != QLatin1String("GET");
                QVERIFY2(request.body.sample.isNull() || !request.body.sample.isEmpty(), name);
                QVERIFY2(request.path.isEmpty() || writes || request.body.sample.isNull() ||
                             request.verb == QLatin1String("GET"),
                         name);
            }
            QCOMPARE(routed, entry.withoutEffect != QLatin1String("no route"));
        }
    }

    void everyPathIsInTheRouteTable()
    {
        const QStringList paths = AllUrlResource::getInstance()->getMapAllUrl().values();
        for (const ReferenceEntry& entry : referenceEntries()) {
            for (const ReferenceRequest& request : entry.requests) {
                QVERIFY2(request.path.isEmpty() || paths.contains(request.path), qPrintable(entry.name));
            }
        }
    }

    void theCacheOfAWriteIsThatOfItsRead_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("cache");
        const auto row = [](const char* name, const char* cache) { QTest::newRow(name) << name << cache; };
        row("HWInfo::getHWInfo#2", "answered from it unless `force`");
        row("ScreenInfo::set18bit", "a success fills or updates what `ScreenInfo::get18bit` reads");
        row("ScreenInfo::setOneGamma", "a success fills or updates what `ScreenInfo::getSingleGamma` reads");
        row("ScreenInfo::putDeviceScreenHdrparamHdrSwitch#1", "no cached read is updated");
        row("Capability::getAllChipType", "always asks the device");
    }
    void theCacheOfAWriteIsThatOfItsRead()
    {
        QFETCH(QString, name);
        QFETCH(QString, cache);
        const ReferenceEntry* const entry = referenceOf(name);
        QVERIFY(entry);
        QVERIFY2(entry->cache.contains(cache), qPrintable(entry->cache.join("; ")));
    }

    void whatSurprisesIsAWarning_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("warning");
        const auto row = [](const char* name, const char* text) { QTest::newRow(name) << name << text; };
        row("ScreenInfo::setBrightness", "divided by 255");
        row("InputInfo::getEDIDs", "empty list of ids");
        row("ScreenInfo::putDeviceScreenHdrparamHdrSwitch#2", "empty list of ids");
        row("ScreenInfo::getScreens#2", "HWInfo::getHwProtoc(deviceKey, true)");
        row("HWInfo::putHWInfoAutoBack", "no route");
        row("ScreenInfo::set18bit", "`code`");
    }
    void whatSurprisesIsAWarning()
    {
        QFETCH(QString, name);
        QFETCH(QString, warning);
        const ReferenceEntry* const entry = referenceOf(name);
        QVERIFY(entry);
        QVERIFY2(entry->warnings.join('\n').contains(warning), qPrintable(entry->warnings.join('\n')));
    }
};

QTEST_GUILESS_MAIN(TestReference)
#include "tst_reference.moc"
