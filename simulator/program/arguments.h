// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_PROGRAM_ARGUMENTS_H
#define SIMULATOR_PROGRAM_ARGUMENTS_H

#include <simulator/options.h>

namespace Tessel::Simulator {

/// What the command line of tessel-sim asks for.
struct Arguments
{
    Options options;         ///< of the first controller
    QString certificateFile; ///< where the certificates go; empty: nowhere
    int devices = 1;
    int threads = 1;
};

/// Reads the command line. @return false when the program is to end with @p exitCode: after a mistake, which
/// has been printed, or after help and version.
bool parseArguments(int argc, char** argv, Arguments& arguments, int& exitCode);

} // namespace Tessel::Simulator

#endif
