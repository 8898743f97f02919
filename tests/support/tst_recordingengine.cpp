// SPDX-License-Identifier: MIT
//
// The engine that applications test with, as they see it: behind operations of the library.
#include <testing/recordingengine.h>

#include <tessel/capability.h>

#include <QtTest>

using Tessel::Testing::RecordingEngine;

namespace {

const QString chipsPath = QStringLiteral("/api/v1/device/capability/chips");

RecordingEngine::Reply chips(const QByteArray& names)
{
    return RecordingEngine::data('[' + names + ']');
}

/// How many chips the library reads; -1 after a failure.
int chipsRead()
{
    QList<QVariant> read;
    return Capability::getInstance()->getAllChipType(QStringLiteral("wall"), read) ? int(read.size()) : -1;
}

} // namespace

class TestRecordingEngine : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init() { m_engine = RecordingEngine::install(); }

    void anOperationIsRecordedAndAnsweredWithoutADevice()
    {
        m_engine->answer(chips(R"({"id":1},{"id":2})"));
        QCOMPARE(chipsRead(), 2);
        QCOMPARE(m_engine->count(), 1);
        QCOMPARE(m_engine->last().deviceKey, QString("wall"));
        QCOMPARE(m_engine->last().method, RecordingEngine::Method::Get);
        QCOMPARE(RecordingEngine::pathOf(m_engine->last()), chipsPath);
    }

    void repliesOfTheListAreUsedInOrderAndThenTheOthers()
    {
        m_engine->answer(chips(R"({"id":1})"));
        m_engine->answerNext(chips({}));
        m_engine->answerNext(RecordingEngine::failure());
        QCOMPARE(m_engine->unusedReplies(), 2);
        QCOMPARE(chipsRead(), 0);
        QCOMPARE(chipsRead(), -1);
        QCOMPARE(m_engine->unusedReplies(), 0);
        QCOMPARE(chipsRead(), 1);
    }

    void aReplyForAMethodAndAPathIsForThoseAlone()
    {
        m_engine->answer(chips(R"({"id":1})"));
        m_engine->answer(RecordingEngine::Method::Put, chipsPath, RecordingEngine::failure());
        m_engine->answer(RecordingEngine::Method::Get, chipsPath + "/1", RecordingEngine::failure());
        QCOMPARE(chipsRead(), 1);
        m_engine->answer(RecordingEngine::Method::Get, chipsPath, chips(R"({"id":1},{"id":2},{"id":3})"));
        QCOMPARE(chipsRead(), 3);
    }

    void aPathHasItsPlaceholdersReplaced_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("expected");
        QTest::newRow("without") << "/api/v1/device"
                                 << "/api/v1/device";
        QTest::newRow("one") << "/api/{id}/name"
                             << "/api/7/name";
        QTest::newRow("two") << "/{id}/{kind}"
                             << "/7/a {id}";
        QTest::newRow("at the ends") << "{id}x{id}"
                                     << "7x7";
        QTest::newRow("unknown") << "/{other}/{id}"
                                 << "/{other}/7";
        QTest::newRow("open") << "/{id}/{id"
                              << "/7/{id";
        QTest::newRow("empty") << ""
                               << "";
    }
    void aPathHasItsPlaceholdersReplaced()
    {
        QFETCH(QString, path);
        QFETCH(QString, expected);
        RecordingEngine::Request request;
        request.path = path;
        request.placeHolders = {{"id", "7"}, {"kind", "a {id}"}};
        QCOMPARE(RecordingEngine::pathOf(request), expected);
    }

private:
    RecordingEngine* m_engine = nullptr; // the proxy's, until the next function
};

QTEST_GUILESS_MAIN(TestRecordingEngine)
#include "tst_recordingengine.moc"
