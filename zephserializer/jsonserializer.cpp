// SPDX-License-Identifier: MIT
#include <zephserializer/jsonserializer.h>

#include <json/jsonreader.h>

namespace Zeph::Serialize {

JsonSerializer::JsonSerializer() = default;

JsonSerializer::~JsonSerializer() = default;

bool JsonSerializer::parse(const QByteArray& bytes, QMap<QString, QVariant>& out) const
{
    return JsonText::readObject(bytes, out);
}

} // namespace Zeph::Serialize
