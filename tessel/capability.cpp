// SPDX-License-Identifier: MIT
#include <tessel/capability.h>

#include <tessel/frames/request.h>

using Tessel::Request;

Capability* Capability::m_pInstance = nullptr;

Capability* Capability::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new Capability(nullptr);
    }
    return m_pInstance;
}

Capability::Capability(QObject* parent)
    : QObject(parent)
{}

Capability::~Capability() = default;

bool Capability::getAllChipType(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Capability_AllChipType").get(deviceKey, result);
}

bool Capability::getRowDecodeType(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Capability_RowDecodeType").get(deviceKey, result);
}
