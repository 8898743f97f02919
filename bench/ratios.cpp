// SPDX-License-Identifier: MIT
#include "ratios.h"

#include <cstdio>
#include <cstring>

namespace {

bool wanted = false;

} // namespace

void takeRatiosOption(int& argc, char** argv)
{
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--ratios") == 0) {
            wanted = true;
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    argv[argc] = nullptr;
}

void printRatio(const char* name, double value)
{
    if (wanted) {
        std::printf("ratio %s %.4f\n", name, value);
    }
}
