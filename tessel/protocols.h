// SPDX-License-Identifier: MIT
#ifndef TESSEL_PROTOCOLS_H
#define TESSEL_PROTOCOLS_H

#include <cstddef>

namespace Tessel {

/// The two protocols of controllers. `HWInfo::getHwProtoc` asks which one a device speaks.
enum class Protocol {
    SingleScreen, ///< one screen; "/api/protocol/version" and the multi-screen routes answer 404
    MultiScreen   ///< several screens, capability version "V3.0"
};

/// A protocol and its name in output, options and documents.
struct ProtocolRow
{
    Protocol protocol; ///< the protocol
    const char* name;  ///< its name
};

inline constexpr ProtocolRow protocols[] = {
    {Protocol::SingleScreen, "single-screen"},
    {Protocol::MultiScreen, "multi-screen"},
};

constexpr const char* protocolName(Protocol protocol)
{
    return protocols[static_cast<std::size_t>(protocol)].name;
}
static_assert(protocols[0].protocol == Protocol::SingleScreen &&
                  protocols[1].protocol == Protocol::MultiScreen,
              "each protocol has its row, in the enumerators' order");

} // namespace Tessel

#endif
