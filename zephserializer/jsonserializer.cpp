// SPDX-License-Identifier: MIT
#include <zephserializer/jsonserializer.h>

#include <QJsonDocument>
#include <QJsonObject>

namespace Zeph::Serialize {

JsonSerializer::JsonSerializer() = default;

JsonSerializer::~JsonSerializer() = default;

bool JsonSerializer::parse(const QByteArray& bytes, QMap<QString, QVariant>& out) const
{
    const QJsonDocument document = QJsonDocument::fromJson(bytes);
    if (!document.isObject())
        return false;
    out = document.object().toVariantMap();
    return true;
}

} // namespace Zeph::Serialize
