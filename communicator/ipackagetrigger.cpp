// SPDX-License-Identifier: MIT
#include <communicator/ipackagetrigger.h>

namespace Krelm::Communicator {

IPackageTrigger::~IPackageTrigger() = default;

} // namespace Krelm::Communicator
