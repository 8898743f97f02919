// SPDX-License-Identifier: MIT
#include "tesselctl/commands/wallcopy.h"

#include "tesselctl/terminal/jsontext.h"
#include "tesselctl/terminal/printable.h"
#include <operations/reference.h>

#include <QFile>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <iterator>
#include <utility>

namespace TesselCtl {

using Tessel::Operations::referenceEntries;
using Tessel::Operations::ReferenceEntry;
using Tessel::Operations::ReferenceRequest;

namespace {

const QString formatName = QStringLiteral("tesselctl wall");
constexpr int formatVersion = 1;
constexpr qint64 sizeLimit = 256LL * 1024 * 1024;

const QString hardwarePath = QStringLiteral("/api/v1/device/hw");
const QString idPlace = QStringLiteral("{id}");

/// The paths that any operation sends @p verb to, for a device of @p protocol.
QStringList pathsOf(const char* verb, const QString& protocol)
{
    QStringList paths;
    for (const ReferenceEntry& entry : referenceEntries()) {
        for (const ReferenceRequest& request : entry.requests) {
            if (request.verb == QLatin1String(verb) && !request.path.isEmpty() &&
                (request.protocol.isEmpty() || request.protocol == protocol)) {
                paths << request.path;
            }
        }
    }
    paths.removeDuplicates();
    return paths;
}

/// What has a path for each of several: the part of the path before the id, and the path of the list with the
/// ids.
struct Family
{
    const char* before;
    const char* list;
};

// Cabinets have lists of nearly everything, and there are too many of them to ask for each.
constexpr Family families[] = {{"/api/v1/device/screen/", "/api/v1/device/screen"},
                               {"/api/v1/screen/", "/api/v1/screen"},
                               {"/api/v1/device/input/", "/api/v1/device/input"},
                               {"/api/v1/device/pipeline/", "/api/v1/device/pipeline"}};

/// The elements of a list of screens, inputs or the like, however the device wraps it.
QVariantList elementsOf(const QVariant& data)
{
    if (data.userType() == QMetaType::QVariantList) {
        return data.toList();
    }
    const QVariantMap map = data.toMap();
    const QVariantList inner = map.value(QStringLiteral("screens")).toList();
    return inner.isEmpty() && !map.isEmpty() ? QVariantList{map} : inner;
}

QString idOf(const QVariantMap& record)
{
    for (const char* name : {"id", "screenID", "screenId"}) {
        if (record.contains(QLatin1String(name))) {
            return record.value(QLatin1String(name)).toString();
        }
    }
    return {};
}

// What changes by itself.
bool isMeasured(const QString& member)
{
    static const QSet<QString> measured{QStringLiteral("temperature"), QStringLiteral("voltage"),
                                        QStringLiteral("fanSpeed"),    QStringLiteral("time"),
                                        QStringLiteral("screenTime"),  QStringLiteral("bitErrors")};
    return measured.contains(member);
}

bool isMeasuredPath(const QString& path)
{
    return path.contains(QLatin1String("/monitor/")) || path.endsWith(QLatin1String("updateprogress"));
}

/// The values within @p value by their place. Elements of a list have their id for a place, if they have one.
void flatten(const QString& where, const QVariant& value, QMap<QString, QVariant>& leaves)
{
    if (value.userType() == QMetaType::QVariantMap) {
        const QVariantMap map = value.toMap();
        for (auto member = map.begin(); member != map.end(); ++member) {
            if (!isMeasured(member.key())) {
                flatten(where + QLatin1Char(' ') + member.key(), member.value(), leaves);
            }
        }
    } else if (value.userType() == QMetaType::QVariantList) {
        const QVariantList list = value.toList();
        for (int i = 0; i < list.size(); ++i) {
            const QString id = idOf(list[i].toMap());
            flatten(where + QStringLiteral(" [%1]").arg(id.isEmpty() ? QString::number(i) : id), list[i],
                    leaves);
        }
    } else {
        leaves.insert(where, value);
    }
}

QMap<QString, QVariant> leavesOf(const WallCopy& copy)
{
    QMap<QString, QVariant> leaves;
    for (auto value = copy.values.begin(); value != copy.values.end(); ++value) {
        if (!isMeasuredPath(value.key())) {
            flatten(value.key(), value.value(), leaves);
        }
    }
    return leaves;
}

/// Names are written to paths of their own.
void addNames(const WallCopy& now, const WallCopy& wanted, std::vector<CopyWrite>& writes)
{
    const QString customName = QStringLiteral("customName");
    const QVariant name = wanted.values.value(hardwarePath).toMap().value(customName);
    if (name.isValid() && name != now.values.value(hardwarePath).toMap().value(customName)) {
        writes.push_back({QStringLiteral("/api/v1/device/hw/customname"), {{QStringLiteral("name"), name}}});
    }
    const QString screenName = QStringLiteral("screenName");
    for (const char* path : {"/api/v1/device/screen", "/api/v1/screen"}) {
        QMap<QString, QVariant> names;
        for (const QVariant& screen : elementsOf(now.values.value(QLatin1String(path)))) {
            names.insert(idOf(screen.toMap()), screen.toMap().value(screenName));
        }
        for (const QVariant& screen : elementsOf(wanted.values.value(QLatin1String(path)))) {
            const QString id = idOf(screen.toMap());
            const QVariant wantedName = screen.toMap().value(screenName);
            if (names.contains(id) && wantedName.isValid() && names.value(id) != wantedName) {
                writes.push_back({QStringLiteral("/api/v1/device/screen/name"),
                                  {{QStringLiteral("screenID"), id}, {QStringLiteral("name"), wantedName}}});
            }
        }
    }
}

} // namespace

QVariantMap WallCopy::toObject() const
{
    return {{QStringLiteral("format"), formatName},
            {QStringLiteral("formatVersion"), formatVersion},
            {QStringLiteral("protocol"), protocol},
            {QStringLiteral("values"), values},
            {QStringLiteral("unreadable"), unreadable}};
}

Expected<WallCopy> WallCopy::fromFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return Error{QStringLiteral("%1 cannot be read: %2").arg(printable(path), file.errorString())};
    }
    if (file.size() > sizeLimit) {
        return Error{QStringLiteral("%1 is larger than 256 MiB").arg(printable(path))};
    }
    const Expected<QVariant> json = parseJson(file.readAll());
    const QVariantMap object = json ? json->toMap() : QVariantMap();
    if (object.value(QStringLiteral("format")).toString() != formatName ||
        object.value(QStringLiteral("formatVersion")).toInt() != formatVersion) {
        return Error{
            QStringLiteral("%1 is not a file that \"tesselctl export\" has written").arg(printable(path))};
    }
    return WallCopy{object.value(QStringLiteral("protocol")).toString(),
                    object.value(QStringLiteral("values")).toMap(),
                    object.value(QStringLiteral("unreadable")).toMap()};
}

WallCopy copyOf(Wall& wall)
{
    WallCopy copy;
    copy.protocol = wall.protocol();
    const auto read = [&](const QString& path) {
        const Expected<QVariant> value = wall.read(path);
        if (value) {
            copy.values.insert(path, *value);
        } else if (wall.outcome().code == Done) {
            copy.unreadable.insert(path, value.error());
        }
    };
    QStringList perElement;
    for (const QString& path : pathsOf("GET", copy.protocol)) {
        if (!path.contains(QLatin1Char('{'))) {
            read(path);
        } else if (path.count(QLatin1Char('{')) == 1 && path.contains(idPlace)) {
            perElement << path;
        }
    }
    for (const Family& family : families) {
        const QVariantList elements = elementsOf(copy.values.value(QLatin1String(family.list)));
        const QString before = QLatin1String(family.before) + idPlace;
        for (const QString& path : std::as_const(perElement)) {
            for (const QVariant& element : elements) {
                if (path.startsWith(before)) {
                    read(QString(path).replace(idPlace, idOf(element.toMap())));
                }
            }
        }
    }
    return copy;
}

QVariantList differencesOf(const WallCopy& left, const WallCopy& right)
{
    const QMap<QString, QVariant> ofLeft = leavesOf(left);
    const QMap<QString, QVariant> ofRight = leavesOf(right);
    QStringList places = ofLeft.keys() + ofRight.keys();
    places.sort();
    places.removeDuplicates();
    QVariantList differences;
    for (const QString& where : std::as_const(places)) {
        const QVariant one = ofLeft.value(where);
        const QVariant other = ofRight.value(where);
        if (toJson(one, false) != toJson(other, false) || ofLeft.contains(where) != ofRight.contains(where)) {
            QVariantMap row{{QStringLiteral("where"), where}};
            if (ofLeft.contains(where)) {
                row.insert(QStringLiteral("left"), one);
            }
            if (ofRight.contains(where)) {
                row.insert(QStringLiteral("right"), other);
            }
            differences << row;
        }
    }
    return differences;
}

std::vector<CopyWrite> writesFor(const WallCopy& now, const WallCopy& wanted)
{
    std::vector<CopyWrite> writes;
    addNames(now, wanted, writes);
    QStringList patterns;
    for (const QString& path : pathsOf("PUT", now.protocol)) {
        const bool isOfFamily =
            std::any_of(std::begin(families), std::end(families), [&path](const Family& family) {
                return path.startsWith(QLatin1String(family.before));
            });
        if (isOfFamily) {
            patterns << QRegularExpression::escape(path).replace(QRegularExpression::escape(idPlace),
                                                                 QStringLiteral("[^/]+"));
        }
    }
    const QRegularExpression writable(QStringLiteral("^(?:%1)$").arg(patterns.join(QLatin1Char('|'))));
    for (auto value = wanted.values.begin(); value != wanted.values.end(); ++value) {
        const QVariant present = now.values.value(value.key());
        WallCopy one{{}, {{value.key(), present}}, {}};
        WallCopy other{{}, {{value.key(), value.value()}}, {}};
        if (present.userType() == QMetaType::QVariantMap && value->userType() == QMetaType::QVariantMap &&
            writable.match(value.key()).hasMatch() && !differencesOf(one, other).isEmpty()) {
            writes.push_back({value.key(), value->toMap()});
        }
    }
    return writes;
}

} // namespace TesselCtl
