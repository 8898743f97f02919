// SPDX-License-Identifier: MIT
#include <tessel/outputinfooperator.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/pendingrequest.h>
#include <tessel/frames/request.h>

using Tessel::cached;
using Tessel::copyElement;
using Tessel::outputFromCache;
using Tessel::PendingRequest;
using Tessel::Request;

OutputInfoOperator* OutputInfoOperator::m_pInstance = nullptr;

OutputInfoOperator* OutputInfoOperator::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new OutputInfoOperator(nullptr);
    }
    return m_pInstance;
}

OutputInfoOperator::OutputInfoOperator(QObject* parent)
    : QObject(parent)
{
    Tessel::listenToDevices(this, &OutputInfoOperator::onLogout, &OutputInfoOperator::onEvent);
}

OutputInfoOperator::~OutputInfoOperator() = default;

void OutputInfoOperator::onLogout(const QString& deviceKey)
{
    m_outputsInfo.remove(deviceKey);
}

void OutputInfoOperator::onEvent(const QByteArray& data, const QString& deviceKey)
{
    if (!m_isWatch) {
        return;
    }
    const QMap<QString, QVariant> event = Tessel::changeEvent(data);
    if (Tessel::isEvent(event, Tessel::PushEvent::Outputs)) {
        // Quirk: Outputs are refreshed without a signal.
        PendingRequest("Device_AllOutputsInfo").refresh(deviceKey, m_outputsInfo, [](bool) {});
    }
}

void OutputInfoOperator::startWatch()
{
    m_isWatch = true;
}

void OutputInfoOperator::shutDownWatch()
{
    m_isWatch = false;
}

bool OutputInfoOperator::getAllOutputsInfo(const QString& deviceKey, bool force)
{
    return cached(m_outputsInfo, deviceKey, force || !m_isWatch) ||
           Request("Device_AllOutputsInfo").fetch(deviceKey, m_outputsInfo);
}

bool OutputInfoOperator::getAllOutputsInfo(const QString& deviceKey, QList<QVariant>& result, bool force)
{
    return outputFromCache(getAllOutputsInfo(deviceKey, force), m_outputsInfo, deviceKey, result);
}

// Quirk: An output is id in its record and outputid in its paths.
bool OutputInfoOperator::getOutputInfo(const QString& deviceKey, const QString& id,
                                       QMap<QString, QVariant>& result)
{
    return getAllOutputsInfo(deviceKey, false) && copyElement(m_outputsInfo.value(deviceKey), id, result);
}

bool OutputInfoOperator::setAllOutputsInfo(const QString& deviceKey, const QList<QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_AllOutputsInfo").body(body).put(deviceKey, reply);
}

bool OutputInfoOperator::setAllOutputsPipeMapping(const QString& deviceKey, QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_AllOutputsPipeMapping").body(body).put(deviceKey, reply);
}

bool OutputInfoOperator::setOutputInfo(const QString& deviceKey, const QString& id,
                                       QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_OutputInfo").placeHolder("outputid", id).body(body).put(deviceKey, reply);
}

bool OutputInfoOperator::setOutputEnable(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_OutputEnable").placeHolder("outputid", id).body(body).put(deviceKey, reply);
}

bool OutputInfoOperator::setOutputResolution(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_OutputResolution").placeHolder("outputid", id).body(body).put(deviceKey, reply);
}

bool OutputInfoOperator::setOutputOffset(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_OutputOffset").placeHolder("outputid", id).body(body).put(deviceKey, reply);
}

bool OutputInfoOperator::setOutputPipeMapping(const QString& deviceKey, const QString& id,
                                              QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_OutputPipeMapping").placeHolder("outputid", id).body(body).put(deviceKey, reply);
}
