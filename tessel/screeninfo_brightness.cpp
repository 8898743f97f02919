// SPDX-License-Identifier: MIT
//
// ScreenInfo: brightness and gamma.
#include <tessel/cabinetinfooperator.h>
#include <tessel/frames/operationscope.h>
#include <tessel/frames/request.h>
#include <tessel/frames/routebyprotocol.h>
#include <tessel/frames/screenproperty.h>
#include <tessel/screeninfo.h>

#include <QDebug>

using Tessel::OperationScope;
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
bool ScreenInfo::getBrightness(const QString& deviceKey, const QString& id, bool force)
{
    const OperationScope scope;
    return knowsProperties({brightnessProperty.cacheKey}, deviceKey, id, force) || !hasCabinets(deviceKey) ||
           fetchProperties(routeByProtocol(deviceKey, "ScreenBrightness", "MulitScreenBrightness"),
                           {brightnessProperty}, deviceKey, id);
}

bool ScreenInfo::getBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                               bool force)
{
    return getBrightness(deviceKey, id, force) &&
           outputProperties({brightnessProperty}, deviceKey, id, result);
}

// Quirk: The multi-screen protocol is sent the brightness divided by 255. No read multiplies it back.
bool ScreenInfo::setBrightness(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body,
                               int brightness)
{
    const OperationScope scope;
    if (!hasCabinets(deviceKey)) {
        return true;
    }
    const bool multi = HWInfo::getInstance()->getHwProtoc(deviceKey, false);
    body[QLatin1String(brightnessProperty.name)] = multi ? brightness / 255 : brightness;
    return writeThrough(multi ? "MulitScreenBrightness" : "ScreenBrightness", brightnessProperty, deviceKey,
                        id, body);
}

bool ScreenInfo::getBrightnessMode(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result)
{
    return Request("ScreenBrightnessMode").placeHolder("id", id).get(deviceKey, result);
}

bool ScreenInfo::setBrightnessMode(const QString& deviceKey, const QString& id,
                                   const QMap<QString, QVariant>& body, QMap<QString, QVariant>& reply)
{
    return Request("ScreenBrightnessMode").placeHolder("id", id).body(body).putNoReply(deviceKey, reply);
}

// Quirk: Two reads send the caller's map as the body of a GET.
// Quirk: Some operations return the reply in the map that they send.
bool ScreenInfo::getBrightnessRgb(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& body)
{
    return Request("ScreenRgbBrightness").placeHolder("id", id).body(body).get(deviceKey, body);
}

bool ScreenInfo::setBrightnessRgb(const QString& deviceKey, const QString& id,
                                  const QMap<QString, QVariant>& body)
{
    return Request("ScreenRgbBrightness").placeHolder("id", id).body(body).put(deviceKey);
}

bool ScreenInfo::getGamma(const QString& deviceKey, const QString& id, bool force)
{
    if (knowsProperties({gammaChannels[0], gammaChannels[1], gammaChannels[2]}, deviceKey, id, force)) {
        return true;
    }
    Request request(gammaRoute(deviceKey));
    request.placeHolder("id", id).get(deviceKey);
    const QMutexLocker lock(&m_mutex);
    QList<QVariant> gammas;
    if (!request.decodeInto(gammas)) {
        return false;
    }
    for (const QVariant& element : qAsConst(gammas)) {
        const QMap<QString, QVariant> gamma = element.toMap();
        const int type = gammaType(gamma);
        if (type >= 0 && type < allGammaChannels) {
            m_screenProperties[deviceKey][id][QLatin1String(gammaChannels[type])] = gammaValue(gamma);
        }
    }
    return true;
}

bool ScreenInfo::getSingleGamma(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                                bool force)
{
    return getGamma(deviceKey, id, force) &&
           outputProperties({rGamma, gGamma, bGamma}, deviceKey, id, result);
}

bool ScreenInfo::setOneGamma(const QString& deviceKey, const QString& id, const QMap<QString, QVariant>& body)
{
    if (!Request(gammaRoute(deviceKey)).placeHolder("id", id).body(body).put(deviceKey)) {
        return false;
    }
    const QMutexLocker lock(&m_propertyMutex);
    QMap<QString, QVariant>& known = m_screenProperties[deviceKey][id];
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

bool ScreenInfo::getGammaAllList(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request(gammaTableRoute(deviceKey)).placeHolder("id", id).get(deviceKey, result);
}

bool ScreenInfo::setGammaTable(const QString& deviceKey, const QString& id,
                               const QMap<QString, QVariant>& body)
{
    return Request(gammaTableRoute(deviceKey)).placeHolder("id", id).body(body).put(deviceKey);
}

// Quirk: All six parameters of a gamma curve go out, missing ones empty.
bool ScreenInfo::getGammaCurve(const QString& deviceKey, const QString& id, QMap<QString, QString> query,
                               QList<QVariant>& result)
{
    Request request("ScreenGammaCurve");
    request.placeHolder("id", id);
    for (const char* name : {"gammaValue", "grayScale", "lumRatio", "maxY", "qualityMode", "gammaMode"}) {
        request.parameter(name, query.take(QLatin1String(name)));
    }
    return request.get(deviceKey, result);
}

bool ScreenInfo::getGrayScale(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    return Request("ScreenGrayScale").placeHolder("id", id).get(deviceKey, result);
}
