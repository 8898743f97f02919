// SPDX-License-Identifier: MIT
#include "misbehavingserver.h"

#include <communicator/deviceendpoint.h>
#include <communicator/exchangeid.h>
#include <communicator/exchangeobserver.h>
#include <communicator/httpproxy.h>

#include <QEventLoop>
#include <QLoggingCategory>
#include <QtTest>

#include <future>
#include <mutex>
#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;
using Mode = MisbehavingServer::Mode;

namespace {

enum class Form { Blocking, NonBlocking, HeldBack, Download, MultiPart };

/// A call that its device never answers, on a thread of its own, and what became of it.
struct Call
{
    Call(Form form, const QString& deviceKey, const QString& folder)
        : m_thread([=] { run(form, deviceKey, folder); })
    {}
    ~Call() { m_thread.join(); }
    /// Waits for the end. @return whether it came.
    bool ended()
    {
        return m_done.get_future().wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    }

    ExchangeIds ids;
    std::atomic<int> state{-1};

private:
    void run(Form form, const QString& deviceKey, const QString& folder)
    {
        const ExchangeScope scope(ids);
        HttpProxy* const proxy = HttpProxy::getInstance();
        HttpMutilPartPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        package.setExpectedTime(60000);
        switch (form) {
        case Form::Blocking:
            proxy->getSync(deviceKey, &package);
            break;
        case Form::Download:
            package.fileDownloadPath = folder + QStringLiteral("/file");
            proxy->getFileDownloadSync(deviceKey, &package);
            break;
        case Form::MultiPart:
            package.setHttpMultiPartData({{QStringLiteral("a"), QByteArray("b")}});
            proxy->putMutilPartSync(deviceKey, &package);
            break;
        case Form::NonBlocking:
        case Form::HeldBack: {
            HttpJsonPackage json(nullptr);
            json.setUrl(QStringLiteral("/api/v1/x"));
            json.setExpectedTime(60000);
            QEventLoop loop;
            QObject::connect(&json, &HttpJsonPackage::readyRead, &loop, &QEventLoop::quit);
            proxy->put(deviceKey, &json);
            loop.exec();
            state = json.getSimpleState();
            m_done.set_value();
            return;
        }
        }
        state = package.getSimpleState();
        m_done.set_value();
    }

    std::promise<void> m_done;
    std::thread m_thread;
};

} // namespace

Q_DECLARE_METATYPE(Form)

class TestCancel : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(QStringLiteral("tessel.*=false"));
        QVERIFY(m_folder.isValid());
    }

    void aCallOfAnotherThreadEndsAtOnce_data() { forms(); }
    void aCallOfAnotherThreadEndsAtOnce()
    {
        QFETCH(Form, form);
        MisbehavingServer server(Mode::Stall);
        std::unique_ptr<Call> first;
        if (form == Form::HeldBack) {
            first = std::make_unique<Call>(Form::NonBlocking, server.address(), m_folder.path());
            QVERIFY(server.waitForDeliveries(1));
        }
        QStringList reasons;
        std::mutex mutex;
        const ObserverHandle observer = addExchangeObserver([&](const ExchangeRecord& record) {
            const std::lock_guard<std::mutex> lock(mutex);
            reasons << record.reason;
        });
        Call call(form, server.address(), m_folder.path());
        if (form == Form::HeldBack) {
            QTRY_COMPARE(int(call.ids.all().size()), 1);
        } else {
            QVERIFY(server.waitForDeliveries(1));
        }
        call.ids.cancel();
        QVERIFY(call.ended());
        QCOMPARE(call.state.load(), int(State::Aborted));
        {
            const std::lock_guard<std::mutex> lock(mutex);
            QCOMPARE(reasons, QStringList(QStringLiteral("the application cancelled the request")));
        }
        if (first) {
            QCOMPARE(first->state.load(), -1);
            first->ids.cancel();
            QVERIFY(first->ended());
        }
        QCOMPARE(server.deliveries(), 1);
    }

    void nothingIsSentForACallThatIsCancelledAlready_data() { forms(); }
    void nothingIsSentForACallThatIsCancelledAlready()
    {
        QFETCH(Form, form);
        MisbehavingServer server(Mode::Stall);
        ExchangeIds ids;
        ids.cancel();
        QVERIFY(ids.isCancelled());
        const ExchangeScope scope(ids);
        QVERIFY(isCancelledHere());
        HttpMutilPartPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        package.fileDownloadPath = m_folder.filePath(QStringLiteral("file"));
        HttpProxy* const proxy = HttpProxy::getInstance();
        QSignalSpy done(&package, &HttpJsonPackage::readyRead);
        switch (form) {
        case Form::Blocking:
            proxy->getSync(server.address(), &package);
            break;
        case Form::Download:
            proxy->getFileDownloadSync(server.address(), &package);
            break;
        case Form::MultiPart:
            proxy->putMutilPartSync(server.address(), &package);
            break;
        case Form::NonBlocking:
        case Form::HeldBack:
            QVERIFY(!proxy->put(server.address(), &package));
            QTRY_COMPARE(done.size(), 1);
            break;
        }
        QCOMPARE(package.getSimpleState(), State::Aborted);
        QCOMPARE(server.deliveries(), 0);
    }

    void aCancellationBetweenBeginningAndSendingIsNotLost()
    {
        // The cancelling thread runs beside the beginning of each call: whichever comes first, the call ends.
        MisbehavingServer server(Mode::Stall);
        for (int round = 0; round < 50; ++round) {
            Call call(round % 2 == 0 ? Form::Blocking : Form::NonBlocking, server.address(), m_folder.path());
            while (call.ids.latest() == 0) {
                std::this_thread::yield();
            }
            call.ids.cancel();
            QVERIFY(call.ended());
            QCOMPARE(call.state.load(), int(State::Aborted));
        }
    }

    void allOfADeviceEndsAndNothingOfAnother()
    {
        MisbehavingServer server(Mode::Stall);
        MisbehavingServer other(Mode::Stall);
        Call blocking(Form::Blocking, server.address(), m_folder.path());
        Call nonBlocking(Form::NonBlocking, server.address(), m_folder.path());
        Call apart(Form::Blocking, other.address(), m_folder.path());
        QVERIFY(server.waitForDeliveries(2));
        QVERIFY(other.waitForDeliveries(1));
        HttpProxy::getInstance()->cancelAll(server.address());
        QVERIFY(blocking.ended());
        QVERIFY(nonBlocking.ended());
        QCOMPARE(blocking.state.load(), int(State::Aborted));
        QCOMPARE(nonBlocking.state.load(), int(State::Aborted));
        QCOMPARE(apart.state.load(), -1);
        apart.ids.cancel();
        QVERIFY(apart.ended());
        server.setMode(Mode::Answer);
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        QCOMPARE(package.getSimpleState(), State::Success);
    }

    void anObserverMayCancelWhatItIsToldOf_data()
    {
        QTest::addColumn<Form>("form");
        QTest::addColumn<int>("how");
        const std::pair<const char*, Form> asked[] = {{"blocking", Form::Blocking},
                                                      {"non-blocking", Form::NonBlocking},
                                                      {"download", Form::Download},
                                                      {"multipart", Form::MultiPart}};
        const char* const hows[] = {"the exchange", "all of the device", "the device itself"};
        for (const auto& form : asked) {
            for (int how = 0; how < 3; ++how) {
                QTest::addRow("%s, %s", form.first, hows[how]) << form.second << how;
            }
        }
    }
    void anObserverMayCancelWhatItIsToldOf()
    {
        QFETCH(Form, form);
        QFETCH(int, how);
        const QString wall = QStringLiteral("wall");
        MisbehavingServer server(Mode::RawKeepAlive);
        server.setRaw("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{");
        DeviceEndpoint endpoint;
        endpoint.address = server.address();
        HttpProxy* const proxy = HttpProxy::getInstance();
        QVERIFY(proxy->addDevice(wall, endpoint));
        std::atomic<int> told{0};
        const ObserverHandle ended = addExchangeObserver([&](const ExchangeRecord& record) {
            ++told;
            proxy->cancel(record.id); // of no effect by now
            proxy->cancelAll(wall);
        });
        const ObserverHandle observer = addProgressObserver([&](const ExchangeProgress& progress) {
            if (how == 0) {
                proxy->cancel(progress.id);
            } else if (how == 1) {
                proxy->cancelAll(progress.deviceKey);
            } else {
                proxy->removeDevice(progress.deviceKey);
            }
        });
        Call call(form, wall, m_folder.path());
        QVERIFY(call.ended());
        QCOMPARE(call.state.load(), int(State::Aborted));
        QCOMPARE(told.load(), 1);
        QVERIFY(server.deliveries() <= 1);
        QVERIFY(!QFile::exists(m_folder.filePath(QStringLiteral("file"))));
        proxy->removeDevice(wall);
    }

    void whatHasEndedIsNotCancelled()
    {
        MisbehavingServer server;
        ExchangeIds ids;
        {
            const ExchangeScope scope(ids);
            HttpJsonPackage package(nullptr);
            package.setUrl(QStringLiteral("/api/v1/x"));
            HttpProxy::getInstance()->getSync(server.address(), &package);
            QCOMPARE(package.getSimpleState(), State::Success);
        }
        ids.cancel();
        HttpProxy::getInstance()->cancel(0);
        HttpJsonPackage package(nullptr);
        package.setUrl(QStringLiteral("/api/v1/x"));
        HttpProxy::getInstance()->getSync(server.address(), &package);
        QCOMPARE(package.getSimpleState(), State::Success);
    }

private:
    static void forms()
    {
        QTest::addColumn<Form>("form");
        QTest::newRow("blocking") << Form::Blocking;
        QTest::newRow("download") << Form::Download;
        QTest::newRow("form") << Form::MultiPart;
        QTest::newRow("non-blocking") << Form::NonBlocking;
        QTest::newRow("held back by another write") << Form::HeldBack;
    }

    QTemporaryDir m_folder;
};

QTEST_GUILESS_MAIN(TestCancel)
#include "tst_cancel.moc"
