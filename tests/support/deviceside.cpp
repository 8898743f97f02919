// SPDX-License-Identifier: MIT
#include "deviceside.h"

#include <communicator/httpproxy.h>

#include <QThread>

#include <memory>

using Krelm::Communicator::HttpDevice::HttpProxy;

QString DeviceSide::fresh()
{
    static int number = 0;
    return QStringLiteral("device-%1").arg(++number);
}

void DeviceSide::push(const QString& deviceKey, const QByteArray& json)
{
    Q_EMIT HttpProxy::getInstance()->deviceAutoReportData(json, deviceKey);
}

void DeviceSide::pushFromForeignThread(const QString& deviceKey, const QByteArray& json)
{
    const std::unique_ptr<QThread> transport(QThread::create([&] { push(deviceKey, json); }));
    transport->start();
    transport->wait();
}

void DeviceSide::logOut(const QString& deviceKey)
{
    Q_EMIT HttpProxy::getInstance()->deviceLogout(deviceKey);
}
