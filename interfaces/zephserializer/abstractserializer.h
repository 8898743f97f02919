// SPDX-License-Identifier: MIT
#ifndef ZEPHSERIALIZER_ABSTRACTSERIALIZER_H
#define ZEPHSERIALIZER_ABSTRACTSERIALIZER_H

#include <zephserializer/attribute.h>
#include <zephserializer/zephserializerexport.h>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QVariant>

namespace Zeph::Serialize {

class Serializable;

/// Reads a record from the bytes of a document. One object is used by one thread at a time.
class ZEPHSERIALIZER_EXPORT AbstractSerializer
{
public:
    AbstractSerializer();
    virtual ~AbstractSerializer();

    /// The flags that load() hands to the record.
    void setAttribute(QFlags<Attribute> attribute);
    /// The flags as they were set; none at first.
    QFlags<Attribute> attribute() const;
    /// Parses @p bytes and deserializes them into @p target; with a @p name, the member of that name.
    /// @return `false`, with @p target as it was, when the bytes are no valid document or hold no such
    /// member.
    bool load(const QByteArray& bytes, Serializable* target, const QString& name) const;

protected:
    /// Reads the document's top-level object. @return `false` when the bytes are no valid document.
    virtual bool parse(const QByteArray& bytes, QMap<QString, QVariant>& out) const = 0;

private:
    QFlags<Attribute> m_attribute;
    Q_DISABLE_COPY_MOVE(AbstractSerializer)
};

} // namespace Zeph::Serialize

#endif
