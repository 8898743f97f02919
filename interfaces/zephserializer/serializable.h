// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_SERIALIZABLE_H
#define ZEPHSERIALIZER_SERIALIZABLE_H

#include <zephserializer/attribute.h>
#include <zephserializer/zephserializerexport.h>

#include <QList>
#include <QMap>
#include <QObject>
#include <QVariant>

namespace Zeph::Serialize {

/// Base of every record: walks the properties of the record's meta-object.
///
/// A record is a value without shared state; one object is used by one thread at a time. The order of the
/// virtual operations is part of the binary interface and does not change.
class ZEPHSERIALIZER_EXPORT Serializable
{
    Q_GADGET
public:
    /// A record without a value of its own. @p parent is ignored: a record owns nothing and is owned by
    /// nobody.
    explicit Serializable(Serializable* parent = nullptr);
    /// Copies the flags. @p parent is ignored.
    Serializable(const Serializable& other, Serializable* parent = nullptr);
    /// Copies the flags.
    Serializable& operator=(const Serializable& other);

    /// The meta-object of the record's own class.
    virtual const QMetaObject* metaObject() const;
    virtual ~Serializable();
    /// A new copy of this record on the heap, owned by the caller.
    virtual Serializable* clone() const = 0;

    /// One entry per property of the record: name and value.
    QMap<QString, QVariant> serialize(QFlags<Attribute> attribute) const;
    /// Sets each property that @p map has a key for; the others keep their value. A value that does not
    /// convert to the property's type leaves the property as it is.
    void deserialize(const QMap<QString, QVariant>& map, QFlags<Attribute> attribute);
    /// The flags of the serialize() or deserialize() that runs now, for nested records.
    QFlags<Attribute> attribute() const;

protected:
    /// What serialize() returns. A record that writes itself otherwise overrides it.
    virtual QMap<QString, QVariant> serializeInternal() const;
    /// What deserialize() does. A record that reads itself otherwise overrides it.
    virtual void deserializeInternal(const QMap<QString, QVariant>& map);

    /// Wraps the map of a nested record for its parent.
    QVariant packObjByAttribute(const QMap<QString, QVariant>& map) const;
    /// The reverse of packObjByAttribute(); empty when @p value is no map.
    QMap<QString, QVariant> unpackObjByAttribute(const QVariant& value) const;
    /// Wraps the maps of a list of nested records; @p className is the item's.
    QVariant packListByAttribute(const QList<QVariant>& list, const char* className) const;
    /// The reverse of packListByAttribute(); empty when @p value is no list.
    QList<QVariant> unpackListByAttribute(const QVariant& value, const char* className) const;

private:
    mutable QFlags<Attribute> m_attribute;
};

} // namespace Zeph::Serialize

#endif
