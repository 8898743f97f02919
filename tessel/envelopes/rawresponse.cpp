// SPDX-License-Identifier: MIT
#include <tessel/envelopes/rawresponse.h>

#include <cmath>
#include <limits>

namespace Tessel {

const QMetaObject* RawResponse::metaObject() const
{
    return &staticMetaObject;
}

Zeph::Serialize::Serializable* RawResponse::clone() const
{
    return new RawResponse(*this);
}

QMap<QString, QVariant> RawResponse::members() const
{
    QMap<QString, QVariant> map;
    if (message.isValid()) {
        map.insert(QStringLiteral("message"), message);
    }
    if (code.isValid()) {
        map.insert(QStringLiteral("code"), code);
    }
    if (data.isValid()) {
        map.insert(QStringLiteral("data"), data);
    }
    return map;
}

int RawResponse::codeNumber() const
{
    switch (static_cast<QMetaType::Type>(code.userType())) {
    case QMetaType::UnknownType:
        return 0;
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double: {
        // Rounded numbers stay out of range, as do infinities.
        const double number = code.toDouble();
        const bool inRange =
            number >= std::numeric_limits<int>::min() && number <= std::numeric_limits<int>::max();
        return inRange && std::trunc(number) == number ? static_cast<int>(number) : -1;
    }
    default:
        return -1;
    }
}

} // namespace Tessel
