// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_MISSEDEVENTS_H
#define TESSEL_FRAMES_MISSEDEVENTS_H

#include <QByteArray>
#include <QList>

namespace Tessel {

/// Each event that makes an operator read a list anew, in the order of the rows, as the text that a device
/// would push when it cannot say which element changed.
QList<QByteArray> refreshingEvents();

/// Has the transport report refreshingEvents() of a device whose events may have been missed. From any
/// thread; calls after the first do nothing.
void reportMissedEvents();

} // namespace Tessel

#endif
