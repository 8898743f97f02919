// SPDX-License-Identifier: MIT
#include "caches.h"

#include "bench/cabinetlist.h"

#include <communicator/httpproxy.h>
#include <tessel/cabinetinfooperator.h>
#include <tessel/hwinfo.h>
#include <tessel/inputinfo.h>
#include <tessel/outputinfooperator.h>
#include <tessel/pipeinfo.h>
#include <tessel/screeninfo.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using Krelm::Communicator::HttpDevice::HttpProxy;

namespace {

using Map = QMap<QString, QVariant>;
using List = QList<QVariant>;

List flattenedElements(const List& list)
{
    List flat;
    for (const QVariant& element : list) {
        flat.append(element.userType() == QMetaType::QVariantMap ? QVariant(flattened(element.toMap()))
                                                                 : element);
    }
    return flat;
}

// A screen repeats its cabinets, of which a device tells as cabinets only.
Map withoutCabinets(Map screens)
{
    for (QVariant& value : screens) {
        if (value.userType() == QMetaType::QVariantList) {
            List elements = value.toList();
            for (QVariant& element : elements) {
                if (element.userType() == QMetaType::QVariantMap) {
                    element = withoutCabinets(element.toMap());
                }
            }
            value = elements;
        }
    }
    screens.remove(QStringLiteral("cabinets"));
    return screens;
}

// Equal values have equal texts, whatever types of numbers they are kept as.
QByteArray textOf(const Map& map)
{
    return QJsonDocument::fromVariant(withoutCabinets(flattened(map))).toJson(QJsonDocument::Compact);
}

QByteArray textOf(const List& list)
{
    return QJsonDocument::fromVariant(flattenedElements(list)).toJson(QJsonDocument::Compact);
}

QByteArray onTheDevice(const SoakDevice& device, const char* path)
{
    const QJsonDocument value = QJsonDocument::fromJson(device.simulator.value(QLatin1String(path)));
    return value.isArray() ? textOf(value.array().toVariantList()) : textOf(value.object().toVariantMap());
}

// The part of @p text around the first byte in which it differs from @p other.
QString whereItDiffers(const QByteArray& text, const QByteArray& other)
{
    const auto end = std::mismatch(text.begin(), text.end(), other.begin(), other.end()).first;
    return QString::fromUtf8(text.mid(std::max(0, int(end - text.begin()) - 40), 60));
}

template <class Container, class Read>
QByteArray inTheCache(Read read)
{
    Container value;
    return read(value) ? textOf(value) : QByteArray();
}

struct Cache
{
    const char* name;
    const char* path;
    QByteArray (*text)(const QString& deviceKey);
};

const Cache caches[] = {
    {"description", "/api/v1/device/hw",
     [](const QString& key) {
         return inTheCache<Map>([&](Map& map) { return HWInfo::getInstance()->getHWInfo(key, map, false); });
     }},
    {"screens", "/api/v1/device/screen",
     [](const QString& key) {
         return inTheCache<Map>([&](Map& map) {
             QMap<QString, Map> screens;
             const bool read = ScreenInfo::getInstance()->getScreens(key, screens, false, false);
             map = screens.isEmpty() ? Map() : screens.first();
             return read;
         });
     }},
    {"cabinets", "/api/v1/device/cabinet",
     [](const QString& key) {
         return inTheCache<List>([&](List& list) {
             return CabinetInfoOperator::getInstance()->getAllCabinetsInfo(key, list, false);
         });
     }},
    {"receiving cards", "/api/v1/device/cabinet/rx",
     [](const QString& key) {
         return inTheCache<List>(
             [&](List& list) { return CabinetInfoOperator::getInstance()->getRvCardsList(key, list); });
     }},
    {"inputs", "/api/v1/device/input",
     [](const QString& key) {
         return inTheCache<List>(
             [&](List& list) { return InputInfo::getInstance()->getAllInputsInfo(key, list, false); });
     }},
    {"outputs", "/api/v1/device/output",
     [](const QString& key) {
         return inTheCache<List>([&](List& list) {
             return OutputInfoOperator::getInstance()->getAllOutputsInfo(key, list, false);
         });
     }},
    {"pipelines", "/api/v1/device/pipeline",
     [](const QString& key) {
         return inTheCache<List>(
             [&](List& list) { return PipeInfo::getInstance()->getDevicePipes(key, list, false); });
     }},
};

} // namespace

bool fillCaches(const SoakDevice& device)
{
    HWInfo::getInstance()->getHwProtoc(device.key, true);
    bool filled = true;
    for (const Cache& cache : caches) {
        filled = !cache.text(device.key).isEmpty() && filled;
    }
    return filled;
}

QStringList staleCaches(const SoakDevice& device)
{
    QStringList stale;
    for (const Cache& cache : caches) {
        const QByteArray cached = cache.text(device.key);
        const QByteArray expected = onTheDevice(device, cache.path);
        if (cached != expected) {
            stale << QStringLiteral("%1: %2, ...%3... instead of ...%4...")
                         .arg(device.key, QLatin1String(cache.name), whereItDiffers(cached, expected),
                              whereItDiffers(expected, cached));
        }
    }
    return stale;
}

void deafenACache()
{
    QObject::disconnect(HttpProxy::getInstance(), nullptr, OutputInfoOperator::getInstance(), nullptr);
}
