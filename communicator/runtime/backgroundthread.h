// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_BACKGROUNDTHREAD_H
#define COMMUNICATOR_RUNTIME_BACKGROUNDTHREAD_H

#include <functional>

namespace Krelm::Communicator::HttpDevice {

/// Runs @p task on a thread of its own, for which nobody waits, not even the end of the process. The thread
/// handles no signals. From any thread.
/// @return false if the system has no thread to give; @p task is then not run.
bool runInBackground(const std::function<void()>& task);

} // namespace Krelm::Communicator::HttpDevice

#endif
