// SPDX-License-Identifier: MIT
//
// What the mutation run is checked on: a library, and the test of a part of it in the same program.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace {

// Each call of a chain gives the object itself.
class Text
{
public:
    Text& append(const std::string& part)
    {
        m_text += part;
        return *this;
    }
    std::string take() const { return m_text; }

private:
    std::string m_text;
};

constexpr int limit = 3;

int difference(int a, int b)
{
    return a - b;
}

std::string joined(const std::vector<std::string>& parts)
{
    Text text;
    for (const std::string& part : parts) {
        if (part.empty()) {
            continue;
        }
        text.append(part);
    }
    return text.take();
}

std::string greeting(const std::string& name)
{
    return Text().append("to ").append(name).take();
}

bool isSmall(int number)
{
    return number >= 0 && number < limit;
}

int shifted(int a, int b)
{
    const auto part = [&](bool wanted) { return wanted ? difference(a, b) : 0; };
    return part(true);
}

int place(int number)
{
    return isSmall(number) ? number : -1;
}

long next(long number)
{
    return number + 1L;
}

// Neither the moment nor the room is anybody's choice, `{}` is no value either, and which of both limits
// stands first is the same.
std::optional<int> bounded(int number, std::chrono::steady_clock::time_point until)
{
    std::string text;
    if (text.capacity() > 100) {
        return 100;
    }
    if (std::chrono::steady_clock::now() >= until) {
        return std::nullopt;
    }
    return std::clamp(number, place(0), limit);
}

// No test calls it: all its mutants live.
int untested(int number)
{
    return number + 1;
}

bool check()
{
    (void)&untested;
    return joined({"a", "", "b"}) == "ab" && greeting("you") == "to you" && isSmall(0) && isSmall(2) &&
           !isSmall(3) && !isSmall(-1) && shifted(5, 3) == 2 && place(2) == 2 && place(5) == -1 &&
           next(3) == 4 && !bounded(1, {}) && bounded(1, std::chrono::steady_clock::time_point::max()) == 1;
}

} // namespace

int main()
{
    const bool passes = check();
    std::puts(passes ? "PASS" : "FAIL!");
    return passes ? 0 : 1;
}
