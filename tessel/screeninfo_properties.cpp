// SPDX-License-Identifier: MIT
//
// ScreenInfo: reads of a screen's properties.
#include <tessel/frames/operationscope.h>
#include <tessel/frames/request.h>
#include <tessel/frames/screenproperty.h>
#include <tessel/screeninfo.h>

#include <algorithm>
#include <utility>

using Tessel::gamut;
using Tessel::lowLatency;
using Tessel::readAs;
using Tessel::Request;
using Tessel::ScreenProperty;
using Tessel::uniformDisplay;
using Tessel::xbit;

namespace {

// Quirk: HDR and 3D writes leave the cached properties as they were.
constexpr ScreenProperty hdrSwitch{"enable", readAs<bool>, "hdrSwitch"};
constexpr ScreenProperty hdrMode{"mode", readAs<int>, "hdrMode"};
constexpr ScreenProperty hlgMode{"hlgMode", readAs<int>, "hlgMode"};
constexpr ScreenProperty maxoflight{"peakBrightness", readAs<int>, "maxoflight"};
constexpr ScreenProperty illuminance{"illuminance", readAs<int>, "illuminance"};
constexpr ScreenProperty lowgray{"lowGray", readAs<int>, "lowGray"};
constexpr ScreenProperty threeDSwitch{"enable", readAs<bool>, "threeDSwitch"};
constexpr ScreenProperty threeDSourceMode{"sourceMode", readAs<int>, "threeDSourceMode"};
constexpr ScreenProperty threeDEyepriority{"eyePriority", readAs<int>, "threeDEyepriority"};
constexpr ScreenProperty threeDDepthField{"fieldDepth", readAs<int>, "threeDDepthField"};
constexpr ScreenProperty threeDStartpositionX{"rightEyeOffset.x", readAs<int>, "threeDStartpositionX"};
constexpr ScreenProperty threeDStartpositionY{"rightEyeOffset.y", readAs<int>, "threeDStartpositionY"};

} // namespace

bool ScreenInfo::get18bit(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenXbit", xbit, deviceKey, id, force);
}

bool ScreenInfo::getCurrentGamut(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenGamut", gamut, deviceKey, id, force);
}

bool ScreenInfo::getLowLatency(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenLowLatency", lowLatency, deviceKey, id, force);
}

bool ScreenInfo::getUniformDisplay(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenUniformDisplay", uniformDisplay, deviceKey, id, force);
}

bool ScreenInfo::getHdrSwitch(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenHDRSwitch", hdrSwitch, deviceKey, id, force);
}

bool ScreenInfo::getHdrMode(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenHDRType", hdrMode, deviceKey, id, force);
}

bool ScreenInfo::getHlgtype(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenHLGMode", hlgMode, deviceKey, id, force);
}

bool ScreenInfo::getMaxoflight(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenHDRPeakBrightness", maxoflight, deviceKey, id, force);
}

bool ScreenInfo::getIlluminance(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenHDRIlluminance", illuminance, deviceKey, id, force);
}

bool ScreenInfo::getLowgray(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenHDRLowgray", lowgray, deviceKey, id, force);
}

bool ScreenInfo::getThreeDSwitch(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("Screen3DSwitch", threeDSwitch, deviceKey, id, force);
}

bool ScreenInfo::getThreeDSourceMode(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("ScreenSourceMode", threeDSourceMode, deviceKey, id, force);
}

bool ScreenInfo::getThreeDEyepriority(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("Screen3DEyepriority", threeDEyepriority, deviceKey, id, force);
}

bool ScreenInfo::getThreeDDepthField(const QString& deviceKey, const QString& id, bool force)
{
    return readProperty("Screen3DFieldDepth", threeDDepthField, deviceKey, id, force);
}

// Quirk: The offset of the right eye is never answered from the cache. Nothing stores the key.
bool ScreenInfo::getThreeDStartposition(const QString& deviceKey, const QString& id, bool force)
{
    return knowsProperties({"threeDStartposition"}, deviceKey, id, force) ||
           fetchProperties("Screen3DRighteyeOffset", {threeDStartpositionX, threeDStartpositionY}, deviceKey,
                           id);
}

bool ScreenInfo::get18bit(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                          bool force)
{
    return get18bit(deviceKey, id, force) && outputProperties({xbit}, deviceKey, id, result);
}

bool ScreenInfo::getCurrentGamut(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                                 bool force)
{
    return getCurrentGamut(deviceKey, id, force) && outputProperties({gamut}, deviceKey, id, result);
}

bool ScreenInfo::getLowLatency(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result,
                               bool force)
{
    return getLowLatency(deviceKey, id, force) && outputProperties({lowLatency}, deviceKey, id, result);
}

bool ScreenInfo::getUniformDisplay(const QString& deviceKey, const QString& id,
                                   QMap<QString, QVariant>& result, bool force)
{
    return getUniformDisplay(deviceKey, id, force) &&
           outputProperties({uniformDisplay}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenHdrparamHdrSwitch(const QString& deviceKey, const QString& id,
                                                  QMap<QString, QVariant>& result, bool force)
{
    return getHdrSwitch(deviceKey, id, force) && outputProperties({hdrSwitch}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenHdrparamHdrMode(const QString& deviceKey, const QString& id,
                                                QMap<QString, QVariant>& result, bool force)
{
    return getHdrMode(deviceKey, id, force) && outputProperties({hdrMode}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenHdrparamHlgtype(const QString& deviceKey, const QString& id,
                                                QMap<QString, QVariant>& result, bool force)
{
    return getHlgtype(deviceKey, id, force) && outputProperties({hlgMode}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenHdrparamMaxoflight(const QString& deviceKey, const QString& id,
                                                   QMap<QString, QVariant>& result, bool force)
{
    return getMaxoflight(deviceKey, id, force) && outputProperties({maxoflight}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenHdrparamIlluminance(const QString& deviceKey, const QString& id,
                                                    QMap<QString, QVariant>& result, bool force)
{
    return getIlluminance(deviceKey, id, force) && outputProperties({illuminance}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenHdrparamLowgray(const QString& deviceKey, const QString& id,
                                                QMap<QString, QVariant>& result, bool force)
{
    return getLowgray(deviceKey, id, force) && outputProperties({lowgray}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenthreeDSwitch(const QString& deviceKey, const QString& id,
                                             QMap<QString, QVariant>& result, bool force)
{
    return getThreeDSwitch(deviceKey, id, force) && outputProperties({threeDSwitch}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenthreeDSourceMode(const QString& deviceKey, const QString& id,
                                                 QMap<QString, QVariant>& result, bool force)
{
    return getThreeDSourceMode(deviceKey, id, force) &&
           outputProperties({threeDSourceMode}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenthreeDEyepriority(const QString& deviceKey, const QString& id,
                                                  QMap<QString, QVariant>& result, bool force)
{
    return getThreeDEyepriority(deviceKey, id, force) &&
           outputProperties({threeDEyepriority}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenthreeDDepthField(const QString& deviceKey, const QString& id,
                                                 QMap<QString, QVariant>& result, bool force)
{
    return getThreeDDepthField(deviceKey, id, force) &&
           outputProperties({threeDDepthField}, deviceKey, id, result);
}

bool ScreenInfo::getDeviceScreenthreeDStartposition(const QString& deviceKey, const QString& id,
                                                    QMap<QString, QVariant>& result, bool force)
{
    return getThreeDStartposition(deviceKey, id, force) &&
           outputProperties({threeDStartpositionX, threeDStartpositionY}, deviceKey, id, result);
}

// Quirk: Two reads send the caller's map as the body of a GET.
// Quirk: Some operations return the reply in the map that they send.
// Quirk: Some arguments are accepted and ignored.
bool ScreenInfo::getColorTemperature(const QString& deviceKey, const QString& id,
                                     QMap<QString, QVariant>& body, bool)
{
    return Request("ScreenColorTemperature").placeHolder("id", id).body(body).get(deviceKey, body);
}

// Quirk: An id goes along although the path has no place for it.
bool ScreenInfo::getScreenColorSpaceInfo(const QString& deviceKey, const QString& id,
                                         QMap<QString, QVariant>& result)
{
    return Request("ScreenColorSpaceInfo").placeHolder("id", id).get(deviceKey, result);
}

// Quirk: The latest read of the XBit mode keeps its package.
bool ScreenInfo::getXbitMode(const QString& deviceKey, const QString& id, QMap<QString, QVariant>& result)
{
    static Request* retained = nullptr;
    delete std::exchange(retained, nullptr);
    retained = new Request("ScreenXbitMode");
    return retained->placeHolder("id", id).get(deviceKey, result);
}

// Quirk: Some operations do nothing and stay exported.
bool ScreenInfo::getFineGray(const QString&, const QString&, bool)
{
    return false;
}

bool ScreenInfo::getFineGray(const QString&, const QString&, QMap<QString, QVariant>&, bool)
{
    return false;
}

bool ScreenInfo::readProperty(const char* routeKey, const ScreenProperty& property, const QString& deviceKey,
                              const QString& id, bool force)
{
    return knowsProperties({property.cacheKey}, deviceKey, id, force) ||
           fetchProperties(routeKey, {property}, deviceKey, id);
}

// Quirk: Cached properties never expire. Neither the watch switch nor an event changes that.
bool ScreenInfo::knowsProperties(std::initializer_list<const char*> cacheKeys, const QString& deviceKey,
                                 const QString& id, bool force)
{
    if (force) {
        return false;
    }
    const QMutexLocker lock(&m_propertyMutex);
    const QMap<QString, QVariant> known = m_screenProperties.value(deviceKey).value(id);
    const bool all = std::all_of(cacheKeys.begin(), cacheKeys.end(),
                                 [&known](const char* key) { return known.contains(QLatin1String(key)); });
    if (all) {
        Tessel::nothingIsSent();
    }
    return all;
}

// Quirk: A property that the reply lacks is cached as 0.
bool ScreenInfo::fetchProperties(const char* routeKey, std::initializer_list<ScreenProperty> properties,
                                 const QString& deviceKey, const QString& id)
{
    Request request(routeKey);
    request.placeHolder("id", id).get(deviceKey);
    const QMutexLocker lock(&m_mutex);
    QMap<QString, QVariant> reply;
    if (!request.decodeInto(reply)) {
        return false;
    }
    QMap<QString, QVariant>& known = m_screenProperties[deviceKey][id];
    for (const ScreenProperty& property : properties) {
        known[QLatin1String(property.cacheKey)] = property.read(reply.value(QLatin1String(property.name)));
    }
    return true;
}

bool ScreenInfo::outputProperties(std::initializer_list<ScreenProperty> properties, const QString& deviceKey,
                                  const QString& id, QMap<QString, QVariant>& result)
{
    // Quirk: Reading out a property that is not cached makes it cached. It has no value then.
    QMap<QString, QVariant>& known = m_screenProperties[deviceKey][id];
    QMap<QString, QVariant> values;
    for (const ScreenProperty& property : properties) {
        values.insert(QLatin1String(property.name), property.read(known[QLatin1String(property.cacheKey)]));
    }
    result = values;
    return true;
}
