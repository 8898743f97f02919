// SPDX-License-Identifier: MIT
#ifndef TESSEL_ENVELOPES_RAWRESPONSE_H
#define TESSEL_ENVELOPES_RAWRESPONSE_H

#include <zephserializer/serializable.h>

#include <QMap>
#include <QString>
#include <QVariant>

namespace Tessel {

/// The envelope of a device's reply with its members as parsed; missing members are invalid variants. A
/// value; an object must be used by only one thread at a time.
class RawResponse : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QVariant message MEMBER message)
    Q_PROPERTY(QVariant code MEMBER code)
    Q_PROPERTY(QVariant data MEMBER data)
public:
    const QMetaObject* metaObject() const override;
    Zeph::Serialize::Serializable* clone() const override;

    /// The members that the reply has.
    QMap<QString, QVariant> members() const;
    /// The code: zero if it is missing, -1 if it is not an integer in the range of `int`.
    int codeNumber() const;

    QVariant message; ///< the device's text
    QVariant code;    ///< zero means success
    QVariant data;    ///< the data
};

} // namespace Tessel

#endif
