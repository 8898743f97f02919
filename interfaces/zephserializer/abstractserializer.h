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

/// Reads a record from a serialised document. An object must be used by only one thread at a time.
class ZEPHSERIALIZER_EXPORT AbstractSerializer
{
public:
    AbstractSerializer();
    virtual ~AbstractSerializer();

    /// Sets the flags that load() passes to the record.
    void setAttribute(QFlags<Attribute> attribute);
    /// The flags given to setAttribute(); initially none.
    QFlags<Attribute> attribute() const;
    /// Parses @p bytes and deserializes the document into @p target or, if @p name is not empty, only the
    /// member of that name.
    /// @return `false` with @p target unchanged if @p bytes is not a valid document or has no such member.
    bool load(const QByteArray& bytes, Serializable* target, const QString& name) const;

protected:
    /// Parses the document's top-level object. @return `false` if @p bytes is not a valid document.
    virtual bool parse(const QByteArray& bytes, QMap<QString, QVariant>& out) const = 0;

private:
    QFlags<Attribute> m_attribute;
    Q_DISABLE_COPY_MOVE(AbstractSerializer)
};

} // namespace Zeph::Serialize

#endif
