// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_HTTP_CHUNKFRAME_H
#define COMMUNICATOR_HTTP_CHUNKFRAME_H

#include <cstdint>
#include <string_view>

namespace Krelm::Communicator::HttpDevice {

/// The framing of one chunk that has not come whole: the end of the chunk before, the size, its extensions
/// and, after the last chunk, the trailer. It tells a wrong byte when it comes, not when the frame is whole:
/// a device that stops there would otherwise be waited for. It refuses nothing that the grammar of the
/// response accepts. Used by one thread at a time.
class ChunkFrame
{
public:
    /// Begins a frame, which is behind the data of another chunk if @p followsData.
    void begin(bool followsData);
    /// Takes the next bytes; those behind the frame are not looked at.
    /// @return whether the frame can still become one.
    bool take(std::string_view bytes);

private:
    enum class At {
        DataReturn,   ///< the carriage return behind the data
        DataFeed,     ///< and its line feed
        FirstDigit,   ///< of the size
        Digits,       ///< the others
        AfterValue,   ///< of an extension
        Blanks,       ///< before an extension
        NameBegin,    ///< of an extension
        Name,         ///< of an extension
        AfterName,    ///< blanks behind it
        ValueBegin,   ///< of an extension
        Value,        ///< of an extension
        Quoted,       ///< value of an extension
        Escaped,      ///< byte of it
        SizeFeed,     ///< the line feed that ends the line of the size
        TrailerFirst, ///< the first byte of the trailer
        TrailerName,  ///< of a field
        TrailerValue, ///< of a field
        TrailerFeed,  ///< the line feed that ends the line of a field
        TrailerNext,  ///< the first byte of the line behind a field
        LastFeed,     ///< the line feed that ends the body
        Done,
        Wrong
    };

    At next(char c);
    At digit(char c);
    static At behindWord(char c);
    static At trailerLine(char c);

    At m_at = At::FirstDigit;
    std::uint64_t m_size = 0;
};

} // namespace Krelm::Communicator::HttpDevice

#endif
