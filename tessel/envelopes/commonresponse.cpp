// SPDX-License-Identifier: MIT
#include <tessel/envelopes/commonresponse.h>

namespace Tessel {

CommonResponse::CommonResponse()
    : Serializable(nullptr)
{}

CommonResponse::CommonResponse(const CommonResponse& other) = default;

CommonResponse::CommonResponse(CommonResponse&& other) noexcept = default;

CommonResponse& CommonResponse::operator=(const CommonResponse& other) = default;

CommonResponse& CommonResponse::operator=(CommonResponse&& other) noexcept = default;

const QMetaObject* CommonResponse::metaObject() const
{
    return &staticMetaObject;
}

CommonResponse::~CommonResponse() = default;

Zeph::Serialize::Serializable* CommonResponse::clone() const
{
    return new CommonResponse(*this);
}

} // namespace Tessel
