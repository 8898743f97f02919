// SPDX-License-Identifier: MIT
//
// ScreenInfo: brightness and gamma.
#include <tessel/cabinetinfooperator.h>
#include <tessel/frames/request.h>
#include <tessel/frames/routebyprotocol.h>
#include <tessel/frames/screenproperty.h>
#include <tessel/screeninfo.h>

#include <QDebug>

using Tessel::readAs;
using Tessel::Request;
using Tessel::routeByProtocol;
using Tessel::ScreenProperty;

namespace {

constexpr ScreenProperty brightnessProperty{"brightness", readAs<uint>, "brightness"};

// A gamma on the wire is {"type": channel, "gamma": value}; the cache has a key per channel.
constexpr const char* gammaChannels[] = {"gamma.0", "gamma.1", "gamma.2"};
// Quirk: Gamma type 3 sets all channels and is skipped on reading.
constexpr int allGammaChannels = 3;
constexpr ScreenProperty rGamma{"rGamma", readAs<double>, gammaChannels[0]};
constexpr ScreenProperty gGamma{"gGamma", readAs<double>, gammaChannels[1]};
constexpr ScreenProperty bGamma{"bGamma", readAs<double>, gammaChannels[2]};

const char* gammaRoute(const QString& deviceKey)
{
    return routeByProtocol(deviceKey, "ScreenGamma", "MuliScreenGamma");
}

const char* gammaTableRoute(const QString& deviceKey)
{
    return routeByProtocol(deviceKey, "ScreenGammaTable", "MultScreenGammaTable");
}

// Quirk: The brightness of a screen without cabinets counts as read and set.
// Quirk: Log lines that read like leftovers are fixed. This one names the write for the read as well.
bool hasCabinets(const QString& deviceKey)
{
    QList<QVariant> cabinets;
    CabinetInfoOperator::getInstance()->getAllCabinetsInfo(deviceKey, cabinets, false);
    if (cabinets.isEmpty()) {
        qDebug() << "setBrightness cabinet empty:" << deviceKey;
    }
    return !cabinets.isEmpty();
}

int gammaType(const QMap<QString, QVariant>& gamma)
{
    return gamma.value(QStringLiteral("type")).toInt();
}

double gammaValue(const QMap<QString, QVariant>& gamma)
{
    return gamma.value(QStringLiteral("gamma")).toDouble();
}

} // namespace

// Quirk: An id goes along although the path has no place for it. So does the write.
bool ScreenInfo::getBrightness(const QString& deviceKey, const QString& screenId, bool force)
{
    return knowsProperties({brightnessProperty.cacheKey}, deviceKey, screenId, force) ||
           !hasCabinets(deviceKey) ||
           fetchProperties(routeByProtocol(deviceKey, "ScreenBrightness", "MulitScreenBrightness"),
                           {brightnessProperty}, deviceKey, screenId);
}

bool ScreenInfo::getBrightness(const QString& deviceKey, const QString& screenId,
                               QMap<QString, QVariant>& out, bool force)
{
    return getBrightness(deviceKey, screenId, force) &&
           outputProperties({brightnessProperty}, deviceKey, screenId, out);
}

// Quirk: The multi-screen protocol is sent the brightness divided by 255. No read multiplies it back.
bool ScreenInfo::setBrightness(const QString& deviceKey, const QString& screenId,
                               QMap<QString, QVariant>& params, int brightness)
{
    if (!hasCabinets(deviceKey)) {
        return true;
    }
    const bool multi = HWInfo::getInstance()->getHwProtoc(deviceKey, false);
    params[QLatin1String(brightnessProperty.name)] = multi ? brightness / 255 : brightness;
    return writeThrough(multi ? "MulitScreenBrightness" : "ScreenBrightness", brightnessProperty, deviceKey,
                        screenId, params);
}

bool ScreenInfo::getBrightnessMode(const QString& deviceKey, const QString& screenId,
                                   QMap<QString, QVariant>& reply)
{
    return Request("ScreenBrightnessMode").placeHolder("id", screenId).get(deviceKey, reply);
}

bool ScreenInfo::setBrightnessMode(const QString& deviceKey, const QString& screenId,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenBrightnessMode")
        .placeHolder("id", screenId)
        .body(body)
        .putNoReply(deviceKey, reply);
}

// Quirk: Two reads send the caller's map as the body of a GET.
// Quirk: Some operations return the reply in the map that they send.
bool ScreenInfo::getBrightnessRgb(const QString& deviceKey, const QString& screenId,
                                  QMap<QString, QVariant>& map)
{
    return Request("ScreenRgbBrightness").placeHolder("id", screenId).body(map).get(deviceKey, map);
}

bool ScreenInfo::setBrightnessRgb(const QString& deviceKey, const QString& screenId,
                                  const QMap<QString, QVariant>& body)
{
    return Request("ScreenRgbBrightness").placeHolder("id", screenId).body(body).put(deviceKey);
}

bool ScreenInfo::getGamma(const QString& deviceKey, const QString& screenId, bool force)
{
    if (knowsProperties({gammaChannels[0], gammaChannels[1], gammaChannels[2]}, deviceKey, screenId, force)) {
        return true;
    }
    Request request(gammaRoute(deviceKey));
    request.placeHolder("id", screenId).get(deviceKey);
    const QMutexLocker lock(&m_mutex);
    QList<QVariant> gammas;
    if (!request.decodeInto(gammas)) {
        return false;
    }
    for (const QVariant& element : qAsConst(gammas)) {
        const QMap<QString, QVariant> gamma = element.toMap();
        const int type = gammaType(gamma);
        if (type >= 0 && type < allGammaChannels) {
            m_screenProperties[deviceKey][screenId][QLatin1String(gammaChannels[type])] = gammaValue(gamma);
        }
    }
    return true;
}

bool ScreenInfo::getSingleGamma(const QString& deviceKey, const QString& screenId,
                                QMap<QString, QVariant>& out, bool force)
{
    return getGamma(deviceKey, screenId, force) &&
           outputProperties({rGamma, gGamma, bGamma}, deviceKey, screenId, out);
}

bool ScreenInfo::setOneGamma(const QString& deviceKey, const QString& screenId,
                             const QMap<QString, QVariant>& body)
{
    if (!Request(gammaRoute(deviceKey)).placeHolder("id", screenId).body(body).put(deviceKey)) {
        return false;
    }
    const QMutexLocker lock(&m_propertyMutex);
    QMap<QString, QVariant>& known = m_screenProperties[deviceKey][screenId];
    const int type = gammaType(body);
    if (type == allGammaChannels) {
        for (const char* channel : gammaChannels) {
            known[QLatin1String(channel)] = gammaValue(body);
        }
    } else {
        // Quirk: Any type of gamma is cached, though only three are read.
        known[QStringLiteral("gamma.%1").arg(type)] = gammaValue(body);
    }
    return true;
}

bool ScreenInfo::getGammaAllList(const QString& deviceKey, const QString& screenId,
                                 QMap<QString, QVariant>& reply)
{
    return Request(gammaTableRoute(deviceKey)).placeHolder("id", screenId).get(deviceKey, reply);
}

bool ScreenInfo::setGammaTable(const QString& deviceKey, const QString& screenId,
                               const QMap<QString, QVariant>& body)
{
    return Request(gammaTableRoute(deviceKey)).placeHolder("id", screenId).body(body).put(deviceKey);
}

// Quirk: All six parameters of a gamma curve go out, missing ones empty.
bool ScreenInfo::getGammaCurve(const QString& deviceKey, const QString& screenId,
                               QMap<QString, QString> params, QList<QVariant>& out)
{
    Request request("ScreenGammaCurve");
    request.placeHolder("id", screenId);
    for (const char* name : {"gammaValue", "grayScale", "lumRatio", "maxY", "qualityMode", "gammaMode"}) {
        request.parameter(name, params.take(QLatin1String(name)));
    }
    return request.get(deviceKey, out);
}

bool ScreenInfo::getGrayScale(const QString& deviceKey, const QString& screenId,
                              QMap<QString, QVariant>& reply)
{
    return Request("ScreenGrayScale").placeHolder("id", screenId).get(deviceKey, reply);
}
