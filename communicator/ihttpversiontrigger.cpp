// SPDX-License-Identifier: MIT
#include <communicator/ihttpversiontrigger.h>

namespace Krelm::Communicator::HttpDevice {

IHttpVersionTrigger::~IHttpVersionTrigger() = default;

} // namespace Krelm::Communicator::HttpDevice
