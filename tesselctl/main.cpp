// SPDX-License-Identifier: MIT
#include "commandline.h"

int main(int argc, char** argv)
{
    return TesselCtl::runCommandLine(argc, argv);
}
