// SPDX-License-Identifier: MIT
#include "objectsleft.h"

#include <logcollector.h>
#include <oneinstance.h>
#include <operationforms.h>
#include <promiseoutcome.h>
#include <recordingengine.h>
#include <timelimits.h>

#include <communicator/httpproxy.h>

#include <tessel/allurlresource.h>
#include <tessel/correctionop.h>

#include <QPointer>
#include <QTimer>
#include <QtTest>

#include <sstream>
#include <thread>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpMethod;
using Krelm::Communicator::HttpDevice::HttpProxy;

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

namespace {

Correctionop* correction()
{
    return Correctionop::getInstance();
}

const List table{Map{{"x", 1}}};
const QStringList cabinets{"7", "8"};

using ListUpload = QtPromise::QPromise<bool> (Correctionop::*)(const QString&, const List&);
using CabinetUpload = QtPromise::QPromise<Map> (Correctionop::*)(const QString&, const QString&, const List&);
using BlockingUpload = bool (Correctionop::*)(const QString&, const QString&, const List&, Map&);
using Preparation = void (Correctionop::*)(HttpJsonPackage*, const Map&);

// The forms of transfer: each has its own rules of failure.
enum class Form { WholeList, PerCabinet, Blocking, Guarded, Unguarded, Empty };

struct Transfer
{
    const char* name;
    const char* routeKey;
    Form form;
    std::function<QString(const QString& deviceKey)> outcome;
    QByteArray body = "[{\"x\":1}]";
    bool cid = false;
    const char* logged = nullptr; // the operation's name in its log lines
};

Transfer whole(const char* name, const char* routeKey, ListUpload upload, const char* logged)
{
    Transfer transfer{name, routeKey, Form::WholeList, [upload](const QString& deviceKey) {
                          return PromiseOutcome::of((correction()->*upload)(deviceKey, table));
                      }};
    transfer.logged = logged;
    return transfer;
}

Transfer cabinet(const char* name, const char* routeKey, CabinetUpload upload)
{
    Transfer transfer{name, routeKey, Form::PerCabinet, [upload](const QString& deviceKey) {
                          return PromiseOutcome::of((correction()->*upload)(deviceKey, sampleId, table));
                      }};
    transfer.cid = true;
    return transfer;
}

Transfer blocking(const char* name, const char* routeKey, BlockingUpload upload)
{
    Transfer transfer{name, routeKey, Form::Blocking, [upload](const QString& deviceKey) {
                          Map result{{"kept", 1}};
                          const bool ok = (correction()->*upload)(deviceKey, sampleId, table, result);
                          return PromiseOutcome::text(ok) + ' ' + PromiseOutcome::text(result);
                      }};
    transfer.cid = true;
    return transfer;
}

const std::vector<Transfer>& transfers()
{
    using Op = Correctionop;
    static const std::vector<Transfer> all{
        whole("Correctionop::uploadCoefficientAsync", "Device_PutCabinetsCoefficient",
              &Op::uploadCoefficientAsync, "uploadCoefficientAsync"),
        whole("Correctionop::uploadMultilayerCoefficientAsync", "Device_PutCabinetsMultilayerCoefficients",
              &Op::uploadMultilayerCoefficientAsync, "uploadMultilayerCoefficientAsync"),
        whole("Correctionop::uploadAdaptiveCoefficientAsync", "Device_PutCabinetsAdaptiveCoefficients",
              &Op::uploadAdaptiveCoefficientAsync, "uploadAdaptiveCoefficientAsync"),
        whole("Correctionop::uploadDynamicCoefficientAsync", "Device_PutCabinetsDynamicCoefficients",
              &Op::uploadDynamicCoefficientAsync, "uploadDynamicCoefficientAsync"),
        whole("Correctionop::uploadLowGrayCoefficientAsync", "Device_PutCabinetsLowgrayCoefficients",
              &Op::uploadLowGrayCoefficientAsync, nullptr),
        cabinet("Correctionop::uploadCoefficient", "Device_PutCabinetCoefficients", &Op::uploadCoefficient),
        cabinet("Correctionop::uploadMultilayerCoefficient", "Device_PutCabinetMultilayerCoefficients",
                &Op::uploadMultilayerCoefficient),
        cabinet("Correctionop::uploadDynamicCoefficient", "Device_PutCabinetDynamicCoefficients",
                &Op::uploadDynamicCoefficient),
        cabinet("Correctionop::uploadLowgrayCoefficient", "Device_PutCabinetsLowgrayCoefficients",
                &Op::uploadLowgrayCoefficient),
        blocking("Correctionop::uploadCoefficient (blocking)", "Device_PutCabinetCoefficients",
                 &Op::uploadCoefficient),
        blocking("Correctionop::uploadMultilayerCoefficient (blocking)",
                 "Device_PutCabinetMultilayerCoefficients", &Op::uploadMultilayerCoefficient),
        blocking("Correctionop::uploadDynamicCoefficient (blocking)", "Device_PutCabinetDynamicCoefficients",
                 &Op::uploadDynamicCoefficient),
        blocking("Correctionop::uploadLowgrayCoefficient (blocking)", "Device_PutCabinetsLowgrayCoefficients",
                 &Op::uploadLowgrayCoefficient),
        {"Correctionop::uploadCoefficient (records)", "Device_PutCabinetCoefficients", Form::Guarded,
         [](const QString& deviceKey) {
             return PromiseOutcome::of(correction()->uploadCoefficient(deviceKey, QList<QString>{"7"},
                                                                       QList<CoeffsData>{CoeffsData()}));
         },
         QByteArray()},
        {"Correctionop::loadCabinetCoeffs", "Device_LoadCabinetsCorrect", Form::Guarded,
         [](const QString& deviceKey) {
             return PromiseOutcome::of(correction()->loadCabinetCoeffs(deviceKey, cabinets));
         },
         "{\"cids\":[\"7\",\"8\"]}"},
        {"Correctionop::clearCabinetCoeffs", "Device_ClearCabinetsCorrect", Form::Unguarded,
         [](const QString& deviceKey) {
             return PromiseOutcome::of(correction()->clearCabinetCoeffs(deviceKey, cabinets));
         },
         "{\"cids\":[\"7\",\"8\"]}"},
        {"Correctionop::downloadCoefficient", "Device_GetCabinetCoefficients", Form::Empty,
         [](const QString& deviceKey) {
             return PromiseOutcome::of(correction()->downloadCoefficient(deviceKey, cabinets));
         },
         QByteArray()},
    };
    return all;
}

enum class Situation { Good, NoDevice, Unreachable, TimedOut, NonZeroCode, NoJson, SendingThrows };

// What a form comes to in each situation, in their order.
const char* const outcomes[][7] = {
    // WholeList
    {"true", "true", "false", "false", "true", "true", "rejected: no start"},
    // PerCabinet
    {R"({"a":1})", R"({"a":1})", "{}", "{}", R"({"a":1})", "{}", "rejected: no start"},
    // Blocking
    {R"(true {"a":1})", R"(true {"a":1})", "true {}", "true {}", R"(true {"a":1})", "true {}",
     R"(false {"kept":1})"},
    // Guarded
    {"fulfilled", "rejected: arguments error", "rejected: undefined", "rejected: undefined",
     "rejected: undefined", "rejected: undefined", "rejected: no start"},
    // Unguarded
    {"fulfilled", "fulfilled", "fulfilled", "fulfilled", "fulfilled", "fulfilled", "rejected: no start"},
    // Empty
    {"0 elements", "0 elements", "0 elements", "0 elements", "0 elements", "0 elements",
     "rejected: no start"},
};

} // namespace

Q_DECLARE_METATYPE(Transfer)
Q_DECLARE_METATYPE(Situation)
Q_DECLARE_METATYPE(Preparation)

class TestCorrectionopUpload : public QObject
{
    Q_OBJECT
    RecordingEngine* m_engine = nullptr;

    void addTransfers()
    {
        QTest::addColumn<Transfer>("transfer");
        for (const Transfer& transfer : transfers()) {
            QTest::newRow(transfer.name) << transfer;
        }
    }

private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void transfersSendOnePutAsTold_data() { addTransfers(); }
    void transfersSendOnePutAsTold()
    {
        QFETCH(Transfer, transfer);
        const int limitsBefore = timeLimitsGiven();
        transfer.outcome(sampleDevice);
        QCOMPARE(timeLimitsGiven(), limitsBefore);
        QCOMPARE(m_engine->count(), 1);
        const RecordingEngine::Request sent = m_engine->last();
        QCOMPARE(sent.deviceKey, sampleDevice);
        QCOMPARE(int(sent.method), int(HttpMethod::Put));
        QCOMPARE(sent.path, AllUrlResource::getUrl(transfer.routeKey));
        QCOMPARE(sent.body, transfer.body);
        QCOMPARE(sent.multipart, false);
        QCOMPARE(sent.expectedTime, 10000);
        QCOMPARE(sent.daemon, false);
        QCOMPARE(sent.placeHolders,
                 (transfer.cid ? QMap<QString, QString>{{"cid", sampleId}} : QMap<QString, QString>()));
        QVERIFY(sent.parameters.isEmpty());
    }

    void eachFormFailsInItsOwnWay_data()
    {
        QTest::addColumn<Transfer>("transfer");
        QTest::addColumn<Situation>("situation");
        const std::pair<const char*, Situation> situations[] = {{"good reply", Situation::Good},
                                                                {"no device", Situation::NoDevice},
                                                                {"unreachable", Situation::Unreachable},
                                                                {"time-out", Situation::TimedOut},
                                                                {"non-zero code", Situation::NonZeroCode},
                                                                {"no JSON", Situation::NoJson},
                                                                {"sending throws", Situation::SendingThrows}};
        for (const Transfer& transfer : transfers()) {
            for (const auto& situation : situations) {
                QTest::newRow(QByteArray(transfer.name) + ", " + situation.first)
                    << transfer << situation.second;
            }
        }
    }
    void eachFormFailsInItsOwnWay()
    {
        QFETCH(Transfer, transfer);
        QFETCH(Situation, situation);
        m_engine->answer(RecordingEngine::data(R"({"a":1})"));
        switch (situation) {
        case Situation::Good:
        case Situation::NoDevice:
            break;
        case Situation::Unreachable:
            m_engine->answer(RecordingEngine::failure());
            break;
        case Situation::TimedOut:
            m_engine->answer(RecordingEngine::failure(RecordingEngine::State::TimedOut));
            break;
        case Situation::NonZeroCode:
            m_engine->answer(RecordingEngine::reply(R"({"code":1,"message":"x","data":{"a":1}})"));
            break;
        case Situation::NoJson:
            m_engine->answer(RecordingEngine::reply("<html>"));
            break;
        case Situation::SendingThrows:
            HttpProxy::getInstance()->setEngine(std::make_unique<ThrowingEngine>());
            break;
        }
        const QString outcome = transfer.outcome(situation == Situation::NoDevice ? QString() : sampleDevice);
        QCOMPARE(outcome, QString(outcomes[int(transfer.form)][int(situation)]));
        if (situation != Situation::SendingThrows) {
            const bool refused = transfer.form == Form::Guarded && situation == Situation::NoDevice;
            QCOMPARE(m_engine->count(), refused ? 0 : 1);
        }
        QCoreApplication::processEvents();
    }

    void wholeListUploadsTellTheirThreads_data()
    {
        QTest::addColumn<Transfer>("transfer");
        QTest::addColumn<bool>("success");
        for (const Transfer& transfer : transfers()) {
            QTest::newRow(QByteArray(transfer.name) + ", success") << transfer << true;
            QTest::newRow(QByteArray(transfer.name) + ", failure") << transfer << false;
        }
    }
    void wholeListUploadsTellTheirThreads()
    {
        QFETCH(Transfer, transfer);
        QFETCH(bool, success);
        if (!success) {
            m_engine->answer(RecordingEngine::failure());
        }
        const LogCollector log;
        transfer.outcome(sampleDevice);
        QStringList expected;
        if (transfer.logged) {
            const QString thread =
                QString::number(reinterpret_cast<quintptr>(QThread::currentThreadId()), 10);
            const QString line = QStringLiteral("debug: %1%2 thread id =%3").arg(transfer.logged);
            expected << line.arg("", thread) << line.arg(success ? "  recv " : " Error recv", thread);
        }
        QCOMPARE(log.lines(), expected);
    }

    void promiseFormsReturnPending()
    {
        const auto all = correction();
        m_engine->hold();
        QVERIFY(all->uploadCoefficientAsync(sampleDevice, table).isPending());
        QVERIFY(all->uploadCoefficient(sampleDevice, sampleId, table).isPending());
        QVERIFY(all->loadCabinetCoeffs(sampleDevice, cabinets).isPending());
        QVERIFY(all->clearCabinetCoeffs(sampleDevice, cabinets).isPending());
        QVERIFY(all->downloadCoefficient(sampleDevice, cabinets).isPending());
        QCOMPARE(m_engine->held(), 5);
        while (m_engine->release()) {
            QCoreApplication::processEvents();
        }
    }

    void aDroppedPromiseStopsNeitherItsHandlerNorTheReleaseOfItsPackage()
    {
        Correctionop* const all = correction();
        m_engine->hold();
        const auto drop = [&] {
            const LogCollector log;
            all->uploadCoefficientAsync(sampleDevice, table);
            all->uploadCoefficient(sampleDevice, sampleId, table);
            all->loadCabinetCoeffs(sampleDevice, cabinets);
            all->clearCabinetCoeffs(sampleDevice, cabinets);
            all->downloadCoefficient(sampleDevice, cabinets);
            QCOMPARE(log.lines().size(), 1);
            while (m_engine->release()) {
                QCoreApplication::processEvents();
            }
            QCoreApplication::processEvents();
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(log.lines().size(), 2);
            QVERIFY(log.lines().last().startsWith("debug: uploadCoefficientAsync  recv  thread id ="));
        };
        drop(); // makes what lasts
        m_engine->forget();
        QCOMPARE(objectsLeftBy(drop), 0);
        QCOMPARE(m_engine->count(), 5);
    }

    void uploadCoefficientAsyncOfAnEmptyListSendsAnEmptyArray()
    {
        QCOMPARE(PromiseOutcome::of(correction()->uploadCoefficientAsync(sampleDevice, {})), QString("true"));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
        QCOMPARE(m_engine->last().body, QByteArray("[]"));
    }

    void uploadDynamicCoefficientGoesOutWithoutAPathAndTheWholeListWithOne()
    {
        for (const char* cid : {"1", "2"}) {
            PromiseOutcome::of(correction()->uploadDynamicCoefficient(sampleDevice, cid, table));
            QCOMPARE(m_engine->last().path, QString());
        }
        PromiseOutcome::of(correction()->uploadDynamicCoefficientAsync(sampleDevice, table));
        QVERIFY(!m_engine->last().path.isEmpty());
    }

    void theBlockingUploadToADeadDeviceReturnsTrueAndEmptiesTheResult()
    {
        m_engine->answer(RecordingEngine::failure());
        Map result{{"stale", 1}};
        QVERIFY(correction()->uploadCoefficient(sampleDevice, "1", table, result));
        QVERIFY(result.isEmpty());
    }

    void onAThreadThatTakesNoEventsTheBlockingUploadIsTheSameRequest()
    {
        m_engine->answer(RecordingEngine::data(R"({"a":1})"));
        const auto upload = [](Map& result) {
            return correction()->uploadMultilayerCoefficient("wall", "7", {1, 2}, result);
        };
        Map result;
        QVERIFY(upload(result));
        const RecordingEngine::Request here = m_engine->last();

        bool ok = false;
        Map there;
        std::thread([&] { ok = upload(there); }).join();
        QVERIFY(ok);
        QCOMPARE(there, result);
        QCOMPARE(result, (Map{{"a", qlonglong(1)}}));
        const RecordingEngine::Request sent = m_engine->last();
        QCOMPARE(m_engine->count(), 2);
        QCOMPARE(int(sent.method), int(here.method));
        QCOMPARE(sent.path, here.path);
        QCOMPARE(sent.placeHolders, here.placeHolders);
        QCOMPARE(sent.body, here.body);
    }

    void withoutADeviceLoadCabinetCoeffsIsRejectedAndClearCabinetCoeffsSends()
    {
        QCOMPARE(PromiseOutcome::of(correction()->loadCabinetCoeffs(QString(), cabinets)),
                 QString("rejected: arguments error"));
        QCOMPARE(m_engine->count(), 0);
        QCOMPARE(PromiseOutcome::of(correction()->clearCabinetCoeffs(QString(), cabinets)),
                 QString("fulfilled"));
        QCOMPARE(m_engine->count(), 1);
    }

    void aNonZeroCodeRejectsLoadCabinetCoeffsAndNotClearCabinetCoeffs()
    {
        m_engine->answer(RecordingEngine::reply(R"({"code":1,"message":"x","data":{}})"));
        QCOMPARE(PromiseOutcome::of(correction()->loadCabinetCoeffs(sampleDevice, cabinets)),
                 QString("rejected: undefined"));
        QCOMPARE(PromiseOutcome::of(correction()->clearCabinetCoeffs(sampleDevice, cabinets)),
                 QString("fulfilled"));
    }

    void downloadCoefficientDeliversAnEmptyListAfterAGoodReply()
    {
        m_engine->answer(RecordingEngine::data(R"([{"rect":[0,0,1,1],"data":"AAAA"}])"));
        QCOMPARE(PromiseOutcome::of(correction()->downloadCoefficient(sampleDevice, cabinets)),
                 QString("0 elements"));
        QCOMPARE(int(m_engine->last().method), int(HttpMethod::Put));
    }

    void uploadCoefficientOfRecordsSendsNoBodyAndLeavesTheCabinetOut()
    {
        CoeffsData block;
        block.data = "coefficients";
        QCOMPARE(PromiseOutcome::of(correction()->uploadCoefficient(sampleDevice, QList<QString>{"1", "2"},
                                                                    QList<CoeffsData>{block, block})),
                 QString("fulfilled"));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().body, QByteArray());
        QVERIFY(m_engine->last().placeHolders.isEmpty());
    }

    void loadAdaptiveAndLoadMultilayerCoefficientSendTheSameRequest()
    {
        List result;
        QVERIFY(correction()->loadAdaptiveCoefficient(sampleDevice, "1", result));
        const RecordingEngine::Request adaptive = m_engine->last();
        QVERIFY(correction()->loadMultilayerCoefficient(sampleDevice, "1", result));
        const RecordingEngine::Request multilayer = m_engine->last();
        QCOMPARE(adaptive.path, multilayer.path);
        QCOMPARE(adaptive.placeHolders, multilayer.placeHolders);
        QCOMPARE(int(adaptive.method), int(multilayer.method));
        QCOMPARE(adaptive.expectedTime, multilayer.expectedTime);
    }

    void operationsSendAndReturnAsTold_data()
    {
        QTest::addColumn<OperationRow>("row");
        using Forms = OperationForms<Correctionop>;
        using Op = Correctionop;
        const OperationRow rows[] = {
            Forms::idListRead("Correctionop::loadCoefficient", "Device_GetCabinetCoefficients",
                              &Op::loadCoefficient, Decoder::FlatList, "cid", 10000),
            Forms::idListRead("Correctionop::loadMultilayerCoefficient",
                              "Device_GetCabinetMultilayerCoefficients", &Op::loadMultilayerCoefficient,
                              Decoder::FlatList, "cid", 10000),
            Forms::idListRead("Correctionop::loadAdaptiveCoefficient",
                              "Device_GetCabinetMultilayerCoefficients", &Op::loadAdaptiveCoefficient,
                              Decoder::FlatList, "cid", 10000),
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

    void preparationsFillThePackageAndSendNothing_data()
    {
        using Op = Correctionop;
        QTest::addColumn<QString>("routeKey");
        QTest::addColumn<Preparation>("prepare");
        QTest::newRow("Correctionop::getsaveCabinetsCoeffcient")
            << "Device_SaveCabinetsCofficient" << Preparation(&Op::getsaveCabinetsCoeffcient);
        QTest::newRow("Correctionop::getsaveCabinetsLowgrayCoeffcient")
            << "Device_SaveCabinetsLowgrayCofficient" << Preparation(&Op::getsaveCabinetsLowgrayCoeffcient);
        QTest::newRow("Correctionop::getsaveCabinetsMultilayerCoeffcient")
            << "Device_SaveCabinetsMultilayerCofficient"
            << Preparation(&Op::getsaveCabinetsMultilayerCoeffcient);
    }
    void preparationsFillThePackageAndSendNothing()
    {
        QFETCH(QString, routeKey);
        QFETCH(Preparation, prepare);
        HttpJsonPackage package(nullptr);
        (correction()->*prepare)(&package, Map{{"x", 1}});
        QCOMPARE(package.getUrl(), AllUrlResource::getUrl(routeKey));
        QVERIFY(!package.getUrl().isEmpty());
        QCOMPARE(package.requestData(), QByteArray(R"({"x":1})"));
        QCOMPARE(package.expectedTime(), 360000);
        QCOMPARE(m_engine->count(), 0);
    }

    void uploadsFlyTogether()
    {
        m_engine->hold();
        const auto first = correction()->uploadCoefficient(sampleDevice, "1", table);
        const auto second = correction()->uploadCoefficient(sampleDevice, "2", table);
        QCOMPARE(m_engine->held(), 2);
        m_engine->release();
        QCOMPARE(PromiseOutcome::of(first), QString("{}"));
        QVERIFY(second.isPending());
        m_engine->release();
        QCOMPARE(PromiseOutcome::of(second), QString("{}"));
    }

    void oneTableIsOneRequestHoweverLong()
    {
        List longTable;
        for (int i = 0; i < 5000; ++i) {
            longTable << Map{{"cid", i}, {"data", "AAAA"}};
        }
        QCOMPARE(PromiseOutcome::of(correction()->uploadCoefficientAsync(sampleDevice, longTable)),
                 QString("true"));
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(QJsonDocument::fromJson(m_engine->last().body).array().size(), 5000);
    }

    void theBlockingUploadDeliversOtherEventsAndDeferredDeletesMeanwhile()
    {
        m_engine->hold();
        bool delivered = false;
        const QPointer<QObject> doomed = new QObject;
        QTimer::singleShot(0, this, [&] {
            delivered = true;
            doomed->deleteLater();
            m_engine->release();
        });
        Map result;
        QVERIFY(correction()->uploadCoefficient(sampleDevice, "1", table, result));
        QVERIFY(delivered);
        QVERIFY(!doomed);
    }

    void anUploadMayBeMadeWithinAnother()
    {
        bool inner = false;
        QTimer::singleShot(0, this, [&] {
            Map result;
            inner = correction()->uploadMultilayerCoefficient(sampleDevice, "2", table, result);
            m_engine->release();
        });
        m_engine->answer(RecordingEngine::data(R"({"a":1})"));
        Map result;
        QVERIFY(correction()->uploadCoefficient(sampleDevice, "1", table, result));
        QCOMPARE(result, (Map{{"a", qlonglong(1)}}));
        QTRY_VERIFY(inner);
        QCOMPARE(m_engine->count(), 2);
    }

    void theMetaObjectAddsNothing()
    {
        const QMetaObject& meta = Correctionop::staticMetaObject;
        QCOMPARE(meta.superClass(), &QObject::staticMetaObject);
        QCOMPARE(meta.methodCount(), meta.methodOffset());
        QCOMPARE(meta.propertyCount(), meta.propertyOffset());
    }

    void twoCallsGiveTheSameInstance() { checkOneInstance<Correctionop>(); }
};

QTEST_GUILESS_MAIN(TestCorrectionopUpload)
#include "tst_correctionop_upload.moc"
