// SPDX-License-Identifier: MIT
// The interfaces' out-of-line destructors: one home for each vtable.
#include "communicator/httpengine.h"

#include <communicator/ihttpversiontrigger.h>
#include <communicator/ipackagetrigger.h>

namespace Krelm::Communicator {

IPackageTrigger::~IPackageTrigger() = default;

namespace HttpDevice {

IHttpVersionTrigger::~IHttpVersionTrigger() = default;
HttpEngine::~HttpEngine() = default;

} // namespace HttpDevice
} // namespace Krelm::Communicator
