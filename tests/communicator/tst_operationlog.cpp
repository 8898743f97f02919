// SPDX-License-Identifier: MIT
#include "communicator/packages/operationlog.h"

#include <communicator/httpproxy.h>

#include <QtTest>

#include <thread>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

namespace {

LoggedExchange numbered(ExchangeId id)
{
    LoggedExchange exchange;
    exchange.id = id;
    return exchange;
}

QList<ExchangeId> idsOf(const OperationLog& log)
{
    QList<ExchangeId> ids;
    for (const LoggedExchange& exchange : log.exchanges()) {
        ids << exchange.id;
    }
    return ids;
}

using Ids = QList<ExchangeId>;

} // namespace

class TestOperationLog : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void anOperationForgetsTheOneBefore()
    {
        OperationLog log;
        log.begin();
        log.add(numbered(1));
        log.add(numbered(2));
        QCOMPARE(idsOf(log), (Ids{1, 2}));
        log.begin();
        QCOMPARE(idsOf(log), Ids());
        log.add(numbered(3));
        log.enter();
        QCOMPARE(idsOf(log), Ids());
    }

    void whatBelongsTogetherIsKeptTogether()
    {
        OperationLog log;
        log.enter();
        log.begin();
        log.add(numbered(1));
        log.enter();
        log.begin();
        log.add(numbered(2));
        log.leave();
        log.begin();
        log.add(numbered(3));
        log.leave();
        QCOMPARE(idsOf(log), (Ids{1, 2, 3}));
        log.begin();
        QCOMPARE(idsOf(log), Ids());
    }

    void theLatest256ExchangesAreKept()
    {
        OperationLog log;
        for (ExchangeId id = 1; id <= 256; ++id) {
            log.add(numbered(id));
        }
        QCOMPARE(idsOf(log).first(), ExchangeId(1));
        log.add(numbered(257));
        QCOMPARE(idsOf(log).first(), ExchangeId(2));
        QCOMPARE(idsOf(log).last(), ExchangeId(257));
        QCOMPARE(idsOf(log).size(), 256);
    }

    void eachThreadHasALogOfItsOwn()
    {
        OperationLog* const here = OperationLog::ofThread();
        QVERIFY(here);
        QCOMPARE(OperationLog::ofThread(), here);
        OperationLog* there = here;
        std::thread([&there] { there = OperationLog::ofThread(); }).join();
        QVERIFY(there != here);
    }

    void theProxyOffersToMarkWhatBelongsTogether()
    {
        quintptr offered = 0;
        QMetaObject::invokeMethod(HttpProxy::getInstance(), "operationBoundary", Qt::DirectConnection,
                                  Q_RETURN_ARG(quintptr, offered));
        QVERIFY(offered != 0);
        auto* const mark = reinterpret_cast<void (*)(bool begins)>(offered);
        OperationLog* const log = OperationLog::ofThread();
        mark(true);
        log->begin();
        log->add(numbered(1));
        log->begin();
        log->add(numbered(2));
        mark(false);
        QCOMPARE(idsOf(*log), (Ids{1, 2}));
        log->begin();
        QCOMPARE(idsOf(*log), Ids());
    }

    void anExchangeIsNamedAsItWasAsked()
    {
        HttpRequest request;
        request.id = 7;
        request.method = HttpMethod::Post;
        request.deviceKey = QStringLiteral("wall");
        request.path = QStringLiteral("/x/{id}");
        request.placeHolders.insert(QStringLiteral("id"), QStringLiteral("1"));
        request.parameters.insert(QStringLiteral("q"), QStringLiteral("2"));
        const LoggedExchange exchange{HttpRequest(request)};
        QCOMPARE(exchange.id, ExchangeId(7));
        QCOMPARE(exchange.method, HttpMethod::Post);
        QCOMPARE(exchange.deviceKey, request.deviceKey);
        QCOMPARE(exchange.path, request.path);
        QCOMPARE(exchange.placeHolders, request.placeHolders);
        QCOMPARE(exchange.parameters, request.parameters);
    }

    void anEndIsKeptAsItCame_data()
    {
        QTest::addColumn<int>("status");
        QTest::addColumn<int>("size");
        QTest::addColumn<bool>("isKept");
        QTest::addColumn<qint64>("retryAfter");
        QTest::newRow("busy") << 503 << 16384 << true << qint64(120000);
        QTest::newRow("too long a text") << 503 << 16385 << false << qint64(120000);
        QTest::newRow("another status") << 500 << 1 << true << qint64(-1);
    }
    void anEndIsKeptAsItCame()
    {
        QFETCH(int, status);
        QFETCH(int, size);
        QFETCH(bool, isKept);
        QFETCH(qint64, retryAfter);
        HttpReply reply;
        reply.state = State::HttpFailure;
        reply.status = status;
        reply.reason = QStringLiteral("why");
        reply.body = QByteArray(size, 'x');
        reply.headers.insert(QStringLiteral("retry-AFTER"), QStringLiteral("120"));
        const EndedExchange ended(reply, std::chrono::steady_clock::now() - std::chrono::hours(1));
        QCOMPARE(ended.state, State::HttpFailure);
        QCOMPARE(ended.status, status);
        QCOMPARE(ended.reason, QStringLiteral("why"));
        QCOMPARE(ended.reply, isKept ? reply.body : QByteArray());
        QCOMPARE(ended.retryAfter, retryAfter);
        QVERIFY(ended.milliseconds >= 3600000 && ended.milliseconds < 7200000);
    }
};

QTEST_GUILESS_MAIN(TestOperationLog)
#include "tst_operationlog.moc"
