// SPDX-License-Identifier: MIT
#ifndef TESSEL_ENVELOPES_VARIANTMAPRESPONSE_H
#define TESSEL_ENVELOPES_VARIANTMAPRESPONSE_H

#include <tessel/envelopes/commonresponse.h>

#include <QVariant>

namespace Tessel {

/// A reply whose data is an object. A value; an object must be used by only one thread at a time.
class VariantMapResponse : public CommonResponse
{
    Q_GADGET
    Q_PROPERTY(QVariantMap data MEMBER data)
public:
    VariantMapResponse();
    VariantMapResponse(const VariantMapResponse& other);
    VariantMapResponse(VariantMapResponse&& other) noexcept;
    VariantMapResponse& operator=(const VariantMapResponse& other);
    VariantMapResponse& operator=(VariantMapResponse&& other) noexcept;

    const QMetaObject* metaObject() const override;
    ~VariantMapResponse() override;
    Zeph::Serialize::Serializable* clone() const override;

    QVariantMap data; ///< the data object
};

} // namespace Tessel

#endif
