// SPDX-License-Identifier: MIT
#include "operations/reference.h"

#include <QHash>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <string_view>

namespace Tessel::Operations {

/// The content of reference.json. Its source is generated at build time.
std::string_view referenceText();

namespace {

QStringList textsOf(const QJsonValue& value)
{
    QStringList texts;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& one : array) {
        texts << one.toString();
    }
    return texts;
}

QString jsonText(const QJsonValue& value)
{
    const QJsonDocument document =
        value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
}

ReferenceBody bodyOf(const QJsonObject& object)
{
    const QJsonValue sample = object[QLatin1String("sample")];
    return {sample.isArray() || sample.isObject() ? jsonText(sample) : sample.toString(),
            textsOf(object[QLatin1String("members")])};
}

ReferenceRequest requestOf(const QJsonObject& object)
{
    return {
        object[QLatin1String("protocol")].toString(),     object[QLatin1String("verb")].toString(),
        object[QLatin1String("path")].toString(),         textsOf(object[QLatin1String("query")]),
        object[QLatin1String("timeLimit")].toInt(),       object[QLatin1String("waits")].toString(),
        bodyOf(object[QLatin1String("body")].toObject()), bodyOf(object[QLatin1String("reply")].toObject())};
}

ReferenceEntry entryOf(const QJsonObject& object)
{
    ReferenceEntry entry{object[QLatin1String("name")].toString(),
                         object[QLatin1String("declaration")].toString(),
                         textsOf(object[QLatin1String("text")]),
                         textsOf(object[QLatin1String("warnings")]),
                         object[QLatin1String("mark")].toString(),
                         object[QLatin1String("waitTime")].toBool(),
                         {},
                         textsOf(object[QLatin1String("cache")]),
                         textsOf(object[QLatin1String("signals")])};
    const QJsonArray requests = object[QLatin1String("requests")].toArray();
    for (const QJsonValue& request : requests) {
        entry.requests.push_back(requestOf(request.toObject()));
    }
    return entry;
}

} // namespace

const std::vector<ReferenceEntry>& referenceEntries()
{
    static const std::vector<ReferenceEntry> entries = [] {
        const std::string_view text = referenceText();
        const QByteArray bytes = QByteArray::fromRawData(text.data(), static_cast<int>(text.size()));
        std::vector<ReferenceEntry> all;
        const QJsonArray array = QJsonDocument::fromJson(bytes).array();
        for (const QJsonValue& one : array) {
            all.push_back(entryOf(one.toObject()));
        }
        return all;
    }();
    return entries;
}

const ReferenceEntry* referenceOf(const QString& name)
{
    const std::vector<ReferenceEntry>& entries = referenceEntries();
    const auto found = std::find_if(entries.begin(), entries.end(),
                                    [&name](const ReferenceEntry& entry) { return entry.name == name; });
    return found == entries.end() ? nullptr : &*found;
}

QStringList referenceNames(const std::vector<Operation>& operations)
{
    QHash<QString, int> overloads;
    for (const Operation& operation : operations) {
        ++overloads[operation.qualifiedName()];
    }
    QHash<QString, int> seen;
    QStringList names;
    for (const Operation& operation : operations) {
        const QString name = operation.qualifiedName();
        const int number = ++seen[name];
        names << (overloads.value(name) > 1 ? name + QStringLiteral("#%1").arg(number) : name);
    }
    return names;
}

} // namespace Tessel::Operations
