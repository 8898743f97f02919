// SPDX-License-Identifier: MIT
#ifndef TESSEL_ENVELOPES_VARIANTRESPONSE_H
#define TESSEL_ENVELOPES_VARIANTRESPONSE_H

#include <tessel/envelopes/commonresponse.h>

#include <QVariant>

namespace Tessel {

/// A reply with data of any type. A value; an object must be used by only one thread at a time.
class VariantResponse : public CommonResponse
{
    Q_GADGET
    Q_PROPERTY(QVariant data MEMBER data)
public:
    VariantResponse();
    VariantResponse(const VariantResponse& other);
    VariantResponse(VariantResponse&& other) noexcept;
    VariantResponse& operator=(const VariantResponse& other);
    VariantResponse& operator=(VariantResponse&& other) noexcept;

    const QMetaObject* metaObject() const override;
    ~VariantResponse() override;
    Zeph::Serialize::Serializable* clone() const override;

    QVariant data; ///< the data
};

} // namespace Tessel

#endif
