// SPDX-License-Identifier: MIT
//
// A typed record, read without waiting: the promise settles when the reply is there.
#include "devices.h"

#include <communicator/httpproxy.h>
#include <tessel/allurlresource.h>
#include <tessel/records/deviceinfo.h>
#include <zephserializer/jsonserializer.h>

#include <QTextStream>
#include <QtPromise>

using Krelm::Communicator::HttpDevice::HttpJsonPackage;
using Krelm::Communicator::HttpDevice::HttpProxy;
using QtPromise::QPromise;
using Tessel::DeviceInfo;

namespace {

QPromise<DeviceInfo> readDeviceInfo(const QString& deviceKey)
{
    auto* const package = new HttpJsonPackage(nullptr);
    package->setUrl(AllUrlResource::Device_Hwinfo);
    return QPromise<DeviceInfo>{[&](const QtPromise::QPromiseResolve<DeviceInfo>& resolve,
                                    const QtPromise::QPromiseReject<DeviceInfo>& reject) {
               QObject::connect(
                   package, &HttpJsonPackage::readyRead, package, [resolve, reject](HttpJsonPackage* reply) {
                       DeviceInfo info;
                       const Zeph::Serialize::JsonSerializer serializer;
                       if (reply->getSimpleState() == 0 &&
                           serializer.load(reply->getReceiveData(), &info, QStringLiteral("data")))
                           resolve(info);
                       else
                           reject();
                   });
               HttpProxy::getInstance()->get(deviceKey, package);
           }}
        .finally([package] { package->deleteLater(); });
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const Devices devices;

    readDeviceInfo(devices.addresses.first())
        .then([](const DeviceInfo& info) {
            QTextStream(stdout) << info.name << "  " << info.customName << "  " << info.mac << '\n';
            QCoreApplication::exit(info.name.isEmpty() ? 1 : 0);
        })
        .fail([] { QCoreApplication::exit(1); });
    return QCoreApplication::exec();
}
