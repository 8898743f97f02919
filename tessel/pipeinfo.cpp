// SPDX-License-Identifier: MIT
#include <tessel/pipeinfo.h>

#include <tessel/frames/cacheaccess.h>
#include <tessel/frames/deviceevents.h>
#include <tessel/frames/request.h>

using Tessel::asParsed;
using Tessel::cached;
using Tessel::copyElement;
using Tessel::outputFromCache;
using Tessel::Request;

PipeInfo* PipeInfo::m_pInstance = nullptr;

PipeInfo* PipeInfo::getInstance()
{
    if (!m_pInstance) {
        m_pInstance = new PipeInfo(nullptr);
    }
    return m_pInstance;
}

// Quirk: Pipelines know neither logout nor watch switch.
PipeInfo::PipeInfo(QObject* parent)
    : QObject(parent)
{
    Tessel::listenToEvents(this, &PipeInfo::onEvent);
}

PipeInfo::~PipeInfo() = default;

// Quirk: The event of pipelines is followed by a blocking read.
void PipeInfo::onEvent(const QByteArray& data, const QString& deviceKey)
{
    const QMap<QString, QVariant> event = Tessel::changeEvent(data);
    if (Tessel::isEvent(event, Tessel::PushEvent::Pipelines)) {
        Request("Device_Pipes").refresh(deviceKey, m_pipesInfo, &m_mutex, [this] {
            Q_EMIT signal_sendDataChanged();
        });
    }
}

// Quirk: The signal of pipelines is raised with the lock held. A read raises it as well as an event.
bool PipeInfo::getDevicePipes(const QString& deviceKey, bool force)
{
    return cached(m_pipesInfo, deviceKey, force, &m_mutex) ||
           Request("Device_Pipes").fetch(deviceKey, m_pipesInfo, &m_mutex, [this] {
               Q_EMIT signal_sendDataChanged();
           });
}

// Quirk: The cached pipelines are copied without the lock. The operation below does so as well.
bool PipeInfo::getDevicePipes(const QString& deviceKey, QList<QVariant>& result, bool force)
{
    return outputFromCache(getDevicePipes(deviceKey, force), m_pipesInfo, deviceKey, result);
}

bool PipeInfo::getDeviceOnePipe(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return getDevicePipes(deviceKey, false) && copyElement(m_pipesInfo.value(deviceKey), id, result);
}

bool PipeInfo::getDeviceOnePipeHandleParameters(const QString& deviceKey, const QString& id,
                                                QMap<QString, QVariant>& result)
{
    return Request("Device_PipeHandleParameters").placeHolder("id", id).get(deviceKey, result);
}

// Quirk: Some lists come as parsed, others flattened. The group reads below are as parsed.
bool PipeInfo::getDeviceOnePipeGroupScreenIds(const QString& deviceKey, const QString& id,
                                              QList<QVariant>& result)
{
    return Request("Device_PipeGroupScreenIds").placeHolder("id", id).get(deviceKey, asParsed(result));
}

bool PipeInfo::getDeviceOnePipeGroupScreenRelativePoint(const QString& deviceKey, const QString& id,
                                                        QList<QVariant>& result)
{
    return Request("Device_PipeGroupScreenRelativePoint")
        .placeHolder("id", id)
        .get(deviceKey, asParsed(result));
}

// Quirk: An operation without a route sends its request with an empty path.
bool PipeInfo::getDeviceGroupScreenInfo(const QString& deviceKey, QList<QVariant>& result)
{
    return Request("Device_GroupScreenInfo").get(deviceKey, asParsed(result));
}

bool PipeInfo::putDevicePipes(const QString& deviceKey, const QList<QVariant>& body,
                              QMap<QString, QVariant>& reply)
{
    return Request("Device_Pipes").body(body).put(deviceKey, reply);
}

// Quirk: The 3D signal delay of a pipeline is that of the whole device.
bool PipeInfo::putDeviceOnePipethreeDSingaldelaytime(const QString& deviceKey,
                                                     const QMap<QString, QVariant>& body,
                                                     QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDSingaldelaytime").body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipe(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeInfo").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeInputId(const QString& deviceKey, const QString& id,
                                       const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeInputId").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeMirrorMode(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeMirrorMode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeImageHandleType(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeImageHandleType").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipethreeD(const QString& deviceKey, const QString& id,
                                      const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeD").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipethreeDSwitch(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& body,
                                            QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

// Quirk: Three 3D operations of a pipeline have paths of other names.
bool PipeInfo::putDeviceOnePipethreeDType(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDType").placeHolder("id", id).body(body).put(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path.
bool PipeInfo::putDeviceOnePipethreeDSourcemode(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDSourcemode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipethreeDEyepriority(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDEyepriority").placeHolder("id", id).body(body).put(deviceKey, reply);
}

// Quirk: Three 3D operations of a pipeline have paths of other names.
bool PipeInfo::putDeviceOnePipethreeDSourcenadj(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDSourcenadj").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipethreeDStartposition(const QString& deviceKey, const QString& id,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDStartposition").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipethreeDDepthField(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeThreeDDepthField").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeHDRSwitch(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHDRSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeHdrparamHdrmode(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHDRType").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeHdrparamHlgtype(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHDRHLGType").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeHdrparamMaxoflight(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHDRMaxoflight").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeHdrparamIlluminance(const QString& deviceKey, const QString& id,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHDRIlluminance").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeHdrparamLowgray(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHDRLowgray").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeBrightness(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeBrightness").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeColorTemperature(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeColorTemperature").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeGamma(const QString& deviceKey, const QString& id,
                                     const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeGamma").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipe18bitPlus(const QString& deviceKey, const QString& id,
                                         const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_Pipe18Bit").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeSeamAdjustment(const QString& deviceKey, const QString& id,
                                              const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeSeamAdjustment").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeColorAdjust(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeColorAdjust").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeLowLatency(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeLowLatency").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipePrestoreImage(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Device_PipePrestoreImage").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipePrestoreImagePos(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipePrestoreImagePos").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipePrestoreImageRegion(const QString& deviceKey, const QString& id,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_PipePrestoreImageRegion").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeStartImageSwitch(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeStartImageSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeStartImageTime(const QString& deviceKey, const QString& id,
                                              const QMap<QString, QVariant>& body,
                                              QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeStartImageTime").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeCableDisconnect(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeCableDisconnect").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeDVINoSignal(const QString& deviceKey, const QString& id,
                                           const QMap<QString, QVariant>& body,
                                           QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeDVINoSignal").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeZoomSwitch(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeHandleZoomSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeGlobalScreenSwitch(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeGlobalScreenSwitch").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeInterceptionPosition(const QString& deviceKey, const QString& id,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeInterceptionPosition").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeInterceptionSize(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeInterceptionSize").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeZoomMode(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeZoomMode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeDisplayAreaPosition(const QString& deviceKey, const QString& id,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeDisplayAreaPosition").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool PipeInfo::putDeviceOnePipeDisplayAreaSize(const QString& deviceKey, const QString& id,
                                               const QMap<QString, QVariant>& body,
                                               QMap<QString, QVariant>& reply)
{
    return Request("Device_PipeDisplayAreaSize").placeHolder("id", id).body(body).put(deviceKey, reply);
}
