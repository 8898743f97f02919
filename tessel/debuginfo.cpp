// SPDX-License-Identifier: MIT
#include <tessel/debuginfo.h>

#include <tessel/frames/request.h>

using Tessel::Request;

DebugInfo* DebugInfo::m_pInstance = nullptr;

DebugInfo* DebugInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new DebugInfo(nullptr);
    }
    return m_pInstance;
}

DebugInfo::DebugInfo(QObject* parent)
    : QObject(parent)
{}

DebugInfo::~DebugInfo() = default;

// Quirk: Reading the self-test parameters is a PUT. The body says what to read.
bool DebugInfo::getParameters(const QString& deviceKey, const QMap<QString, QVariant>& body,
                              QList<QVariant>& result)
{
    return Request("SelfTest_CabReadPara").body(body).put(deviceKey, result);
}

bool DebugInfo::sendParameters(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QList<QVariant>& reply)
{
    return Request("SelfTest_CabSendPara").body(body).put(deviceKey, reply);
}

bool DebugInfo::clearKeyParameters(const QString& deviceKey, QMap<QString, QVariant>& reply)
{
    return Request("SelfTest_CabClearKeyPara").put(deviceKey, reply);
}
