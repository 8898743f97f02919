// SPDX-License-Identifier: MIT
#include "communicator/events/connectionboard.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;

namespace {

DeviceConnection channel(const char* key, ConnectionState state, const char* reason = "",
                         const QDateTime& next = {})
{
    return {QString::fromLatin1(key), state, QString::fromLatin1(reason), {}, next};
}

} // namespace

class TestConnectionBoard : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void aDeviceWithoutAChannelIsStopped()
    {
        const ConnectionBoard board;
        const DeviceConnection none = board.connection(QStringLiteral("wall"));
        QCOMPARE(none.deviceKey, QStringLiteral("wall"));
        QCOMPARE(none.state, ConnectionState::Stopped);
        QVERIFY(none.reason.isEmpty());
        QVERIFY(!none.since.isValid());
        QVERIFY(board.connections().isEmpty());
    }

    void whatIsPutIsToldWhenItChanged()
    {
        ConnectionBoard board;
        const QDateTime later = QDateTime::currentDateTimeUtc().addSecs(60);
        QVERIFY(board.put(channel("wall", ConnectionState::Stopped)));
        QVERIFY(!board.put(channel("wall", ConnectionState::Stopped)));
        QVERIFY(board.put(channel("wall", ConnectionState::Waiting, "why")));
        QVERIFY(board.put(channel("wall", ConnectionState::Waiting, "another")));
        QVERIFY(board.put(channel("wall", ConnectionState::Waiting, "another", later)));
        QVERIFY(!board.put(channel("wall", ConnectionState::Waiting, "another", later)));
        QCOMPARE(board.connection(QStringLiteral("wall")).nextAttempt, later);
    }

    void aStateLastsSinceItBegan()
    {
        ConnectionBoard board;
        const auto since = board.put(channel("wall", ConnectionState::Waiting, "why"))->since;
        QCOMPARE(since.timeSpec(), Qt::UTC);
        QTRY_VERIFY(QDateTime::currentDateTimeUtc() > since);
        QCOMPARE(board.put(channel("wall", ConnectionState::Waiting, "another"))->since, since);
        QVERIFY(board.put(channel("wall", ConnectionState::Live))->since > since);
    }

    void channelsAreListedByKeyUntilTheyAreRemoved()
    {
        ConnectionBoard board;
        board.put(channel("b", ConnectionState::Live));
        board.put(channel("a", ConnectionState::Live));
        QCOMPARE(board.connections().size(), 2);
        QCOMPARE(board.connections().first().deviceKey, QStringLiteral("a"));
        const auto removed = board.remove(QStringLiteral("a"), QStringLiteral("why"));
        QVERIFY(removed);
        QCOMPARE(removed->state, ConnectionState::Stopped);
        QCOMPARE(removed->reason, QStringLiteral("why"));
        QVERIFY(!board.remove(QStringLiteral("a"), QStringLiteral("why")));
        QCOMPARE(board.connections().size(), 1);
    }

    void everyStateHasItsName()
    {
        QStringList names;
        for (const auto state : {ConnectionState::Stopped, ConnectionState::Connecting, ConnectionState::Live,
                                 ConnectionState::Waiting, ConnectionState::Refused, ConnectionState::Gone}) {
            names << connectionStateName(state);
        }
        QCOMPARE(names, (QStringList{"stopped", "connecting", "live", "waiting", "refused", "gone"}));
    }
};

QTEST_GUILESS_MAIN(TestConnectionBoard)
#include "tst_connectionboard.moc"
