// SPDX-License-Identifier: MIT
#include "communicator/httpengine.h"

namespace Krelm::Communicator::HttpDevice {

HttpEngine::~HttpEngine() = default;

} // namespace Krelm::Communicator::HttpDevice
