// SPDX-License-Identifier: MIT
#include "communicator/httpengine.h"

namespace Krelm::Communicator::HttpDevice {

HttpEngine::~HttpEngine() = default;

void HttpEngine::cancel(ExchangeId /*id*/) {}

void HttpEngine::cancelAll(const QString& /*deviceKey*/) {}

} // namespace Krelm::Communicator::HttpDevice
