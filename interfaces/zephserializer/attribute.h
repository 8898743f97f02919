// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_ATTRIBUTE_H
#define ZEPHSERIALIZER_ATTRIBUTE_H

#include <QFlags>

namespace Zeph::Serialize {

// Quirk: The flags of a serialisation change nothing.
/// Flags that travel with a serialisation. Two values are in use: none, and 32 on a serializer that reads
/// replies. The open serializer wraps nested records the same way under all of them.
enum Attribute {
    NoAttribute = 0,    ///< as it comes
    ReplyAttribute = 32 ///< the bytes are a device's reply
};
Q_DECLARE_FLAGS(Attributes, Attribute)
Q_DECLARE_OPERATORS_FOR_FLAGS(Attributes)

} // namespace Zeph::Serialize

#endif
