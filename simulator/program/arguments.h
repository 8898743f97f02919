// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_PROGRAM_ARGUMENTS_H
#define SIMULATOR_PROGRAM_ARGUMENTS_H

#include <simulator/options.h>

namespace Tessel::Simulator {

/// The parsed command line of tessel-sim.
struct Arguments
{
    Options options;         ///< of the first controller
    QString certificateFile; ///< where the certificates go; empty: nowhere
    int devices = 1;
    int threads = 1;
};

/// Parses the command line. @return false if the program should exit with @p exitCode: after an error, which
/// has been printed, or after --help and --version.
bool parseArguments(int argc, char** argv, Arguments& arguments, int& exitCode);

} // namespace Tessel::Simulator

#endif
