// SPDX-License-Identifier: MIT
//
// Included by every mutated source: which mutant is on, and which ones a test reaches.
#ifndef MUTATION_H
#define MUTATION_H

#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <type_traits>
#include <unistd.h>

namespace mutation {

/// The number of the mutant that TESSEL_MUTANT names; 0, which no mutant has, without it.
inline int active()
{
    static const int number = [] {
        const char* const text = std::getenv("TESSEL_MUTANT");
        return text == nullptr ? 0 : std::atoi(text);
    }();
    return number;
}

/// A byte for every mutant, in the file that TESSEL_MUTANTS_REACHED names. A mapped file keeps what a program
/// reached that crashed, and gathers what the programs reach that it starts.
inline unsigned char* reached()
{
    static unsigned char* const bytes = []() -> unsigned char* {
        const char* const path = std::getenv("TESSEL_MUTANTS_REACHED");
        const int file = path == nullptr ? -1 : ::open(path, O_RDWR | O_CLOEXEC);
        struct stat status;
        if (file < 0 || ::fstat(file, &status) != 0) {
            return nullptr;
        }
        void* const map = ::mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ | PROT_WRITE,
                                 MAP_SHARED, file, 0);
        ::close(file);
        return map == MAP_FAILED ? nullptr : static_cast<unsigned char*>(map);
    }();
    return bytes;
}

/// Whether mutant @p number is the one to run.
inline bool on(int number)
{
    if (unsigned char* const bytes = reached()) {
        bytes[number] = 1;
    }
    return active() == number;
}

/// A call in a chain, which mutant @p number leaves out.
template <class Object, class Call>
std::remove_reference_t<Object>& link(int number, Object&& object, Call call)
{
    if (!on(number)) {
        call(object);
    }
    return object;
}

} // namespace mutation

#endif
