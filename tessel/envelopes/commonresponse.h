// SPDX-License-Identifier: MIT
#ifndef TESSEL_ENVELOPES_COMMONRESPONSE_H
#define TESSEL_ENVELOPES_COMMONRESPONSE_H

#include <zephserializer/serializable.h>

#include <QString>

namespace Tessel {

/// The envelope of a device's reply, without its data. A value; an object must be used by only one thread at
/// a time.
/// @warning The code is uninitialised until assigned or deserialized.
class CommonResponse : public Zeph::Serialize::Serializable
{
    Q_GADGET
    Q_PROPERTY(QString message MEMBER message)
    Q_PROPERTY(int code MEMBER code)
public:
    CommonResponse();
    CommonResponse(const CommonResponse& other);
    CommonResponse(CommonResponse&& other) noexcept;
    CommonResponse& operator=(const CommonResponse& other);
    CommonResponse& operator=(CommonResponse&& other) noexcept;

    const QMetaObject* metaObject() const override;
    ~CommonResponse() override;
    Zeph::Serialize::Serializable* clone() const override;

    QString message; ///< the device's text
    // Quirk: The integers of a record are unset until assigned.
    int code; ///< zero means success
};

} // namespace Tessel

#endif
