// SPDX-License-Identifier: MIT
#include "communicator/http/replyreader.h"

#include <QtTest>

using namespace Krelm::Communicator::HttpDevice;
using State = IHttpVersionTrigger;

namespace {

void feed(ReplyReader& reader, const QByteArray& text)
{
    reader.feed(text.constData(), std::size_t(text.size()));
}

QByteArray headOf(int length)
{
    return "HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(length) + "\r\n\r\n";
}

} // namespace

class ReplyReaderTest : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void repliesShareTheMemoryForBodies()
    {
        TransferLimits limits;
        limits.allBodiesBytes = 1000;
        ReplyReader first(limits);
        feed(first, headOf(700) + QByteArray(600, 'a'));
        {
            ReplyReader second(limits);
            feed(second, headOf(500) + QByteArray(500, 'b'));
            QCOMPARE(second.finish(State::Success).state, State::LimitExceeded);
            QVERIFY(!second.reason().isEmpty());
            second.reset();
            feed(second, headOf(400) + QByteArray(400, 'c'));
            QCOMPARE(second.finish(State::Success).state, State::Success);
            second.reset();
            feed(second, headOf(400) + QByteArray(400, 'd')); // and goes while it holds them
        }
        feed(first, QByteArray(100, 'a'));
        QCOMPARE(first.finish(State::Success).body, QByteArray(700, 'a'));
        ReplyReader third(limits);
        feed(third, headOf(1000) + QByteArray(1000, 'e'));
        QCOMPARE(third.finish(State::Success).state, State::Success);
        third.reset();
        feed(third, headOf(1001) + QByteArray(1000, 'f'));
        third.restart();
        feed(third, headOf(1000) + QByteArray(1000, 'g'));
        QCOMPARE(third.finish(State::Success).body, QByteArray(1000, 'g'));
    }
};

QTEST_GUILESS_MAIN(ReplyReaderTest)
#include "tst_replyreader.moc"
