// SPDX-License-Identifier: MIT
#ifndef TESSEL_FRAMES_PACKAGEFILLER_H
#define TESSEL_FRAMES_PACKAGEFILLER_H

#include <communicator/httpjsonpackage.h>

#include <algorithm>
#include <limits>

namespace Tessel {

using Krelm::Communicator::HttpDevice::HttpJsonPackage;

/// The path of @p routeKey, looked up at every call; empty when the table lacks the key.
QString routePath(const char* routeKey);
QString routePath(const QString& routeKey);

/// Fills a package in the order of the calls. Base of all requests.
template <class Self>
class PackageFiller
{
public:
    Self& placeHolder(const char* name, const QString& value)
    {
        package().addPlaceHolders(QLatin1String(name), value);
        return self();
    }
    Self& parameter(const char* name, const QString& value)
    {
        package().addParameters(QLatin1String(name), value);
        return self();
    }
    Self& parameters(const QMap<QString, QString>& values)
    {
        package().setParameters(values);
        return self();
    }
    Self& headers(const QMap<QString, QString>& values)
    {
        package().setRequestHeader(values);
        return self();
    }
    Self& body(const QMap<QString, QVariant>& map)
    {
        package().setRequestWithJsonObj(QVariant(map));
        return self();
    }
    Self& body(const QList<QVariant>& list)
    {
        package().setRequestWithJsonObj(QVariant(list));
        return self();
    }
    Self& body(const QVariant& value)
    {
        package().setRequestWithJsonObj(value);
        return self();
    }
    /// Raw bytes, sent as they are.
    Self& data(const QByteArray& bytes)
    {
        package().setRequestData(bytes);
        return self();
    }
    /// Clamped to the package's range; compute it in 64 bits.
    Self& expectedTime(qint64 milliseconds)
    {
        using Limits = std::numeric_limits<int>;
        package().setExpectedTime(
            static_cast<int>(std::clamp<qint64>(milliseconds, Limits::min(), Limits::max())));
        return self();
    }
    /// Marks a request of a long-running device task.
    Self& daemon()
    {
        package().setDaemonFlag(true);
        return self();
    }

protected:
    PackageFiller() = default;

private:
    Self& self() { return static_cast<Self&>(*this); }
    HttpJsonPackage& package() { return self().packageToFill(); }
};

} // namespace Tessel

#endif
