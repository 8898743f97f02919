// SPDX-License-Identifier: MIT
#include "communicator/runtime/backgroundthread.h"

#include <csignal>
#include <pthread.h>
#include <system_error>
#include <thread>

namespace Krelm::Communicator::HttpDevice {

bool runInBackground(const std::function<void()>& task)
{
    // The application's signals are handled on its own threads.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    bool isStarted = true;
    try {
        std::thread(task).detach();
    } catch (const std::system_error&) {
        isStarted = false;
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
    return isStarted;
}

} // namespace Krelm::Communicator::HttpDevice
