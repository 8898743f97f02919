// SPDX-License-Identifier: MIT
#include <zephserializer/serializable.h>

#include <QMetaProperty>
#include <QScopedValueRollback>

namespace Zeph::Serialize {

// Records are values, so the parent in the base class's interface is ignored.
Serializable::Serializable(Serializable* /*parent*/) {}

Serializable::Serializable(const Serializable& other, Serializable* /*parent*/)
    : m_attribute(other.m_attribute)
{}

Serializable& Serializable::operator=(const Serializable& other) = default;

const QMetaObject* Serializable::metaObject() const
{
    return &staticMetaObject;
}

Serializable::~Serializable() = default;

QMap<QString, QVariant> Serializable::serialize(QFlags<Attribute> attribute) const
{
    const QScopedValueRollback<QFlags<Attribute>> running(m_attribute, attribute);
    return serializeInternal();
}

void Serializable::deserialize(const QMap<QString, QVariant>& map, QFlags<Attribute> attribute)
{
    const QScopedValueRollback<QFlags<Attribute>> running(m_attribute, attribute);
    deserializeInternal(map);
}

QFlags<Attribute> Serializable::attribute() const
{
    return m_attribute;
}

QMap<QString, QVariant> Serializable::serializeInternal() const
{
    QMap<QString, QVariant> map;
    const QMetaObject* meta = metaObject();
    for (int i = 0; i < meta->propertyCount(); ++i) {
        const QMetaProperty property = meta->property(i);
        map.insert(QString::fromUtf8(property.name()), property.readOnGadget(this));
    }
    return map;
}

void Serializable::deserializeInternal(const QMap<QString, QVariant>& map)
{
    const QMetaObject* meta = metaObject();
    for (int i = 0; i < meta->propertyCount(); ++i) {
        const QMetaProperty property = meta->property(i);
        const auto found = map.constFind(QString::fromUtf8(property.name()));
        if (found == map.constEnd()) {
            continue;
        }
        // Qt would set a typed property to its default for a value that is null or invalid.
        if (found->isNull() && found->userType() != property.userType() &&
            property.userType() != QMetaType::QVariant) {
            continue;
        }
        property.writeOnGadget(this, *found);
    }
}

QVariant Serializable::packObjByAttribute(const QMap<QString, QVariant>& map) const
{
    return map;
}

QMap<QString, QVariant> Serializable::unpackObjByAttribute(const QVariant& value) const
{
    return value.toMap();
}

QVariant Serializable::packListByAttribute(const QList<QVariant>& list, const char* /*className*/) const
{
    return list;
}

QList<QVariant> Serializable::unpackListByAttribute(const QVariant& value, const char* /*className*/) const
{
    // With Qt 6 a text would become a list of its characters.
    const bool isText = value.userType() == QMetaType::QString || value.userType() == QMetaType::QByteArray;
    return isText ? QList<QVariant>() : value.toList();
}

} // namespace Zeph::Serialize
