// SPDX-License-Identifier: MIT
#ifndef JSON_TOKENCOUNTER_H
#define JSON_TOKENCOUNTER_H

#include <cstddef>

namespace JsonText {

/// Counts the tokens of a JSON text that comes in pieces, which may end anywhere: brackets, commas, colons,
/// strings, and words such as numbers. What a text becomes is bounded by their number, and so is what reading
/// it takes. Counts in any bytes, JSON or not. Used by one thread at a time.
class TokenCounter
{
public:
    void add(const char* bytes, std::size_t size);
    std::size_t count() const { return m_count; }

private:
    enum class Within { Nothing, Word, String, Escape };

    std::size_t m_count = 0;
    Within m_within = Within::Nothing;
};

} // namespace JsonText

#endif
