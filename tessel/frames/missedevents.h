// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_MISSEDEVENTS_H
#define TESSEL_FRAMES_MISSEDEVENTS_H

#include <communicator/httpjsonpackage.h>

#include <QByteArrayList>

namespace Tessel {

/// All events that make an operator fetch a list again, in the order of the rows, as the text that a device
/// would push if it could not say which element has changed.
QByteArrayList refreshingEvents();

/// Makes the transport report refreshingEvents() for a device whose events may have been missed. From any
/// thread; only the first call has an effect.
void reportMissedEvents();

/// Whether @p reply, from which nothing was read, may be better some time later: a failure that may pass, or
/// a body that is not a JSON object. A device that does not know a path never will.
bool mayBeReadLater(const Krelm::Communicator::HttpDevice::HttpJsonPackage& reply);

/// Call this when an event of @p deviceKey made an operator fetch a list, @p reply is what came of it, and it
/// @p hasData. If not, and it mayBeReadLater(), the transport reports refreshingEvents() of the device again
/// later, or else the cache would stay wrong until the next change. From any thread.
void refreshed(const QString& deviceKey, const Krelm::Communicator::HttpDevice::HttpJsonPackage& reply,
               bool hasData);

} // namespace Tessel

#endif
