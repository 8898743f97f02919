// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_INSTANCESREADY_H
#define TESSEL_FRAMES_INSTANCESREADY_H

namespace Tessel {

/// The source location of a guarded operation, for the system-error line.
struct CallSite
{
    CallSite(const char* file_, const char* function_, int line_ = __builtin_LINE())
        : file(file_)
        , function(function_)
        , line(line_)
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
