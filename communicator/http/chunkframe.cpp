// SPDX-License-Identifier: MIT
#include "communicator/http/chunkframe.h"

#include "communicator/http/headername.h"

namespace Krelm::Communicator::HttpDevice {

namespace {

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

bool isText(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return (byte >= ' ' && byte != 0x7F) || c == '\t';
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    if (c >= 'a' && c <= 'f') {
        return c - 'a' + 10;
    }
    return c >= 'A' && c <= 'F' ? c - 'A' + 10 : -1;
}

} // namespace

void ChunkFrame::begin(bool followsData)
{
    m_at = followsData ? At::DataReturn : At::FirstDigit;
    m_size = 0;
}

bool ChunkFrame::take(std::string_view bytes)
{
    for (const char c : bytes) {
        if (m_at == At::Done || m_at == At::Wrong) {
            break;
        }
        m_at = next(c);
    }
    return m_at != At::Wrong;
}

ChunkFrame::At ChunkFrame::next(char c)
{
    const auto only = [c](char expected, At then) { return c == expected ? then : At::Wrong; };
    switch (m_at) {
    case At::DataReturn:
        return only('\r', At::DataFeed);
    case At::DataFeed:
        return only('\n', At::FirstDigit);
    case At::FirstDigit:
        return hexValue(c) < 0 ? At::Wrong : digit(c);
    case At::Digits:
        return hexValue(c) < 0 ? behindWord(c) : digit(c);
    case At::AfterValue:
        return behindWord(c);
    case At::Blanks:
        return isBlank(c) ? At::Blanks : only(';', At::NameBegin);
    case At::NameBegin:
        return isBlank(c) ? At::NameBegin : isTokenCharacter(c) ? At::Name : At::Wrong;
    case At::Name:
        return isTokenCharacter(c) ? At::Name
               : isBlank(c)        ? At::AfterName
               : c == '='          ? At::ValueBegin
                                   : behindWord(c);
    case At::AfterName:
        return isBlank(c) ? At::AfterName : c == '=' ? At::ValueBegin : only(';', At::NameBegin);
    case At::ValueBegin:
        return isBlank(c) ? At::ValueBegin : isTokenCharacter(c) ? At::Value : only('"', At::Quoted);
    case At::Value:
        return isTokenCharacter(c) ? At::Value : behindWord(c);
    case At::Quoted:
        return c == '\r' ? At::Wrong : c == '"' ? At::AfterValue : c == '\\' ? At::Escaped : At::Quoted;
    case At::Escaped:
        return c == '\r' ? At::Wrong : At::Quoted;
    case At::SizeFeed:
        return only('\n', m_size == 0 ? At::TrailerFirst : At::Done);
    case At::TrailerFirst:
        return trailerLine(c);
    case At::TrailerName:
        return isTokenCharacter(c) ? At::TrailerName : only(':', At::TrailerValue);
    case At::TrailerValue:
        return isText(c) ? At::TrailerValue : only('\r', At::TrailerFeed);
    case At::TrailerFeed:
        return only('\n', At::TrailerNext);
    case At::TrailerNext:
        return isBlank(c) ? At::TrailerValue : trailerLine(c); // a folded line
    case At::LastFeed:
        return only('\n', At::Done);
    case At::Done:
    case At::Wrong:
        break;
    }
    return m_at;
}

ChunkFrame::At ChunkFrame::digit(char c)
{
    if (m_size >> 60U != 0) {
        return At::Wrong; // a size beyond 64 bits
    }
    m_size = (m_size << 4U) + static_cast<std::uint64_t>(hexValue(c));
    return At::Digits;
}

ChunkFrame::At ChunkFrame::behindWord(char c)
{
    return c == '\r' ? At::SizeFeed : c == ';' ? At::NameBegin : isBlank(c) ? At::Blanks : At::Wrong;
}

ChunkFrame::At ChunkFrame::trailerLine(char c)
{
    return c == '\r' ? At::LastFeed : isTokenCharacter(c) ? At::TrailerName : At::Wrong;
}

} // namespace Krelm::Communicator::HttpDevice
