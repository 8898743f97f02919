// SPDX-License-Identifier: MIT
#ifndef TESTS_FUZZING_H
#define TESTS_FUZZING_H

#include <QByteArray>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

/// Tries one subject with one input: by the fuzzer, or by the test that replays the corpus.
/// @return 0. What does not hold ends the process.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);

namespace Fuzzing {

[[noreturn]] inline void fail(const char* file, int line, const char* condition)
{
    std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
    std::abort();
}

/// An input, of which a target takes decisions from the front and the rest as its subject's text.
class Input
{
public:
    Input(const std::uint8_t* bytes, std::size_t size)
        : m_at(reinterpret_cast<const char*>(bytes))
        , m_size(static_cast<int>(size))
    {}

    bool isEmpty() const { return m_size == 0; }

    /// The next byte; 0 at the end.
    unsigned byte()
    {
        if (m_size == 0) {
            return 0;
        }
        --m_size;
        return static_cast<unsigned char>(*m_at++);
    }

    /// What comes before the next @p separator, which is skipped.
    QByteArray until(char separator)
    {
        const QByteArray all = QByteArray::fromRawData(m_at, m_size);
        const int found = static_cast<int>(all.indexOf(separator));
        const int length = found < 0 ? m_size : found;
        const QByteArray text(m_at, length);
        const int taken = found < 0 ? length : length + 1;
        m_at += taken;
        m_size -= taken;
        return text;
    }

    QByteArray rest()
    {
        const QByteArray text(m_at, m_size);
        m_size = 0;
        return text;
    }

private:
    const char* m_at;
    int m_size;
};

/// Passes @p text to @p take(bytes, size) in pieces, each in memory of its own so that a look beyond its end
/// is seen. Their lengths follow from @p seed: 0 for all at once, 1 for single bytes. Stops when @p take
/// returns `false`.
template <typename Take>
void inPieces(const QByteArray& text, unsigned seed, Take take)
{
    int at = 0;
    while (at < text.size()) {
        const int left = static_cast<int>(text.size()) - at;
        int length = left;
        if (seed != 0) {
            if (seed == 1) {
                length = 1;
            } else {
                length = std::min(left, 1 + static_cast<int>((seed >> 16) % 40));
                seed = (seed * 1103515245U + 12345U) | 2U;
            }
        }
        const QByteArray piece(text.constData() + at, length);
        at += length;
        if (!take(piece.constData(), static_cast<std::size_t>(length))) {
            return;
        }
    }
}

} // namespace Fuzzing

/// What has to hold for every input.
#define FUZZ_EXPECT(condition)                                                                               \
    do {                                                                                                     \
        if (!(condition)) {                                                                                  \
            Fuzzing::fail(__FILE__, __LINE__, #condition);                                                   \
        }                                                                                                    \
    } while (false)

#endif
