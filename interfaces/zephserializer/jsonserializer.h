// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_JSONSERIALIZER_H
#define ZEPHSERIALIZER_JSONSERIALIZER_H

#include <zephserializer/abstractserializer.h>

namespace Zeph::Serialize {

/// Reads a record from a JSON object (RFC 8259), matching members to properties by name. It accepts exactly
/// the texts that the transport's decoders accept, with up to 256 levels of nesting. The thread rules of
/// AbstractSerializer apply.
class ZEPHSERIALIZER_EXPORT JsonSerializer : public AbstractSerializer
{
public:
    JsonSerializer();
    ~JsonSerializer() override;

protected:
    bool parse(const QByteArray& bytes, QMap<QString, QVariant>& out) const override;
};

} // namespace Zeph::Serialize

#endif
