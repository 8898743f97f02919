// SPDX-License-Identifier: MIT
//
// The table of pushed events against the operators: every row is acted on as it says, by the operator that it
// names and by no other, and no operator listens for anything else.
#include "deviceside.h"
#include "recordingengine.h"
#include "signalrecorder.h"
#include "sourcetree.h"

#include <communicator/deviceconnections.h>
#include <tessel/allurlresource.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/missedevents.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/monitorinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/screeninfo.h>
#include <tessel/warningtypes.h>

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QtTest>

#include <memory>
#include <vector>

using Tessel::EventForm;
using Tessel::EventRow;
using Tessel::EventText;

namespace {

template <class Operator>
QObject* watching()
{
    Operator::getInstance()->startWatch();
    return Operator::getInstance();
}

/// Every operator that listens to events, acting on them.
const std::vector<QObject*>& listeners()
{
    static const std::vector<QObject*> all{
        watching<CabinetInfoOperator>(),        watching<HWInfo>(),     watching<InputInfo>(),
        watching<OutputInfoOperator>(),         watching<ScreenInfo>(), PipeInfo::getInstance(),
        UrlResource::MonitorInfo::getInstance()};
    return all;
}

QString className(const QObject* object)
{
    return QString(object->metaObject()->className()).section("::", -1);
}

QByteArray sample(const EventText& text)
{
    QJsonObject event{{text.source.key, text.source.text}};
    if (text.kind.key) {
        event[text.kind.key] = text.kind.text;
    }
    if (text.payload) {
        event[text.payload] = text.form == EventForm::Name ? "Lobby" : "3";
    }
    return QJsonDocument(event).toJson(QJsonDocument::Compact);
}

QString rowName(const EventRow& row)
{
    return QString("%1 %2").arg(row.text.source.text, row.text.kind.text ? row.text.kind.text : "");
}

/// The sources of a folder with their text, comments left out.
QMap<QString, QString> codeBelow(const QString& folder)
{
    QMap<QString, QString> sources;
    for (const QString& file : sourcesBelow(folder)) {
        sources[file] = codeOf(file);
    }
    return sources;
}

} // namespace

class TestPushEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void everyEventThatReadsAListAnewIsReportedWhenEventsMayHaveBeenMissed()
    {
        QVERIFY(!listeners().empty());
        const QList<QByteArray> reported =
            Krelm::Communicator::HttpDevice::DeviceConnections::getInstance()->changeEvents();
        QCOMPARE(reported, Tessel::refreshingEvents());
        for (const EventRow& row : Tessel::eventRows) {
            const bool reads = row.effects[0].routeKey || row.effects[1].routeKey;
            int times = 0;
            for (const QByteArray& event : reported) {
                QMap<QString, QVariant> members;
                JsonUtil::fromJsonToMapWithoutData(QString::fromUtf8(event), members);
                times += Tessel::isEvent(members, row.event) ? 1 : 0;
            }
            QCOMPARE(times, reads ? 1 : 0);
        }
    }

    void aReportedEventNamesNoElement()
    {
        QCOMPARE(Tessel::refreshingEvents(),
                 (QByteArrayList{
                     R"({"changeTag":"hwInfo","dataType":"change"})",
                     R"({"changeTag":"screensInfo","dataType":"change"})",
                     R"({"changeTag":"screensTagInfo","dataType":"change"})",
                     R"({"changeInputId":0,"changeTag":"inputsInfo","dataType":"change"})",
                     R"({"changeTag":"outputsInfo","dataType":"change"})",
                     R"({"ChangeTag":"PipeLineInfo","DataType":"Change"})",
                     R"({"eventData":{},"eventSender":"cabinet","eventType":"cabinetsChange"})",
                     R"({"eventData":{},"eventSender":"cabinet","eventType":"allFlags"})",
                 }));
    }

    void aReportedEventReadsAnewWhatItsRowSays_data()
    {
        QTest::addColumn<QByteArray>("event");
        QTest::addColumn<int>("index");
        const QList<QByteArray> events = Tessel::refreshingEvents();
        int next = 0;
        for (std::size_t index = 0; index < std::size(Tessel::eventRows); ++index) {
            if (Tessel::eventRows[index].effects[0].routeKey) {
                QTest::newRow(qPrintable(rowName(Tessel::eventRows[index])))
                    << events.value(next++) << int(index);
            }
        }
    }
    void aReportedEventReadsAnewWhatItsRowSays()
    {
        QFETCH(QByteArray, event);
        QFETCH(int, index);
        QVERIFY(!listeners().empty());
        RecordingEngine* const engine = RecordingEngine::install();
        DeviceSide::push(DeviceSide::fresh(), event);
        QTRY_COMPARE(engine->held(), 0);
        QStringList paths;
        for (const auto& effect : Tessel::eventRows[index].effects) {
            if (effect.routeKey) {
                paths << AllUrlResource::getUrl(QLatin1String(effect.routeKey));
            }
        }
        QStringList asked;
        for (const auto& request : engine->requests()) {
            asked << request.path;
        }
        QCOMPARE(asked, paths);
    }

    void anEventIsActedOnAsItsRowSays_data()
    {
        QTest::addColumn<int>("index");
        int index = 0;
        for (const EventRow& row : Tessel::eventRows) {
            QTest::newRow(qPrintable(rowName(row))) << index++;
        }
    }
    void anEventIsActedOnAsItsRowSays()
    {
        QFETCH(int, index);
        const EventRow& row = Tessel::eventRows[index];
        RecordingEngine* const engine = RecordingEngine::install();
        std::vector<std::unique_ptr<SignalRecorder>> recorders;
        for (const QObject* listener : listeners()) {
            recorders.push_back(std::make_unique<SignalRecorder>(listener));
        }

        DeviceSide::push(DeviceSide::fresh(), sample(row.text));
        QTRY_COMPARE(engine->held(), 0);

        QStringList paths;
        QStringList signalNames;
        for (const auto& effect : row.effects) {
            if (effect.routeKey) {
                paths << AllUrlResource::getUrl(QLatin1String(effect.routeKey));
            }
            if (effect.signal) {
                signalNames << effect.signal;
            }
        }
        QStringList asked;
        for (const auto& request : engine->requests()) {
            asked << request.path;
        }
        QCOMPARE(asked, paths);

        bool known = false;
        for (std::size_t i = 0; i < recorders.size(); ++i) {
            const bool itsOwn = className(listeners()[i]) == row.operatorClass;
            known = known || itsOwn;
            QStringList raised = recorders[i]->take().replaceInStrings(QRegularExpression("\\(.*"), {});
            raised.removeDuplicates(); // MonitorInfo receives every event twice
            QCOMPARE(raised, itsOwn ? signalNames : QStringList());
        }
        QVERIFY2(known, row.operatorClass);
    }

    void noTwoRowsAreOneEvent()
    {
        QStringList samples;
        for (const EventRow& row : Tessel::eventRows) {
            samples << sample(row.text);
        }
        QCOMPARE(samples.removeDuplicates(), 0);
    }

    void everyOperatorThatListensHasARow()
    {
        static const QRegularExpression listens(
            "\\blistenTo(?:Events|Devices)\\(this, (?:&\\w+::\\w+, )?&(\\w+)::");
        QSet<QString> listening;
        const auto sources = codeBelow("tessel");
        for (const QString& text : sources) {
            for (auto match = listens.globalMatch(text); match.hasNext();) {
                listening << match.next().captured(1);
            }
        }
        QSet<QString> named;
        for (const EventRow& row : Tessel::eventRows) {
            named << row.operatorClass;
        }
        QCOMPARE(listening, named);
        QSet<QString> tried;
        for (const QObject* listener : listeners()) {
            tried << className(listener);
        }
        QCOMPARE(tried, named);
    }

    void everyWarningIsAnEventOfTheMonitoringServiceAndTheOtherWayRound()
    {
        std::vector<Tessel::PushEvent> events;
        for (const EventRow& row : Tessel::eventRows) {
            if (row.text.source.text == std::string_view("monitor")) {
                events.push_back(row.event);
            }
        }
        std::vector<Tessel::PushEvent> warnings;
        for (const auto& row : Tessel::warningRows) {
            warnings.push_back(row.event);
            QCOMPARE(Tessel::warningTypeNamed(row.name()), std::make_optional(row.type));
        }
        QVERIFY(warnings == events);
        QVERIFY(!Tessel::warningTypeNamed("FanSpeed"));
        QVERIFY(!Tessel::warningTypeNamed(""));
    }

    void theNumberOfAWarningIsWhatItsSignalTells()
    {
        for (const auto& row : Tessel::warningRows) {
            QSignalSpy warnings(UrlResource::MonitorInfo::getInstance(),
                                &UrlResource::MonitorInfo::signal_tqWarningReport);
            DeviceSide::push("a", sample(Tessel::eventRow(row.event).text));
            const bool numbered = row.type <= Tessel::WarningType::Temperature;
            QCOMPARE(warnings.size(), numbered ? 2 : 0);
            if (numbered) {
                QCOMPARE(warnings[0][2].toInt(), static_cast<int>(row.type));
            }
        }
    }

    void onlyTheTableSpellsAnEvent()
    {
        // These words have other meanings as well, such as members of records and routes.
        const QStringList common{"change",   "Change",  "cabinet",     "monitor",   "name",
                                 "fanSpeed", "voltage", "temperature", "screenName"};
        QStringList words;
        for (const EventRow& row : Tessel::eventRows) {
            for (const char* word : {row.text.source.key, row.text.source.text, row.text.kind.key,
                                     row.text.kind.text, row.text.payload}) {
                if (word && !common.contains(word)) {
                    words << word;
                }
            }
        }
        words.removeDuplicates();
        const QRegularExpression spelt("\"(" + words.join('|') + ")\"");
        for (const char* folder : {"tessel", "simulator", "operations", "tesselctl"}) {
            const auto sources = codeBelow(folder);
            QVERIFY(!sources.isEmpty());
            for (auto source = sources.cbegin(); source != sources.cend(); ++source) {
                const auto match = spelt.match(source.value());
                const bool isTable = source.key() == "tessel/pushevents.h";
                QVERIFY2(match.hasMatch() == isTable, qPrintable(source.key() + ": " + match.captured()));
            }
        }
    }
};

QTEST_GUILESS_MAIN(TestPushEvents)
#include "tst_pushevents.moc"
