// SPDX-License-Identifier: MIT
//
// Gives a test program, and with it every program that it starts, an environment that is the same for each
// user. Linked into every test program; runs before main(), because Qt reads some of these variables with the
// first message and the C library with the first locale.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

/// What tells where programs and scratch space are, and what steers a sanitizer, a debugger, a mutation run
/// or Qt Test itself, and whether servers of other makers have to be there.
bool isKept(const std::string& name)
{
    static const std::vector<std::string> kept = {"PATH",
                                                  "TMPDIR",
                                                  "LD_LIBRARY_PATH",
                                                  "LD_PRELOAD",
                                                  "ASAN_OPTIONS",
                                                  "LSAN_OPTIONS",
                                                  "TSAN_OPTIONS",
                                                  "UBSAN_OPTIONS",
                                                  "QTEST_DISABLE_STACK_DUMP",
                                                  "QTEST_ENVIRONMENT",
                                                  "QTEST_FUNCTION_TIMEOUT",
                                                  "TESSEL_REQUIRE_PEERS",
                                                  "TESSEL_MUTANT",
                                                  "TESSEL_MUTANTS_REACHED"};
    return std::find(kept.begin(), kept.end(), name) != kept.end();
}

[[gnu::constructor]] void takeOwnEnvironment()
{
    std::vector<std::string> dropped;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        std::string name(*entry);
        name.resize(std::min(name.find('='), name.size()));
        if (!isKept(name)) {
            dropped.push_back(std::move(name));
        }
    }
    for (const std::string& name : dropped) {
        ::unsetenv(name.c_str());
    }
    ::setenv("LC_ALL", "C.UTF-8", 1);
    ::setenv("TZ", "UTC", 1);
    // No settings of the user apply, and nothing is left there.
    ::setenv("HOME", "/nonexistent", 1);
}

} // namespace
