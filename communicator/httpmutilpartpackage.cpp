// SPDX-License-Identifier: MIT
#include <communicator/httpmutilpartpackage.h>

namespace Krelm::Communicator::HttpDevice {

class Q_DECL_HIDDEN HttpMutilPartPackage::Private
{
public:
    QMap<QString, QVariant> parts;
};

HttpMutilPartPackage::HttpMutilPartPackage(QObject* parent)
    : HttpJsonPackage(parent)
    , d(std::make_unique<Private>())
{}

HttpMutilPartPackage::~HttpMutilPartPackage() = default;

void HttpMutilPartPackage::setHttpMultiPartData(const QMap<QString, QVariant>& parts)
{
    d->parts = parts;
}

QMap<QString, QVariant> HttpMutilPartPackage::httpMultiPartData() const
{
    return d->parts;
}

} // namespace Krelm::Communicator::HttpDevice
