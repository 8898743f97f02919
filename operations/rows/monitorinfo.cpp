// SPDX-License-Identifier: MIT
#include "operations/operationlist.h"
#include "operations/rows/invoker.h"

#include <tessel/monitorinfo.h>

#include <QEventLoop>

namespace Tessel::Operations {

namespace {

/// Waits until the callback has been called.
bool monitorData(const QString& deviceKey, QMap<QString, QVariant>& result)
{
    QEventLoop loop;
    bool succeeded = false;
    UrlResource::MonitorInfo::getInstance()->getMonitorData(
        deviceKey, [&](Krelm::Communicator::HttpDevice::HttpJsonPackage* package) {
            succeeded = package->getSimpleState() == 0;
            result = package->getRoutesJsonMap();
            package->deleteLater();
            loop.quit();
        });
    loop.exec();
    return succeeded;
}

} // namespace

Operations monitorInfoOperations()
{
    using C = UrlResource::MonitorInfo;
    return {
        operation<C>("getMonitorData", &monitorData, {"deviceKey", "result"}),
        operation("getMonitorHistory", &C::getMonitorHistory,
                  {"deviceKey", "id", "startTime", "endTime", "result"}),
        operation("getMonitorLogs", &C::getMonitorLogs, {"deviceKey", "startTime", "endTime", "result"}),
        operation("getMonitorState", &C::getMonitorState, {"deviceKey", "result"}),
    };
}

} // namespace Tessel::Operations
