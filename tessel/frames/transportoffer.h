// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_TRANSPORTOFFER_H
#define TESSEL_FRAMES_TRANSPORTOFFER_H

#include <QByteArray>

namespace Tessel {

/// The function that the slot @p name of the transport returns, called with @p argument if that is not null;
/// 0 if the transport has no such slot. By name, so that a transport that lacks it is used as it is.
quintptr offeredByTransport(const char* name, const char* argument = nullptr);

} // namespace Tessel

#endif
