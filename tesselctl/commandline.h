// SPDX-License-Identifier: MIT
#ifndef TESSELCTL_COMMANDLINE_H
#define TESSELCTL_COMMANDLINE_H

namespace TesselCtl {

/// Reads the command line and runs the command it names. @return the exit code of the process.
int runCommandLine(int argc, char** argv);

} // namespace TesselCtl

#endif
