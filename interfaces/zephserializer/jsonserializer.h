// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_JSONSERIALIZER_H
#define ZEPHSERIALIZER_JSONSERIALIZER_H

#include <zephserializer/abstractserializer.h>

namespace Zeph::Serialize {

/// Reads a record from a JSON object: members match properties by name (RFC 8259). Threads as
/// AbstractSerializer.
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
