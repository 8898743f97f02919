// SPDX-License-Identifier: MIT
#include "tesselctl/commandline.h"

int main(int argc, char** argv)
{
    return TesselCtl::runCommandLine(argc, argv);
}
