// SPDX-License-Identifier: MIT
#ifndef SIMULATOR_TEXT_ENVELOPE_H
#define SIMULATOR_TEXT_ENVELOPE_H

#include <memory>
#include <string>
#include <string_view>

namespace Tessel::Simulator {

/// A reply body that connections can share.
using SharedText = std::shared_ptr<const std::string>;

/// {"code":...,"message":...,"data":...}; @p data must be JSON text.
SharedText envelope(int code, std::string_view message, std::string_view data = "{}");

/// The envelope of a success.
SharedText successEnvelope(std::string_view data = "{}");

} // namespace Tessel::Simulator

#endif
