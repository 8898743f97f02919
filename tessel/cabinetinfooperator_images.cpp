// SPDX-License-Identifier: MIT
//
// Images and patterns that a cabinet holds.
#include <tessel/cabinetinfooperator.h>

#include <tessel/frames/listof.h>
#include <tessel/frames/request.h>

using Tessel::MultipartRequest;
using Tessel::Request;

bool CabinetInfoOperator::setSingleBootImageTime(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabBootImageTime").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiBootImageTime(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabBootImageTime").body(body).put(deviceKey, reply);
}

// Quirk: Previewing the boot image of one cabinet sends no body.
bool CabinetInfoOperator::setSingleBootImagePreview(const QString& deviceKey, const QString& id,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabBootImagePreview").placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiBootImagePreview(const QString& deviceKey,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabBootImagePreview").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleCabPrestoreImage(const QString& deviceKey, const QString& id,
                                                    const QMap<QString, QVariant>& body,
                                                    QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabPrestoreImage").body(body).placeHolder("id", id).put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiCabPrestoreImage(const QString& deviceKey,
                                                   const QMap<QString, QVariant>& body,
                                                   QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabPrestoreImage").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSinglePreviewImagePreview(const QString& deviceKey, const QString& id,
                                                       const QMap<QString, QVariant>& body,
                                                       QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabPrestoreimagePreview")
        .body(body)
        .placeHolder("id", id)
        .put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiPreviewImagePreview(const QString& deviceKey,
                                                      const QMap<QString, QVariant>& body,
                                                      QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabPrestoreimagePreview").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSingleAbnormalDisconnected(const QString& deviceKey, const QString& id,
                                                        const QMap<QString, QVariant>& body,
                                                        QMap<QString, QVariant>& reply)
{
    return Request("Device_Single_CabAbnormalDisconnected")
        .body(body)
        .placeHolder("id", id)
        .put(deviceKey, reply);
}

bool CabinetInfoOperator::setMultiAbnormalDisconnected(const QString& deviceKey,
                                                       const QMap<QString, QVariant>& body,
                                                       QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_CabAbnormalDisconnected").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setBootImageRegion(const QString& deviceKey, const QList<QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Device_CabBootImageRegion").body(body).put(deviceKey, reply);
}

// Quirk: An operation without a route sends its request with an empty path. So do the two below.
bool CabinetInfoOperator::setBootCustomImage(const QString& deviceKey, const QList<QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Device_CabBootCustomImage").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setBootImagePos(const QString& deviceKey, const QList<QVariant>& body,
                                          QMap<QString, QVariant>& reply)
{
    return Request("Device_CabBootImagePos").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setCabBootRestoreImage(const QString& deviceKey, const QList<QVariant>& body,
                                                 QMap<QString, QVariant>& reply)
{
    return Request("Device_CabBootRestoreImage").body(body).put(deviceKey, reply);
}

bool CabinetInfoOperator::setSinglePrestoreImage(const QString& deviceKey, const QString& id,
                                                 const QMap<QString, QVariant>& parts,
                                                 QMap<QString, QVariant>& reply)
{
    return MultipartRequest("Device_Single_Prestoreimage", parts)
        .placeHolder("id", id)
        .expectedTime(3000)
        .put(deviceKey, reply);
}

// Quirk: Uploading an image without a list of cabinets has a time limit of 0.
bool CabinetInfoOperator::setMultiPrestoreImage(const QString& deviceKey,
                                                const QMap<QString, QVariant>& parts,
                                                QMap<QString, QVariant>& reply)
{
    const auto cabinets = Tessel::listOf(parts.value(QStringLiteral("id"))).size();
    return MultipartRequest("Device_Multi_Prestoreimage", parts)
        .expectedTime(qint64(cabinets) * 3000)
        .put(deviceKey, reply);
}

// Quirk: The test pattern of one cabinet uses the key of the pixel size.
// Quirk: An operation without a route sends its request with an empty path.
bool CabinetInfoOperator::setTestPattern(const QString& deviceKey, const QString& id, const QString& fbColor,
                                         const QString& bgColor)
{
    const QMap<QString, QVariant> colors{{QStringLiteral("fbColor"), fbColor},
                                         {QStringLiteral("bgColor"), bgColor}};
    return Request("Device_CabinetPixelSize").body(colors).placeHolder("id", id).put(deviceKey);
}

bool CabinetInfoOperator::setMutiTestPattern(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("Device_Multi_TestImage").body(body).put(deviceKey, reply);
}
