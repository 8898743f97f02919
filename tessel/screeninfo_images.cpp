// SPDX-License-Identifier: MIT
//
// ScreenInfo: images and test patterns.
#include <tessel/frames/grouprequest.h>
#include <tessel/frames/request.h>
#include <tessel/frames/routebyprotocol.h>
#include <tessel/screeninfo.h>

#include <QDebug>

using Tessel::HttpJsonPackage;
using Tessel::MultipartRequest;
using Tessel::putToDevices;
using Tessel::Request;
using Tessel::responseHeaders;
using Tessel::routeByProtocol;
using Tessel::routePath;

namespace {

const char* pixelRoute(const QString& deviceKey)
{
    return routeByProtocol(deviceKey, "HwScreen_DrawCorrectRegion", "HwScreen_MultDrawCorrectRegion");
}

const char* modeRoute(const QString& deviceKey)
{
    return routeByProtocol(deviceKey, "HwScreen_CorrectSwitch", "HwScreen_MultCorrectSwitch");
}

const char* checkerBoardRoute(const QString& deviceKey)
{
    return routeByProtocol(deviceKey, "HwScreen_DrawCheckerBoardRegion",
                           "HwScreen_MultDrawCheckerBoardRegion");
}

} // namespace

// Quirk: An operation without a route sends its request with an empty path. So do the two below.
bool ScreenInfo::putDeviceScreenBootImage(const QString& deviceKey, const QString& id,
                                          const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenImage").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenBootImagePosition(const QString& deviceKey, const QString& id,
                                                  const QMap<QString, QVariant>& body,
                                                  QMap<QString, QVariant>& reply)
{
    return Request("ScreenImagePos").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenBootImageRegion(const QString& deviceKey, const QString& id,
                                                const QMap<QString, QVariant>& body,
                                                QMap<QString, QVariant>& reply)
{
    return Request("ScreenImageRegion").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceScreenBootTimeSpan(const QString& deviceKey, const QString& id,
                                             const QMap<QString, QVariant>& body,
                                             QMap<QString, QVariant>& reply)
{
    return Request("ScreenBootTimeSpan").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putBootImagePreview(const QString& deviceKey, const QString& id,
                                     QMap<QString, QVariant>& reply)
{
    return Request("ScreenBootImagePreview").placeHolder("id", id).put(deviceKey, reply);
}

bool ScreenInfo::putScreenPreStoreImage(const QString& deviceKey, const QString& id,
                                        const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenPrestoreImage").placeHolder("id", id).body(body).put(deviceKey, reply);
}

// Quirk: One form goes out through the plain verb.
bool ScreenInfo::putPrestoreImageApplyToAll(const QString& deviceKey, const QString& id,
                                            const QMap<QString, QVariant>& parts,
                                            QMap<QString, QVariant>& reply)
{
    // Quirk: Log lines that read like leftovers are fixed.
    qDebug() << "putPrestoreImageApplyToAll" << parts;
    return MultipartRequest("ScreenPrestoreImageApplay", parts)
        .placeHolder("id", id)
        .putPlain(deviceKey, reply);
}

bool ScreenInfo::putScreenSolid(const QString& deviceKey, const QString& id,
                                const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenSolid").placeHolder("id", id).body(body).expectedTime(10000).put(deviceKey, reply);
}

// Quirk: The solid colour of the colour space is a query parameter.
bool ScreenInfo::setColorSpaceSolid(const QString& deviceKey, const QString& id,
                                    QMap<QString, QVariant>& reply)
{
    return Request("ScreenSolid")
        .placeHolder("id", id)
        .parameter("type", QStringLiteral("1"))
        .put(deviceKey, reply);
}

bool ScreenInfo::putDeviceTestMode(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("SenderTestMode").placeHolder("id", id).body(body).put(deviceKey, reply);
}

bool ScreenInfo::putDeviceTestModeDisable(const QString& deviceKey, const QString& id,
                                          QMap<QString, QVariant>& reply)
{
    return Request("ScreenTxTestPatternDisable").placeHolder("id", id).put(deviceKey, reply);
}

// Quirk: Some placeholders of paths go out unfilled.
bool ScreenInfo::putReceiveTestMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                    QMap<QString, QVariant>& reply)
{
    return Request("ReceiveTestMode").body(body).put(deviceKey, reply);
}

// Quirk: Two classes write the same routes with different time limits.
bool ScreenInfo::setPixelImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                               QMap<QString, QVariant>& reply)
{
    return Request(pixelRoute(deviceKey)).body(body).expectedTime(20000).put(deviceKey, reply);
}

bool ScreenInfo::setPixelImageMode(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                   QMap<QString, QVariant>& reply)
{
    return Request(modeRoute(deviceKey)).body(body).expectedTime(10000).put(deviceKey, reply);
}

// Quirk: Operations named get fill a package and send nothing.
void ScreenInfo::getPixelImageMode(HttpJsonPackage* package, const QMap<QString, QVariant>& body)
{
    package->setUrl(routePath(modeRoute(package->getDevkey())));
    package->setRequestWithJsonObj(QVariant(body));
    package->setExpectedTime(10000);
}

bool ScreenInfo::setCheckerBoardImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request(checkerBoardRoute(deviceKey)).body(body).expectedTime(20000).put(deviceKey, reply);
}

// Quirk: Some operations use the single-screen route on every device. So do the two below.
bool ScreenInfo::setCheckerBoardImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply, QMap<QString, QString>& headers)
{
    return Request("HwScreen_DrawCheckerBoardRegion")
        .body(body)
        .expectedTime(20000)
        .put(deviceKey, reply, responseHeaders(headers));
}

bool ScreenInfo::setRectangularImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                     QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_DraRectangularRegion").body(body).expectedTime(20000).put(deviceKey, reply);
}

bool ScreenInfo::setCorrectClearImage(const QString& deviceKey, const QMap<QString, QVariant>& body,
                                      QMap<QString, QVariant>& reply)
{
    return Request("HwScreen_CorrectClear").body(body).put(deviceKey, reply);
}

// Quirk: Writes to several at once leave their results as they were. So does the one below.
bool ScreenInfo::setMultPixelImage(const std::vector<QMap<QString, QVariant>>& items,
                                   QMap<QString, QVariant>&)
{
    return putToDevices("ScreenInfo::setMultPixelImage", items, pixelRoute, 20000);
}

bool ScreenInfo::setMultCheckerBoardImage(const std::vector<QMap<QString, QVariant>>& items,
                                          QMap<QString, QVariant>&)
{
    return putToDevices("ScreenInfo::setMultCheckerBoardImage", items, checkerBoardRoute, 20000);
}
