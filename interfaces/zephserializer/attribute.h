// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_ATTRIBUTE_H
#define ZEPHSERIALIZER_ATTRIBUTE_H

#include <QFlags>

namespace Zeph::Serialize {

// Quirk: The flags of a serialisation change nothing.
/// Flags passed along with a serialisation. Two values are used: none, and 32 when replies are read. They
/// make no difference to this serializer, which wraps nested records in the same way for all flags.
enum Attribute {
    NoAttribute = 0,    ///< no flags
    ReplyAttribute = 32 ///< the document is a device's reply
};
Q_DECLARE_FLAGS(Attributes, Attribute)
Q_DECLARE_OPERATORS_FOR_FLAGS(Attributes)

} // namespace Zeph::Serialize

#endif
