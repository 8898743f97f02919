// SPDX-License-Identifier: MIT
#include <tessel/frames/instancesready.h>

#include <tessel/allurlresource.h>
#include <tessel/frames/operationscope.h>

#include <communicator/httpproxy.h>

#include <QDebug>

namespace Tessel {

namespace {

void logSystemError(const CallSite& site, const char* message)
{
    qDebug() << "System Error: LogInfo:[FILE:" << site.file << ", LINE" << site.line << ", FUNC"
             << site.function << "]"
             << "->" << message;
}

} // namespace

bool instancesReady(const CallSite& site, const char* tableMessage)
{
    return instancesReady(site, tableMessage, AllUrlResource::getInstance(),
                          Krelm::Communicator::HttpDevice::HttpProxy::getInstance());
}

bool instancesReady(const CallSite& site, const char* tableMessage, const void* routeTable, const void* proxy)
{
    if (!routeTable) {
        nothingIsSent();
        logSystemError(site, tableMessage);
        return false;
    }
    if (!proxy) {
        nothingIsSent();
        logSystemError(site, "pHttpInstance is nullptr! error occurred");
        return false;
    }
    return true;
}

} // namespace Tessel
