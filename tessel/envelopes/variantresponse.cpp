// SPDX-License-Identifier: MIT
#include <tessel/envelopes/variantresponse.h>

namespace Tessel {

VariantResponse::VariantResponse() = default;

VariantResponse::VariantResponse(const VariantResponse& other) = default;

VariantResponse::VariantResponse(VariantResponse&& other) noexcept = default;

VariantResponse& VariantResponse::operator=(const VariantResponse& other) = default;

VariantResponse& VariantResponse::operator=(VariantResponse&& other) noexcept = default;

const QMetaObject* VariantResponse::metaObject() const
{
    return &staticMetaObject;
}

VariantResponse::~VariantResponse() = default;

Zeph::Serialize::Serializable* VariantResponse::clone() const
{
    return new VariantResponse(*this);
}

} // namespace Tessel
