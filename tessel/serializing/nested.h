// SPDX-License-Identifier: MIT
#ifndef TESSEL_SERIALIZING_NESTED_H
#define TESSEL_SERIALIZING_NESTED_H

#include <zephserializer/attribute.h>

#include <QList>
#include <QVariant>

namespace Tessel {

/// The maps of @p records, in order.
template <typename Record>
QList<QVariant> serializeAll(const QList<Record>& records, QFlags<Zeph::Serialize::Attribute> attribute)
{
    QList<QVariant> maps;
    maps.reserve(records.size());
    for (const Record& record : records) {
        maps.append(record.serialize(attribute));
    }
    return maps;
}

/// One record per element of @p maps, in order; an element that is not a map gives a default-constructed
/// record.
template <typename Record>
QList<Record> deserializeAll(const QList<QVariant>& maps, QFlags<Zeph::Serialize::Attribute> attribute)
{
    QList<Record> records;
    records.reserve(maps.size());
    for (const QVariant& map : maps) {
        records.append(Record());
        records.last().deserialize(map.toMap(), attribute);
    }
    return records;
}

} // namespace Tessel

#endif
