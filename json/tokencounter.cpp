// SPDX-License-Identifier: MIT
#include <json/tokencounter.h>

#include <array>

namespace JsonText {

namespace {

enum Kind : unsigned char { Other, Space, Bracket, Quote };

constexpr std::array<Kind, 256> makeKinds()
{
    std::array<Kind, 256> kinds{};
    for (const unsigned char c : {' ', '\t', '\r', '\n'}) {
        kinds[c] = Space;
    }
    for (const unsigned char c : {'{', '}', '[', ']', ',', ':'}) {
        kinds[c] = Bracket;
    }
    kinds['"'] = Quote;
    return kinds;
}

constexpr std::array<Kind, 256> kinds = makeKinds();

} // namespace

void TokenCounter::add(const char* bytes, std::size_t size)
{
    const char* const end = bytes + size;
    std::size_t count = m_count;
    Within within = m_within;
    for (const char* p = bytes; p != end; ++p) {
        if (within == Within::Escape) {
            within = Within::String;
            continue;
        }
        if (within == Within::String) {
            while (p != end && *p != '"' && *p != '\\') {
                ++p;
            }
            if (p == end) {
                break;
            }
            within = *p == '"' ? Within::Nothing : Within::Escape;
            continue;
        }
        switch (kinds[static_cast<unsigned char>(*p)]) {
        case Space:
            within = Within::Nothing;
            break;
        case Bracket:
            within = Within::Nothing;
            ++count;
            break;
        case Quote:
            within = Within::String;
            ++count;
            break;
        case Other:
            count += within == Within::Word ? 0 : 1;
            within = Within::Word;
            break;
        }
    }
    m_count = count;
    m_within = within;
}

} // namespace JsonText
