// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_JSONSERIALIZER_H
#define ZEPHSERIALIZER_JSONSERIALIZER_H

#include <zephserializer/abstractserializer.h>

namespace Zeph::Serialize {

/// Reads a record from a JSON object (RFC 8259): members match properties by name. What the transport's
/// decoders take for JSON, and no more, it takes as well: up to 256 levels. Threads as AbstractSerializer.
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
