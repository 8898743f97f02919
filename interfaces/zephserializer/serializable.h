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

/// Base class of all records; reads and writes the properties in the record's meta-object.
///
/// A record is a value without shared state; an object must be used by only one thread at a time. The order
/// of the virtual functions is part of the binary interface and must not change.
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
    /// Returns a new copy of this record on the heap, owned by the caller.
    virtual Serializable* clone() const = 0;

    /// Returns the properties of the record by name.
    QMap<QString, QVariant> serialize(QFlags<Attribute> attribute) const;
    /// Sets each property that has a key in @p map; the others keep their values. A value that cannot be
    /// converted to the property's type leaves the property unchanged.
    void deserialize(const QMap<QString, QVariant>& map, QFlags<Attribute> attribute);
    /// The flags of the running serialize() or deserialize(), for nested records.
    QFlags<Attribute> attribute() const;

protected:
    /// What serialize() returns. A record that writes itself otherwise overrides it.
    virtual QMap<QString, QVariant> serializeInternal() const;
    /// What deserialize() does. A record that reads itself otherwise overrides it.
    virtual void deserializeInternal(const QMap<QString, QVariant>& map);

    /// Wraps the map of a nested record for its parent.
    QVariant packObjByAttribute(const QMap<QString, QVariant>& map) const;
    /// The reverse of packObjByAttribute(); empty if @p value is not a map.
    QMap<QString, QVariant> unpackObjByAttribute(const QVariant& value) const;
    /// Wraps the maps of a list of nested records; @p className is the class of the items.
    QVariant packListByAttribute(const QList<QVariant>& list, const char* className) const;
    /// The reverse of packListByAttribute(); empty if @p value is not a list.
    QList<QVariant> unpackListByAttribute(const QVariant& value, const char* className) const;

private:
    mutable QFlags<Attribute> m_attribute;
};

} // namespace Zeph::Serialize

#endif
