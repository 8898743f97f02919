// SPDX-License-Identifier: MIT
#include <tessel/rvcarddisplayeffect.h>

#include <tessel/frames/request.h>

using Tessel::Request;

RvCardDisplayEffect* RvCardDisplayEffect::m_pInstance = nullptr;

RvCardDisplayEffect* RvCardDisplayEffect::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new RvCardDisplayEffect(nullptr);
    }
    return m_pInstance;
}

RvCardDisplayEffect::RvCardDisplayEffect(QObject* parent)
    : QObject(parent)
{}

RvCardDisplayEffect::~RvCardDisplayEffect() = default;

bool RvCardDisplayEffect::getDisplayGainData(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& result)
{
    return Request("Device_DisplayGainData").placeHolder("id", id).get(deviceKey, result);
}
