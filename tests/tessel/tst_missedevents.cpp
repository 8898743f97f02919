// SPDX-License-Identifier: MIT
//
// What is told to the transport when a read that follows an event brought nothing. This program defines the
// function that is told, which takes the place of the library's.
#include "deviceside.h"
#include "recordingengine.h"

#include <communicator/httpproxy.h>

#include <tessel/inputinfo.h>
#include <tessel/pipeinfo.h>

#include <QtTest>

using Krelm::Communicator::HttpDevice::HttpProxy;

using List = QList<QVariant>;
using State = RecordingEngine::State;

namespace {

QStringList toldOf;

struct Refresh
{
    const char* name;
    const char* event;
    bool (*load)(const QString& deviceKey, List& list);
};

const Refresh refreshes[] = {
    {"a read that blocks", R"({"DataType":"Change","ChangeTag":"PipeLineInfo"})",
     [](const QString& deviceKey, List& list) {
         return PipeInfo::getInstance()->getDevicePipes(deviceKey, list, false);
     }},
    {"a read that does not block", R"({"dataType":"change","changeTag":"inputsInfo","changeInputId":3})",
     [](const QString& deviceKey, List& list) {
         InputInfo::getInstance()->startWatch();
         return InputInfo::getInstance()->getAllInputsInfo(deviceKey, list, false);
     }},
};

RecordingEngine::Reply refusal(int status)
{
    RecordingEngine::Reply reply = RecordingEngine::data("[]");
    reply.state = State::HttpFailure;
    reply.status = status;
    return reply;
}

struct Outcome
{
    const char* name;
    RecordingEngine::Reply reply;
    bool isTold; ///< that the events are to be reported again later
};

const Outcome outcomes[] = {
    {"a list", RecordingEngine::data(R"([{"id":2}])"), false},
    {"an empty list", RecordingEngine::data("[]"), false},
    {"a reply that was cut", RecordingEngine::reply(R"({"code":0,"data":[{"id":2})"), true},
    {"no reply", RecordingEngine::failure(), true},
    {"a device that is busy", refusal(503), true},
    {"nothing under that path", refusal(404), false},
};

} // namespace

// In front of the library's own.
void HttpProxy::readAfterEventFailed(const QString& deviceKey)
{
    toldOf << deviceKey;
}

Q_DECLARE_METATYPE(const Refresh*)
Q_DECLARE_METATYPE(const Outcome*)

class TestMissedEvents : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init() { toldOf.clear(); }

    void aReadAfterAnEventIsToldAsFailedWhenALaterOneMayBringMore_data()
    {
        QTest::addColumn<const Refresh*>("refresh");
        QTest::addColumn<const Outcome*>("outcome");
        QTest::addColumn<bool>("isCached");
        for (const Refresh& refresh : refreshes) {
            for (const Outcome& outcome : outcomes) {
                for (const bool isCached : {false, true}) {
                    QTest::addRow("%s: %s%s", refresh.name, outcome.name,
                                  isCached ? ", with a list before" : "")
                        << &refresh << &outcome << isCached;
                }
            }
        }
    }
    void aReadAfterAnEventIsToldAsFailedWhenALaterOneMayBringMore()
    {
        QFETCH(const Refresh*, refresh);
        QFETCH(const Outcome*, outcome);
        QFETCH(bool, isCached);
        RecordingEngine* const engine = RecordingEngine::install();
        List list;
        const QString deviceKey = DeviceSide::fresh();
        engine->answer(isCached ? RecordingEngine::data(R"([{"id":1}])") : RecordingEngine::failure());
        QCOMPARE(refresh->load(deviceKey, list), isCached);
        QVERIFY2(toldOf.isEmpty(), "no event asked for that read");
        engine->forget();

        engine->answer(outcome->reply);
        DeviceSide::push(deviceKey, refresh->event);
        QTRY_COMPARE(engine->held(), 0);
        QTRY_COMPARE(engine->count(), 1);
        QCoreApplication::processEvents();
        QCOMPARE(toldOf, outcome->isTold ? QStringList{deviceKey} : QStringList());
    }
};

QTEST_GUILESS_MAIN(TestMissedEvents)
#include "tst_missedevents.moc"
