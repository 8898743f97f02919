// SPDX-License-Identifier: MIT
//
// The event stream. The first byte chooses how it is cut; the rest is what the device sends.
#include "communicator/events/ssereader.h"

#include "communicator/events/continuity.h"
#include "fuzzing.h"

#include <vector>

using Krelm::Communicator::HttpDevice::Continuity;
using Krelm::Communicator::HttpDevice::SseReader;

namespace {

constexpr std::size_t maxBytes = 256; // small, so that inputs reach it
constexpr int maxIdBytes = 4096;

struct Outcome
{
    std::vector<SseReader::Event> events;
    bool isUsable = true;
    QByteArray lastId;
    std::optional<std::chrono::milliseconds> retry;
};

Outcome read(SseReader& reader, std::vector<SseReader::Event>& events, const QByteArray& text, unsigned seed)
{
    events.clear();
    Outcome outcome;
    Fuzzing::inPieces(text, seed, [&](const char* bytes, std::size_t size) {
        outcome.isUsable = reader.feed(bytes, size);
        return outcome.isUsable;
    });
    outcome.events = events;
    outcome.lastId = reader.lastEventId();
    outcome.retry = reader.takeRetry();
    FUZZ_EXPECT(!reader.takeRetry());
    return outcome;
}

Outcome readAnew(const QByteArray& text, unsigned seed)
{
    std::vector<SseReader::Event> events;
    SseReader reader(maxBytes, [&](SseReader::Event&& event) { events.push_back(std::move(event)); });
    return read(reader, events, text, seed);
}

void expectSameEvents(const Outcome& one, const Outcome& other)
{
    FUZZ_EXPECT(one.isUsable == other.isUsable);
    FUZZ_EXPECT(one.retry == other.retry);
    FUZZ_EXPECT(one.events.size() == other.events.size());
    for (std::size_t i = 0; i < one.events.size(); ++i) {
        FUZZ_EXPECT(one.events[i].id == other.events[i].id);
        FUZZ_EXPECT(one.events[i].data == other.events[i].data);
        FUZZ_EXPECT(one.events[i].isGap == other.events[i].isGap);
    }
}

void expectSame(const Outcome& one, const Outcome& other)
{
    expectSameEvents(one, other);
    FUZZ_EXPECT(one.lastId == other.lastId);
}

// An event that cannot follow the one before is missed, whatever came in between.
void expectGapsSeen(const std::vector<SseReader::Event>& events)
{
    Continuity continuity;
    continuity.opened({});
    for (const SseReader::Event& event : events) {
        if (event.isGap) {
            FUZZ_EXPECT(continuity.gapCame());
        }
        if (event.id) {
            continuity.idCame(*event.id);
            FUZZ_EXPECT(!continuity.isUnproven());
            FUZZ_EXPECT(event.data || !continuity.idCame(*event.id)); // the beginning of a stream repeats it
        } else {
            continuity.nothingProven();
        }
    }
    continuity.interrupted();
    FUZZ_EXPECT(continuity.opened({}));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    Fuzzing::Input input(bytes, size);
    const unsigned seed = input.byte();
    const QByteArray text = input.rest();

    std::vector<SseReader::Event> events;
    SseReader reader(maxBytes, [&](SseReader::Event&& event) { events.push_back(std::move(event)); });
    const Outcome whole = read(reader, events, text, 0);
    expectSame(whole, readAnew(text, seed));
    expectSame(whole, readAnew(text, 1));

    // A stream that begins anew has no memory but the last id.
    reader.reset();
    FUZZ_EXPECT(reader.lastEventId() == whole.lastId);
    reader.setLastEventId({});
    expectSame(whole, read(reader, events, text, seed));

    for (const SseReader::Event& event : whole.events) {
        FUZZ_EXPECT(event.id || event.data || event.isGap);
        FUZZ_EXPECT(!event.data || static_cast<std::size_t>(event.data->size()) < maxBytes);
        // An id is sent back as a header.
        FUZZ_EXPECT(!event.id || (event.id->size() <= maxIdBytes && !event.id->contains('\0') &&
                                  !event.id->contains('\n') && !event.id->contains('\r')));
    }
    FUZZ_EXPECT(!whole.lastId.contains('\0') && !whole.lastId.contains('\n') && !whole.lastId.contains('\r'));

    // All line ends are one.
    if (!text.contains('\r')) {
        QByteArray other = text;
        expectSame(whole, readAnew(other.replace('\n', "\r\n"), seed));
        other = text;
        expectSame(whole, readAnew(other.replace('\n', '\r'), seed));
    }
    // Comments are nothing, wherever a line begins.
    if (text.endsWith('\n') && whole.isUsable && !text.startsWith("\xEF\xBB\xBF")) {
        expectSame(whole, readAnew(":x\n" + text + ":\n", seed));
    }
    expectGapsSeen(whole.events);
    return 0;
}
