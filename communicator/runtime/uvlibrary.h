// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_UVLIBRARY_H
#define COMMUNICATOR_RUNTIME_UVLIBRARY_H

#include <uv.h>

namespace Krelm::Communicator::HttpDevice {

/// The functions of libuv that the loop uses, under libuv's names.
struct UvLibrary
{
    decltype(&uv_async_init) asyncInit;
    decltype(&uv_async_send) asyncSend;
    decltype(&uv_close) close;
    decltype(&uv_loop_close) loopClose;
    decltype(&uv_loop_init) loopInit;
    decltype(&uv_poll_init) pollInit;
    decltype(&uv_poll_start) pollStart;
    decltype(&uv_poll_stop) pollStop;
    decltype(&uv_run) run;
    decltype(&uv_stop) stop;
    decltype(&uv_timer_init) timerInit;
    decltype(&uv_timer_start) timerStart;
    decltype(&uv_timer_stop) timerStop;
    decltype(&uv_update_time) updateTime;
};

/// Loads libuv at the first call, which needs a free descriptor; ends the process if it cannot be loaded.
/// From any thread.
const UvLibrary& uv();

} // namespace Krelm::Communicator::HttpDevice

#endif
