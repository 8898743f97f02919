// SPDX-License-Identifier: MIT
#include "communicator/runtime/uvlibrary.h"

#include <QLibrary>

namespace Krelm::Communicator::HttpDevice {

namespace {

constexpr int abiVersion = 1;

template <class Function>
void find(QLibrary& library, const char* name, Function& function)
{
    function = reinterpret_cast<Function>(library.resolve(name));
    if (function == nullptr) {
        qFatal("libuv has no %s: %s", name, qPrintable(library.errorString()));
    }
}

UvLibrary load()
{
    QLibrary library(QStringLiteral("uv"), abiVersion);
    library.setLoadHints(QLibrary::PreventUnloadHint | QLibrary::ResolveAllSymbolsHint);
    if (!library.load()) {
        qFatal("libuv cannot be loaded: %s", qPrintable(library.errorString()));
    }
    UvLibrary found{};
    find(library, "uv_async_init", found.asyncInit);
    find(library, "uv_async_send", found.asyncSend);
    find(library, "uv_close", found.close);
    find(library, "uv_loop_close", found.loopClose);
    find(library, "uv_loop_init", found.loopInit);
    find(library, "uv_poll_init", found.pollInit);
    find(library, "uv_poll_start", found.pollStart);
    find(library, "uv_poll_stop", found.pollStop);
    find(library, "uv_run", found.run);
    find(library, "uv_stop", found.stop);
    find(library, "uv_timer_init", found.timerInit);
    find(library, "uv_timer_start", found.timerStart);
    find(library, "uv_timer_stop", found.timerStop);
    find(library, "uv_update_time", found.updateTime);
    return found;
}

} // namespace

// A program that makes no call would wait for it at each of its starts if it were linked.
const UvLibrary& uv()
{
    static const UvLibrary library = load();
    return library;
}

} // namespace Krelm::Communicator::HttpDevice
