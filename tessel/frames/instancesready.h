// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_INSTANCESREADY_H
#define TESSEL_FRAMES_INSTANCESREADY_H

namespace Tessel {

/// The source location of a guarded operation, for the system-error line.
struct CallSite
{
    CallSite(const char* inFile, const char* inFunction, int atLine = __builtin_LINE())
        : file(inFile)
        , function(inFunction)
        , line(atLine)
    {}
    const char* file;
    const char* function;
    int line;
};

/// The test of the guarded operations: whether route table and proxy exist. Writes the system-error line of
/// the first that is missing; for the route table with @p tableMessage.
bool instancesReady(const CallSite& site, const char* tableMessage);
/// The same on given instances.
bool instancesReady(const CallSite& site, const char* tableMessage, const void* routeTable,
                    const void* proxy);

} // namespace Tessel

#endif
