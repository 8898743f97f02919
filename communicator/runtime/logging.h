// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_LOGGING_H
#define COMMUNICATOR_RUNTIME_LOGGING_H

#include <QLoggingCategory>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// `tessel.http`: a warning for each failed exchange, an info message for each finished one, and a warning
/// for each reply that should be decoded but is not a JSON object.
Q_DECLARE_LOGGING_CATEGORY(httpLog)
/// `tessel.events`: the activity of the event streams.
Q_DECLARE_LOGGING_CATEGORY(eventLog)

/// @p deviceKey in a form that can be logged: anything before an `@`, which could be a login, is masked, and
/// control characters are replaced.
QString printableKey(const QString& deviceKey);

} // namespace Krelm::Communicator::HttpDevice

#endif
