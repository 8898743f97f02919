// SPDX-License-Identifier: MIT
#include "communicator/runtime/lifecycle.h"

#include "communicator/runtime/uvlibrary.h"

#include <QCoreApplication>

#include <atomic>
#include <curl/curl.h>

namespace Krelm::Communicator::HttpDevice::Lifecycle {

namespace {

std::atomic<bool> closed{false};
std::atomic<void (*)()> stopTransport{nullptr};
std::atomic<void (*)()> restartTransport{nullptr};

void close()
{
    closed = true;
    if (void (*stop)() = stopTransport.load()) {
        stop();
    }
}

void open()
{
    closed = false;
    qAddPostRoutine(close);
    if (void (*restart)() = restartTransport.load()) {
        restart();
    }
}

// Covers programs that end without destroying a QCoreApplication, or that never had one.
struct ClosedAtExit
{
    ~ClosedAtExit() { close(); }
};

} // namespace

Q_COREAPP_STARTUP_FUNCTION(open)

bool isClosed()
{
    return closed;
}

void onChange(void (*stop)(), void (*restart)())
{
    stopTransport = stop;
    restartTransport = restart;
    static const ClosedAtExit guard;
}

void prepareConnections()
{
    // The TLS library frees its tables in an exit handler, which this call registers. Exit handlers run in
    // reverse order, so the guard must be registered after it: the transport then stops while TLS still
    // works.
    static const CURLcode initialised = curl_global_init(CURL_GLOBAL_DEFAULT);
    Q_UNUSED(initialised)
    uv(); // if it is missing, this is told here, and not in the middle of something
    static const ClosedAtExit guard;
}

} // namespace Krelm::Communicator::HttpDevice::Lifecycle
