// SPDX-License-Identifier: MIT
#include <zephserializer/abstractserializer.h>

#include <zephserializer/serializable.h>

namespace Zeph::Serialize {

AbstractSerializer::AbstractSerializer() = default;

AbstractSerializer::~AbstractSerializer() = default;

void AbstractSerializer::setAttribute(QFlags<Attribute> attribute)
{
    m_attribute = attribute;
}

QFlags<Attribute> AbstractSerializer::attribute() const
{
    return m_attribute;
}

bool AbstractSerializer::load(const QByteArray& bytes, Serializable* target, const QString& name) const
{
    QMap<QString, QVariant> members;
    if (target == nullptr || !parse(bytes, members)) {
        return false;
    }
    if (!name.isEmpty()) {
        const QVariant member = members.value(name);
        if (member.userType() != QMetaType::QVariantMap) {
            return false;
        }
        members = member.toMap();
    }
    target->deserialize(members, m_attribute);
    return true;
}

} // namespace Zeph::Serialize
