// SPDX-License-Identifier: MIT
#include <tessel/devicemanager.h>

#include <communicator/httpproxy.h>

using Krelm::Communicator::HttpDevice::HttpProxy;

DeviceManager* DeviceManager::m_pInstance = nullptr;

DeviceManager* DeviceManager::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new DeviceManager(nullptr);
    }
    return m_pInstance;
}

DeviceManager::DeviceManager(QObject* parent)
    : QObject(parent)
{
    connect(HttpProxy::getInstance(), &HttpProxy::deviceChanged, this, &DeviceManager::deviceChanged);
}

DeviceManager::~DeviceManager() = default;

void DeviceManager::initManager()
{
    HttpProxy::getInstance()->initialize(true);
}
