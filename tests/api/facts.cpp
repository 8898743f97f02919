// SPDX-License-Identifier: MIT
//
// Prints as JSON what the code knows of the device API: its routes with their verbs, what each operation
// sends and does, the pushed events, and what a small simulated controller replies. `api/assemble` puts it
// into `api/openapi.json`, `docs/reference/generate` into the reference.
#include "tests/api/operationfacts.h"

#include <simulator/routes/routetable.h>
#include <simulator/simulator.h>
#include <tessel/pushevents.h>

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLoggingCategory>

#include <cstdio>
#include <utility>
#include <vector>

using Tessel::Simulator::RouteTable;

namespace {

const char* scopeName(Tessel::Simulator::Scope scope)
{
    using Tessel::Simulator::Scope;
    switch (scope) {
    case Scope::Collection:
        return "collection";
    case Scope::Instance:
        return "instance";
    case Scope::Property:
        return "property";
    case Scope::Plural:
        return "plural";
    case Scope::Firmware:
        return "firmware";
    case Scope::Value:
        break;
    }
    return "value";
}

QJsonArray routes()
{
    using namespace Tessel::Simulator;
    const std::pair<Verb, const char*> verbNames[] = {
        {Get, "GET"}, {Put, "PUT"}, {Post, "POST"}, {Delete, "DELETE"}};
    QJsonArray list;
    for (const auto& route : RouteTable::instance().routes()) {
        QJsonArray keys;
        for (const auto& key : route.keys) {
            keys.append(QString::fromStdString(key));
        }
        QJsonArray verbs;
        for (const auto& [verb, name] : verbNames) {
            if (route.verbs & verb) {
                verbs.append(QLatin1String(name));
            }
        }
        QJsonArray events;
        for (const auto& event : {route.nameEvent, route.changeEvent}) {
            if (event) {
                const auto& text = Tessel::eventRow(*event).text;
                events.append(QLatin1String(text.kind.text ? text.kind.text : text.source.text));
            }
        }
        list.append(QJsonObject{{"path", QString::fromStdString(route.pattern)},
                                {"keys", keys},
                                {"verbs", verbs},
                                {"events", events},
                                {"scope", QLatin1String(scopeName(route.scope))},
                                {"takesFiles", route.takesFiles},
                                {"multiScreenOnly", route.multiScreenOnly}});
    }
    return list;
}

QJsonArray events()
{
    QJsonArray list;
    for (const auto& row : Tessel::eventRows) {
        QJsonObject members{{QLatin1String(row.text.source.key), QLatin1String(row.text.source.text)}};
        if (row.text.kind.key) {
            members.insert(QLatin1String(row.text.kind.key), QLatin1String(row.text.kind.text));
        }
        QJsonArray signalNames;
        QJsonArray fetches;
        for (const auto& effect : row.effects) {
            if (effect.signal) {
                signalNames.append(QLatin1String(row.operatorClass) + "::" + QLatin1String(effect.signal));
            }
            if (effect.routeKey) {
                fetches.append(QLatin1String(effect.routeKey));
            }
        }
        list.append(QJsonObject{{"members", members},
                                {"payload", QLatin1String(row.text.payload)},
                                {"fetches", fetches},
                                {"signals", signalNames}});
    }
    return list;
}

QString withIds(QString path)
{
    for (const char* placeholder : {"{id}", "{cid}", "{outputid}"}) {
        path.replace(QLatin1String(placeholder), QStringLiteral("1"));
    }
    return path;
}

QJsonObject replies()
{
    Tessel::Simulator::Options options;
    options.screens = 1;
    options.cabinets = 2;
    options.inputs = 1;
    const Tessel::Simulator::Simulator simulator(options);
    QJsonObject all;
    for (const auto& route : RouteTable::instance().routes()) {
        const QString path = QString::fromStdString(route.pattern);
        const QByteArray data =
            route.scope == Tessel::Simulator::Scope::Firmware ? QByteArray() : simulator.value(withIds(path));
        if (!data.isEmpty()) {
            all.insert(path, QJsonDocument::fromJson("[" + data + "]").array().first());
        }
    }
    return all;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    // What operations log about sample arguments helps nobody.
    QLoggingCategory::setFilterRules(QStringLiteral("*=false"));
    const QJsonObject facts{
        {"routes", routes()}, {"operations", operationFacts()}, {"events", events()}, {"replies", replies()}};
    const QByteArray text = QJsonDocument(facts).toJson(QJsonDocument::Compact);
    return std::fwrite(text.constData(), 1, static_cast<std::size_t>(text.size()), stdout) ==
                   static_cast<std::size_t>(text.size())
               ? 0
               : 1;
}
