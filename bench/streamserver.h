// SPDX-License-Identifier: MIT
#ifndef BENCH_STREAMSERVER_H
#define BENCH_STREAMSERVER_H

#include <functional>
#include <string>

/// What a server does once all streams are open.
struct StreamScript
{
    int streams = 1;            ///< number of devices, each with one event stream
    std::string event;          ///< what is sent, one or more events in the text of a stream
    int times = 0;              ///< how often it is sent in all, on one stream after the other
    int pauseMicroseconds = 0;  ///< after each
    int outageMilliseconds = 0; ///< if not 0: cuts all streams, and then every connection for so long
};

/// Serves the event streams of many devices on one thread: waits until all are open, does what @p script
/// says, waits until all are closed, and begins anew. Passes their addresses to @p ready.
void serveStreams(const StreamScript& script, const std::function<void(const std::string&)>& ready);

#endif
