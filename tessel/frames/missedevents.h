// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_MISSEDEVENTS_H
#define TESSEL_FRAMES_MISSEDEVENTS_H

#include <QByteArrayList>

namespace Tessel {

/// All events that make an operator fetch a list again, in the order of the rows, as the text that a device
/// would push if it could not say which element has changed.
QByteArrayList refreshingEvents();

/// Makes the transport report refreshingEvents() for a device whose events may have been missed. From any
/// thread; only the first call has an effect.
void reportMissedEvents();

} // namespace Tessel

#endif
