// SPDX-License-Identifier: MIT
#include <tessel/envelopes/variantmapresponse.h>

namespace Tessel {

VariantMapResponse::VariantMapResponse() = default;

VariantMapResponse::VariantMapResponse(const VariantMapResponse& other) = default;

VariantMapResponse::VariantMapResponse(VariantMapResponse&& other) noexcept = default;

VariantMapResponse& VariantMapResponse::operator=(const VariantMapResponse& other) = default;

VariantMapResponse& VariantMapResponse::operator=(VariantMapResponse&& other) noexcept = default;

const QMetaObject* VariantMapResponse::metaObject() const
{
    return &staticMetaObject;
}

VariantMapResponse::~VariantMapResponse() = default;

Zeph::Serialize::Serializable* VariantMapResponse::clone() const
{
    return new VariantMapResponse(*this);
}

} // namespace Tessel
