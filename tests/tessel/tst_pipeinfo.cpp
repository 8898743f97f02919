// SPDX-License-Identifier: MIT
#include <cachedlisttest.h>
#include <cachedoperator.h>
#include <oneinstance.h>
#include <operationforms.h>
#include <otherthread.h>
#include <signalrecorder.h>

#include <tessel/allurlresource.h>
#include <tessel/pipeinfo.h>

#include <QMutex>
#include <QSignalSpy>
#include <QThread>
#include <QtTest>

#include <array>

using Krelm::Communicator::HttpDevice::HttpMethod;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

const QByteArray pipesChanged = R"({"DataType":"Change","ChangeTag":"PipeLineInfo"})";

PipeInfo* pipes()
{
    return PipeInfo::getInstance();
}

CachedOperator cachedPipes()
{
    CachedOperator subject{
        []() -> QObject* { return pipes(); },
        "Device_Pipes",
        CachedOperator::Entry::List,
        [](const QString& deviceKey, bool force) { return pipes()->getDevicePipes(deviceKey, force); },
        handingOut(&PipeInfo::getDevicePipes),
        nullptr,
        pipesChanged,
        {"DataType", "ChangeTag"}};
    subject.toldByRead = QStringList{"signal_sendDataChanged()"};
    subject.told = [](const QString&) { return QStringList{"signal_sendDataChanged()"}; };
    subject.refreshBlocks = true;
    subject.forgetsOnLogout = false;
    subject.otherEvents = {
        {"all in lower case", R"({"dataType":"change","changeTag":"pipeLineInfo"})"},
        {"another operator's tag", R"({"DataType":"Change","ChangeTag":"InputsInfo"})"},
        {"an envelope", R"({"eventSender":"monitor","eventType":"PipeLineInfo"})"},
    };
    return subject;
}

// Every call that looks at the cache takes the lock, so a test that holds it has to reach for both itself. An
// explicit instantiation may name what is private.
template <class Member, typename Member::Type Pointer>
struct Opened
{
    friend typename Member::Type memberOf(Member) { return Pointer; }
};
struct PipesMutex
{
    using Type = QMutex PipeInfo::*;
    friend Type memberOf(PipesMutex);
};
struct PipesCache
{
    using Type = QMap<QString, List> PipeInfo::*;
    friend Type memberOf(PipesCache);
};
template struct Opened<PipesMutex, &PipeInfo::m_mutex>;
template struct Opened<PipesCache, &PipeInfo::m_pipesInfo>;

} // namespace

class TestPipeInfo : public CachedListTest
{
    Q_OBJECT

public:
    TestPipeInfo()
        : CachedListTest([](const QString& deviceKey, List& list) {
            return pipes()->getDevicePipes(deviceKey, list, false);
        })
    {}

private Q_SLOTS:
    void init()
    {
        beginWithAFreshDevice();
        pipes(); // its thread is that of the first call
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<PipeInfo>(); }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<PipeInfo>;
        using Op = PipeInfo;
        OperationRow copy{"PipeInfo::getDevicePipes (output)", "Device_Pipes", HttpMethod::Get,
                          Decoder::FlatList,
                          [](Outputs& out) { return pipes()->getDevicePipes(sampleDevice, out.list, true); }};
        copy.onFailure = OnFailure::KeepOutput;
        const OperationRow rows[] = {
            {"PipeInfo::getDevicePipes", "Device_Pipes", HttpMethod::Get, Decoder::None,
             [](Outputs&) { return pipes()->getDevicePipes(sampleDevice, true); }},
            copy,
            Forms::idRead("PipeInfo::getDeviceOnePipeHandleParameters", "Device_PipeHandleParameters",
                          &Op::getDeviceOnePipeHandleParameters),
            Forms::idListRead("PipeInfo::getDeviceOnePipeGroupScreenIds", "Device_PipeGroupScreenIds",
                              &Op::getDeviceOnePipeGroupScreenIds, Decoder::ParsedList),
            Forms::idListRead("PipeInfo::getDeviceOnePipeGroupScreenRelativePoint",
                              "Device_PipeGroupScreenRelativePoint",
                              &Op::getDeviceOnePipeGroupScreenRelativePoint, Decoder::ParsedList),
            {"PipeInfo::getDeviceGroupScreenInfo", "Device_GroupScreenInfo", HttpMethod::Get,
             Decoder::ParsedList,
             [](Outputs& out) { return pipes()->getDeviceGroupScreenInfo(sampleDevice, out.list); }},
            Forms::listWrite("PipeInfo::putDevicePipes", "Device_Pipes", &Op::putDevicePipes),
            Forms::mapWrite("PipeInfo::putDeviceOnePipethreeDSingaldelaytime",
                            "Device_PipeThreeDSingaldelaytime", &Op::putDeviceOnePipethreeDSingaldelaytime),
            Forms::idWrite("PipeInfo::putDeviceOnePipe", "Device_PipeInfo", &Op::putDeviceOnePipe),
            Forms::idWrite("PipeInfo::putDeviceOnePipeInputId", "Device_PipeInputId",
                           &Op::putDeviceOnePipeInputId),
            Forms::idWrite("PipeInfo::putDeviceOnePipeMirrorMode", "Device_PipeMirrorMode",
                           &Op::putDeviceOnePipeMirrorMode),
            Forms::idWrite("PipeInfo::putDeviceOnePipeImageHandleType", "Device_PipeImageHandleType",
                           &Op::putDeviceOnePipeImageHandleType),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeD", "Device_PipeThreeD",
                           &Op::putDeviceOnePipethreeD),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDSwitch", "Device_PipeThreeDSwitch",
                           &Op::putDeviceOnePipethreeDSwitch),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDType", "Device_PipeThreeDType",
                           &Op::putDeviceOnePipethreeDType),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDSourcemode", "Device_PipeThreeDSourcemode",
                           &Op::putDeviceOnePipethreeDSourcemode),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDEyepriority", "Device_PipeThreeDEyepriority",
                           &Op::putDeviceOnePipethreeDEyepriority),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDSourcenadj", "Device_PipeThreeDSourcenadj",
                           &Op::putDeviceOnePipethreeDSourcenadj),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDStartposition", "Device_PipeThreeDStartposition",
                           &Op::putDeviceOnePipethreeDStartposition),
            Forms::idWrite("PipeInfo::putDeviceOnePipethreeDDepthField", "Device_PipeThreeDDepthField",
                           &Op::putDeviceOnePipethreeDDepthField),
            Forms::idWrite("PipeInfo::putDeviceOnePipeHDRSwitch", "Device_PipeHDRSwitch",
                           &Op::putDeviceOnePipeHDRSwitch),
            Forms::idWrite("PipeInfo::putDeviceOnePipeHdrparamHdrmode", "Device_PipeHDRType",
                           &Op::putDeviceOnePipeHdrparamHdrmode),
            Forms::idWrite("PipeInfo::putDeviceOnePipeHdrparamHlgtype", "Device_PipeHDRHLGType",
                           &Op::putDeviceOnePipeHdrparamHlgtype),
            Forms::idWrite("PipeInfo::putDeviceOnePipeHdrparamMaxoflight", "Device_PipeHDRMaxoflight",
                           &Op::putDeviceOnePipeHdrparamMaxoflight),
            Forms::idWrite("PipeInfo::putDeviceOnePipeHdrparamIlluminance", "Device_PipeHDRIlluminance",
                           &Op::putDeviceOnePipeHdrparamIlluminance),
            Forms::idWrite("PipeInfo::putDeviceOnePipeHdrparamLowgray", "Device_PipeHDRLowgray",
                           &Op::putDeviceOnePipeHdrparamLowgray),
            Forms::idWrite("PipeInfo::putDeviceOnePipeBrightness", "Device_PipeBrightness",
                           &Op::putDeviceOnePipeBrightness),
            Forms::idWrite("PipeInfo::putDeviceOnePipeColorTemperature", "Device_PipeColorTemperature",
                           &Op::putDeviceOnePipeColorTemperature),
            Forms::idWrite("PipeInfo::putDeviceOnePipeGamma", "Device_PipeGamma", &Op::putDeviceOnePipeGamma),
            Forms::idWrite("PipeInfo::putDeviceOnePipe18bitPlus", "Device_Pipe18Bit",
                           &Op::putDeviceOnePipe18bitPlus),
            Forms::idWrite("PipeInfo::putDeviceOnePipeSeamAdjustment", "Device_PipeSeamAdjustment",
                           &Op::putDeviceOnePipeSeamAdjustment),
            Forms::idWrite("PipeInfo::putDeviceOnePipeColorAdjust", "Device_PipeColorAdjust",
                           &Op::putDeviceOnePipeColorAdjust),
            Forms::idWrite("PipeInfo::putDeviceOnePipeLowLatency", "Device_PipeLowLatency",
                           &Op::putDeviceOnePipeLowLatency),
            Forms::idWrite("PipeInfo::putDeviceOnePipePrestoreImage", "Device_PipePrestoreImage",
                           &Op::putDeviceOnePipePrestoreImage),
            Forms::idWrite("PipeInfo::putDeviceOnePipePrestoreImagePos", "Device_PipePrestoreImagePos",
                           &Op::putDeviceOnePipePrestoreImagePos),
            Forms::idWrite("PipeInfo::putDeviceOnePipePrestoreImageRegion", "Device_PipePrestoreImageRegion",
                           &Op::putDeviceOnePipePrestoreImageRegion),
            Forms::idWrite("PipeInfo::putDeviceOnePipeStartImageSwitch", "Device_PipeStartImageSwitch",
                           &Op::putDeviceOnePipeStartImageSwitch),
            Forms::idWrite("PipeInfo::putDeviceOnePipeStartImageTime", "Device_PipeStartImageTime",
                           &Op::putDeviceOnePipeStartImageTime),
            Forms::idWrite("PipeInfo::putDeviceOnePipeCableDisconnect", "Device_PipeCableDisconnect",
                           &Op::putDeviceOnePipeCableDisconnect),
            Forms::idWrite("PipeInfo::putDeviceOnePipeDVINoSignal", "Device_PipeDVINoSignal",
                           &Op::putDeviceOnePipeDVINoSignal),
            Forms::idWrite("PipeInfo::putDeviceOnePipeZoomSwitch", "Device_PipeHandleZoomSwitch",
                           &Op::putDeviceOnePipeZoomSwitch),
            Forms::idWrite("PipeInfo::putDeviceOnePipeGlobalScreenSwitch", "Device_PipeGlobalScreenSwitch",
                           &Op::putDeviceOnePipeGlobalScreenSwitch),
            Forms::idWrite("PipeInfo::putDeviceOnePipeInterceptionPosition",
                           "Device_PipeInterceptionPosition", &Op::putDeviceOnePipeInterceptionPosition),
            Forms::idWrite("PipeInfo::putDeviceOnePipeInterceptionSize", "Device_PipeInterceptionSize",
                           &Op::putDeviceOnePipeInterceptionSize),
            Forms::idWrite("PipeInfo::putDeviceOnePipeZoomMode", "Device_PipeZoomMode",
                           &Op::putDeviceOnePipeZoomMode),
            Forms::idWrite("PipeInfo::putDeviceOnePipeDisplayAreaPosition", "Device_PipeDisplayAreaPosition",
                           &Op::putDeviceOnePipeDisplayAreaPosition),
            Forms::idWrite("PipeInfo::putDeviceOnePipeDisplayAreaSize", "Device_PipeDisplayAreaSize",
                           &Op::putDeviceOnePipeDisplayAreaSize),
        };
        for (const OperationRow& row : rows) {
            QTest::newRow(row.name) << row;
        }
    }
    void operationsSendAndReturnAsTold()
    {
        QFETCH(OperationRow, row);
        checkBlockingOperation(row);
    }

    void routesOutsideTheTableGoOutWithoutAPath_data()
    {
        QTest::addColumn<bool>("write");
        QTest::newRow("putDeviceOnePipethreeDSourcemode") << true;
        QTest::newRow("getDeviceGroupScreenInfo") << false;
    }
    void routesOutsideTheTableGoOutWithoutAPath()
    {
        QFETCH(bool, write);
        Map map;
        List list;
        QVERIFY(write ? pipes()->putDeviceOnePipethreeDSourcemode(m_device, "1", {}, map)
                      : pipes()->getDeviceGroupScreenInfo(m_device, list));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().path, QString());
    }

    void theSourceModesPathIsThatOfTheType()
    {
        Map map;
        QVERIFY(pipes()->putDeviceOnePipethreeDType(m_device, "1", {}, map));
        QVERIFY(m_engine->last().path.endsWith("/3d/sourcemode"));
    }

    void sourceAdjustmentAndDepthFieldShareAPath()
    {
        Map map;
        QVERIFY(pipes()->putDeviceOnePipethreeDSourcenadj(m_device, "1", {}, map));
        const QString path = m_engine->last().path;
        QVERIFY(pipes()->putDeviceOnePipethreeDDepthField(m_device, "1", {}, map));
        QCOMPARE(m_engine->last().path, path);
    }

    // PipeInfo::getDeviceOnePipe

    void getDeviceOnePipeFindsTextAndNumber_data()
    {
        QTest::addColumn<QByteArray>("list");
        QTest::addColumn<int>("found");
        QTest::newRow("text") << QByteArray(R"([{"id":"1","n":1},{"id":"2","n":2}])") << 2;
        QTest::newRow("number") << QByteArray(R"([{"id":1,"n":1},{"id":2,"n":2}])") << 2;
        QTest::newRow("twice") << QByteArray(R"([{"id":2,"n":1},{"id":"2","n":2}])") << 1;
        QTest::newRow("number as 2.0") << QByteArray(R"([{"id":2.0,"n":1},{"id":"2","n":2}])") << 1;
        QTest::newRow("truth") << QByteArray(R"([{"id":true,"n":1}])") << 0;
        QTest::newRow("absent") << QByteArray(R"([{"n":1},{"ID":2}])") << 0;
        QTest::newRow("empty list") << QByteArray("[]") << 0;
    }
    void getDeviceOnePipeFindsTextAndNumber()
    {
        QFETCH(QByteArray, list);
        QFETCH(int, found);
        answerList(list);
        Map result{{"kept", 1}};
        QCOMPARE(pipes()->getDeviceOnePipe(m_device, "2", result), found != 0);
        if (found != 0) {
            QCOMPARE(result.value("n").toInt(), found);
        } else {
            QCOMPARE(result, (Map{{"kept", 1}}));
        }
    }

    void getDeviceOnePipeOfAnUnknownIdKeepsTheResultAndFetchedTheList()
    {
        answerList(R"([{"id":"1"}])");
        Map result{{"kept", 1}};
        QVERIFY(!pipes()->getDeviceOnePipe(m_device, "2", result));
        QCOMPARE(result, (Map{{"kept", 1}}));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().path, AllUrlResource::getUrl("Device_Pipes"));
        QVERIFY(!pipes()->getDeviceOnePipe(m_device, "2", result));
        QCOMPARE(m_engine->count(), 1);
    }

    void getDeviceOnePipeOfAnUnreachableDeviceKeepsTheResult()
    {
        m_engine->answer(RecordingEngine::failure());
        Map result{{"kept", 1}};
        QVERIFY(!pipes()->getDeviceOnePipe(m_device, "2", result));
        QCOMPARE(result, (Map{{"kept", 1}}));
    }

    // The list and its cache

    void theCacheFollowsItsDevice_data() { addCachedOperatorChecks(cachedPipes()); }
    void theCacheFollowsItsDevice()
    {
        QFETCH(CachedOperatorCheck, check);
        checkCachedOperator(cachedPipes(), check);
    }

    void aReadThatChangesNothingRaisesTheSignalAllTheSame()
    {
        SignalRecorder recorder(pipes());
        QVERIFY(pipes()->getDevicePipes(m_device, true));
        QVERIFY(pipes()->getDevicePipes(m_device, true));
        QCOMPARE(recorder.take(), (QStringList{"signal_sendDataChanged()", "signal_sendDataChanged()"}));
    }

    void noLockIsHeldDuringTheRequestAndTheLaterStoreWins()
    {
        const QString device = m_device;
        OtherThread other;
        bool free = false;
        m_engine->answer([&](const RecordingEngine::Request&) {
            if (m_engine->count() > 1) {
                return RecordingEngine::data("[2]");
            }
            free = other.getsThrough([&device] { pipes()->getDevicePipes(device, true); });
            return RecordingEngine::data("[1]");
        });
        QVERIFY(pipes()->getDevicePipes(m_device, true));
        QVERIFY(free);
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(cachedList(), (List{qlonglong(1)}));
    }

    void theSignalIsRaisedWithTheLockHeld()
    {
        std::unique_ptr<QThread> reader;
        const auto connection = connect(
            pipes(), &PipeInfo::signal_sendDataChanged, this,
            [&] {
                reader.reset(QThread::create([this] { pipes()->getDevicePipes(m_device, false); }));
                reader->start();
                // That it waits for the lock shows only in that it does not come back.
                QVERIFY2(!reader->wait(50), "a read on another thread gets past the lock");
            },
            Qt::DirectConnection);
        QVERIFY(pipes()->getDevicePipes(m_device, true));
        disconnect(connection);
        QVERIFY(reader);
        QVERIFY(reader->wait(60000));
        QCOMPARE(m_engine->count(), 1);
    }

    void aReadStoresWithTheLockHeld()
    {
        const QString device = m_device;
        const auto& cache = pipes()->*memberOf(PipesCache());
        answerList("[1]");
        const std::unique_ptr<QThread> reader(
            QThread::create([&device] { pipes()->getDevicePipes(device, true); }));
        bool cameBack = false;
        bool stored = false;
        {
            const QMutexLocker lock(&(pipes()->*memberOf(PipesMutex())));
            reader->start();
            QTRY_COMPARE(m_engine->count(), 1);
            // That it waits for the lock shows only in that it does not go on.
            cameBack = reader->wait(50);
            stored = cache.contains(device);
        }
        QVERIFY(reader->wait(60000));
        QVERIFY(!cameBack);
        QVERIFY(!stored);
        QCOMPARE(cachedList(), (List{qlonglong(1)}));
    }

    void readsFromManyThreadsDoNotDisturbEachOther()
    {
        answerList("[1]");
        std::array<std::unique_ptr<QThread>, 4> readers;
        for (std::size_t i = 0; i < readers.size(); ++i) {
            readers.at(i).reset(QThread::create([this, i] {
                for (int j = 0; j < 50; ++j) {
                    pipes()->getDevicePipes(m_device + "-" + QString::number(j), i % 2 == 0);
                }
            }));
        }
        for (const auto& reader : readers) {
            reader->start();
        }
        for (const auto& reader : readers) {
            QVERIFY(reader->wait(60000));
        }
        const int before = m_engine->count();
        QVERIFY(pipes()->getDevicePipes(m_device + "-49", false));
        QCOMPARE(m_engine->count(), before);
    }

    // Events

    void putDeviceOnePipeInputIdShowsOnceTheDeviceReportedIt()
    {
        answerList(R"([{"id":"1","inputId":1}])");
        Map pipe;
        QVERIFY(pipes()->getDeviceOnePipe(m_device, "1", pipe));
        answerList(R"([{"id":"1","inputId":2}])");
        Map result;
        QVERIFY(pipes()->putDeviceOnePipeInputId(m_device, "1", Map{{"inputId", 2}}, result));
        QVERIFY(pipes()->getDeviceOnePipe(m_device, "1", pipe));
        QCOMPARE(pipe.value("inputId").toInt(), 1);
        push(pipesChanged);
        QVERIFY(pipes()->getDeviceOnePipe(m_device, "1", pipe));
        QCOMPARE(pipe.value("inputId").toInt(), 2);
    }

    void anEventDuringAReadIsHandledInIt()
    {
        QSignalSpy changed(pipes(), &PipeInfo::signal_sendDataChanged);
        m_engine->answer([this](const RecordingEngine::Request&) {
            if (m_engine->count() > 1) {
                return RecordingEngine::data("[2]");
            }
            push(pipesChanged);
            return RecordingEngine::data("[1]");
        });
        QVERIFY(pipes()->getDevicePipes(m_device, true));
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(changed.size(), 2);
        QVERIFY2(cachedList() == List{qlonglong(1)}, "the later store wins");
    }
};

QTEST_GUILESS_MAIN(TestPipeInfo)
#include "tst_pipeinfo.moc"
