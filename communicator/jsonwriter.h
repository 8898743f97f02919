// SPDX-License-Identifier: MIT
#ifndef COMMUNICATOR_JSONWRITER_H
#define COMMUNICATOR_JSONWRITER_H

#include <communicator/communicatorexport.h>

#include <QByteArray>
#include <QVariant>

namespace Krelm::Communicator::Json {

/// Writes @p value as compact JSON in UTF-8. Internal to the transport; may be called from any thread.
///
/// Every type becomes what QJsonDocument makes of it, members in the order of their keys, with two
/// differences: integers are exact beyond 2^53, and a @p value that is neither map nor list is written as the
/// value that it is.
/// @return an empty array, which is no JSON text, when @p value nests deeper than 1024 levels.
COMMUNICATOR_EXPORT QByteArray write(const QVariant& value);

} // namespace Krelm::Communicator::Json

#endif
