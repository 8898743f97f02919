// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_RUNTIME_LOGGING_H
#define COMMUNICATOR_RUNTIME_LOGGING_H

#include <QLoggingCategory>
#include <QString>

namespace Krelm::Communicator::HttpDevice {

/// `tessel.http`: one warning per failed exchange, one information line per finished one, one warning per
/// reply that was to be decoded and is no JSON object.
Q_DECLARE_LOGGING_CATEGORY(httpLog)
/// `tessel.events`: what the push channels do.
Q_DECLARE_LOGGING_CATEGORY(eventLog)

/// @p deviceKey as it may stand in a log line: what could be a login before an `@` is masked, control
/// characters are replaced.
QString printableKey(const QString& deviceKey);

} // namespace Krelm::Communicator::HttpDevice

#endif
