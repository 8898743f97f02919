// SPDX-License-Identifier: MIT
//
// A reply and its framing. The first byte chooses how it is cut, the second what else is done; the rest is
// what the device sends.
#include "communicator/http/replyreader.h"

#include "fuzzing.h"

using namespace Krelm::Communicator::HttpDevice;

namespace {

// Small, so that inputs reach them.
TransferLimits limits()
{
    TransferLimits limits;
    limits.bodyBytes = 2048;
    limits.smallBodyBytes = 512;
    limits.headerBytes = 1024;
    limits.headerLines = 16;
    return limits;
}

struct Outcome
{
    HttpReply reply;
    ResponseParser::State state;
    bool keepsConnection;
    QString error;
    qint64 expected;
    qint64 received;
};

Outcome read(ReplyReader& reader, const QByteArray& text, unsigned seed, bool ends)
{
    auto state = ResponseParser::State::Reading;
    Fuzzing::inPieces(text, seed, [&](const char* bytes, std::size_t size) {
        state = reader.feed(bytes, size);
        return true; // what follows the reply has to be noticed
    });
    if (ends) {
        state = reader.end();
    }
    Outcome outcome{{}, state, reader.keepsConnection(), {}, reader.expected(), reader.received()};
    outcome.reply = reader.finish(IHttpVersionTrigger::Success);
    outcome.error = reader.error();
    return outcome;
}

void expectSame(const Outcome& one, const Outcome& other)
{
    FUZZ_EXPECT(one.state == other.state);
    FUZZ_EXPECT(one.keepsConnection == other.keepsConnection);
    FUZZ_EXPECT(one.reply.state == other.reply.state);
    FUZZ_EXPECT(one.reply.status == other.reply.status);
    FUZZ_EXPECT(one.reply.headers == other.reply.headers);
    FUZZ_EXPECT(one.reply.body == other.reply.body);
    FUZZ_EXPECT(one.error == other.error);
    FUZZ_EXPECT(one.expected == other.expected);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Fuzzing::Input input(bytes, size);
    const unsigned seed = input.byte();
    const bool ends = (input.byte() & 1U) != 0;
    const QByteArray text = input.rest();

    const TransferLimits allowed = limits();
    ReplyReader reader(allowed);
    reader.reset();
    const Outcome whole = read(reader, text, 0, ends);
    // The cuts between pieces are the network's, and say nothing.
    reader.reset();
    expectSame(whole, read(reader, text, seed, ends));
    reader.reset();
    expectSame(whole, read(reader, text, 1, ends));
    // A reply that is discarded leaves nothing behind.
    reader.reset();
    reader.feed(text.constData(), static_cast<std::size_t>(text.size() / 2));
    reader.restart();
    expectSame(whole, read(reader, text, 0, ends));

    const HttpReply& reply = whole.reply;
    FUZZ_EXPECT(reply.body.size() <= allowed.bodyBytes);
    FUZZ_EXPECT(reply.body.size() <= text.size());
    FUZZ_EXPECT(reply.headers.size() <= allowed.headerLines);
    FUZZ_EXPECT(reply.state == IHttpVersionTrigger::Success || !whole.error.isEmpty());
    FUZZ_EXPECT(!whole.keepsConnection || whole.state == ResponseParser::State::Complete);
    FUZZ_EXPECT(!ends || whole.state != ResponseParser::State::Reading);
    if (reply.state == IHttpVersionTrigger::Success) {
        FUZZ_EXPECT(reply.status >= 200 && reply.status < 300 && reply.status != 206);
        FUZZ_EXPECT(whole.state == ResponseParser::State::Complete);
        FUZZ_EXPECT(reply.body.size() == whole.received);
        FUZZ_EXPECT(whole.expected < 0 || reply.status == 204 || whole.received == whole.expected);
    }
    // What a header holds cannot become another one.
    for (auto header = reply.headers.cbegin(); header != reply.headers.cend(); ++header) {
        FUZZ_EXPECT(!header.key().isEmpty());
        FUZZ_EXPECT(!header->contains(QLatin1Char('\n')) && !header->contains(QLatin1Char('\r')));
    }
    return 0;
}
