// SPDX-License-Identifier: MIT
//
// The description of the device API as such, and against the tables of the code.
#include "apidocument.h"

#include <simulator/routes/routetable.h>
#include <tessel/allurlresource.h>
#include <tessel/pushevents.h>
#include <tessel/records/cabinetinfo.h>
#include <tessel/records/deviceinfo.h>
#include <tessel/records/point.h>
#include <tessel/records/screensinfo.h>
#include <tessel/records/size.h>
#include <tessel/records/subscreeninfo.h>

#include <QMetaProperty>
#include <QtTest>

#include <algorithm>
#include <functional>
#include <map>

using Tessel::Simulator::RouteTable;

namespace {

const std::string eventPath = "/api/v1/events";

std::string pointerStep(const std::string& key)
{
    return "/" + QByteArray::fromStdString(key).replace('~', "~0").replace('/', "~1").toStdString();
}

/// Calls @p visit with each schema of @p node and with where it is.
void forEachSchema(const Json& node, const std::string& place, bool isSchema,
                   const std::function<void(const Json&, const std::string&)>& visit)
{
    if (!node.is_structured()) {
        return;
    }
    if (isSchema && node.is_object()) {
        visit(node, place);
        for (const auto& [key, value] : node.items()) {
            const std::string below = place + pointerStep(key);
            if (key == "properties") {
                for (const auto& [name, property] : value.items()) {
                    forEachSchema(property, below + pointerStep(name), true, visit);
                }
            } else if (key == "items" || key == "additionalProperties") {
                forEachSchema(value, below, true, visit);
            } else if (key == "anyOf" || key == "oneOf") {
                for (std::size_t i = 0; i < value.size(); ++i) {
                    forEachSchema(value[i], below + "/" + std::to_string(i), true, visit);
                }
            }
        }
        return;
    }
    for (const auto& [key, value] : node.items()) {
        if (key == "example" || key == "examples") {
            continue;
        }
        const std::string below = place + pointerStep(key);
        if (place == "/components" && key == "schemas") {
            for (const auto& [name, schema] : value.items()) {
                forEachSchema(schema, below + pointerStep(name), true, visit);
            }
        } else {
            forEachSchema(value, below, key == "schema", visit);
        }
    }
}

void forEachSchema(const std::function<void(const Json&, const std::string&)>& visit)
{
    forEachSchema(apiDocument(), {}, false, visit);
}

void collectReferences(const Json& node, std::set<std::string>& references)
{
    if (node.is_object() && node.contains("$ref")) {
        references.insert(node.at("$ref").get<std::string>());
    }
    if (node.is_structured()) {
        for (const auto& member : node) {
            collectReferences(member, references);
        }
    }
}

struct Record
{
    const char* name;
    const QMetaObject* meta;
};
const Record records[] = {
    {"CabinetInfo", &Tessel::CabinetInfo::staticMetaObject},
    {"DeviceInfo", &Tessel::DeviceInfo::staticMetaObject},
    {"Point", &Tessel::Point::staticMetaObject},
    {"ScreensInfo", &Tessel::ScreensInfo::staticMetaObject},
    {"Size", &Tessel::Size::staticMetaObject},
    {"SubScreenInfo", &Tessel::SubScreenInfo::staticMetaObject},
};

std::set<std::string> verbsOf(const Tessel::Simulator::Route& route)
{
    using namespace Tessel::Simulator;
    std::set<std::string> verbs;
    for (const auto& [verb, name] :
         {std::pair{Get, "GET"}, {Put, "PUT"}, {Post, "POST"}, {Delete, "DELETE"}}) {
        if (route.verbs & verb) {
            verbs.insert(name);
        }
    }
    return verbs;
}

} // namespace

class TestApiDocument : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QVERIFY2(apiDocument().is_object(), "api/openapi.json is not JSON"); }

    void itIsAnOpenApiDocument()
    {
        const QByteArray error =
            Validator(jsonFile("tests/api/openapi-3.1.schema.json")).errorIn(apiDocument());
        QVERIFY2(error.isEmpty(), error.constData());
    }

    void everyRouteAndVerbIsInIt()
    {
        const Json& paths = apiDocument().at("paths");
        for (const auto& route : RouteTable::instance().routes()) {
            QVERIFY2(paths.contains(route.pattern), route.pattern.c_str());
            std::set<std::string> verbs;
            for (const auto& one : apiOperations()) {
                if (one.path == route.pattern) {
                    verbs.insert(one.verb);
                }
            }
            QVERIFY2(verbs == verbsOf(route), route.pattern.c_str());
        }
    }

    void everyPathOfItIsARoute()
    {
        std::set<std::string> routes{eventPath};
        for (const auto& route : RouteTable::instance().routes()) {
            routes.insert(route.pattern);
        }
        for (const auto& path : apiDocument().at("paths").items()) {
            QVERIFY2(routes.count(path.key()) == 1, path.key().c_str());
        }
    }

    void everyRouteKeyIsAtItsPath()
    {
        QMap<QString, QString> keys;
        for (const auto& [path, item] : apiDocument().at("paths").items()) {
            for (const auto& key : item.value("x-tessel-route-keys", Json::array())) {
                keys.insert(QString::fromStdString(key), QString::fromStdString(path));
            }
        }
        QCOMPARE(keys, AllUrlResource::getInstance()->getMapAllUrl());
    }

    void everyPlaceholderIsAParameter()
    {
        for (const auto& [path, item] : apiDocument().at("paths").items()) {
            std::set<std::string> described;
            for (const auto& parameter : resolved(item.value("parameters", Json::array()))) {
                QCOMPARE(parameter.at("in").get<std::string>(), std::string("path"));
                described.insert(parameter.at("name").get<std::string>());
            }
            std::set<std::string> placeholders;
            for (auto open = path.find('{'); open != std::string::npos; open = path.find('{', open + 1)) {
                placeholders.insert(path.substr(open + 1, path.find('}', open) - open - 1));
            }
            QVERIFY2(described == placeholders, path.c_str());
        }
    }

    void everyOperationHasAnIdOfItsOwn()
    {
        std::set<std::string> ids;
        for (const auto& one : apiOperations()) {
            const std::string id = one.operation.at("operationId");
            QVERIFY2(ids.insert(id).second, id.c_str());
        }
    }

    void everyTagIsDescribed()
    {
        std::set<std::string> described;
        for (const auto& tag : apiDocument().at("tags")) {
            described.insert(tag.at("name").get<std::string>());
        }
        std::set<std::string> used;
        for (const auto& one : apiOperations()) {
            used.insert(one.operation.at("tags").at(0).get<std::string>());
        }
        QVERIFY(used == described);
    }

    void everyReferenceLeadsSomewhereAndEveryComponentIsUsed()
    {
        std::set<std::string> references;
        collectReferences(apiDocument(), references);
        std::set<std::string> components;
        for (const char* kind : {"schemas", "parameters", "responses"}) {
            for (const auto& component : apiDocument().at("components").at(kind).items()) {
                components.insert(std::string("#/components/") + kind + "/" + component.key());
            }
        }
        for (const auto& reference : references) {
            QVERIFY2(components.count(reference) == 1, reference.c_str());
        }
        for (const auto& component : components) {
            QVERIFY2(references.count(component) == 1, component.c_str());
        }
    }

    // Draft 7 of JSON Schema and 2020-12, which OpenAPI 3.1 uses, mean the same by these.
    void itsSchemasKeepToWhatTwoDraftsShare()
    {
        const std::set<std::string> keywords{"$ref",
                                             "type",
                                             "description",
                                             "properties",
                                             "required",
                                             "items",
                                             "additionalProperties",
                                             "minimum",
                                             "maximum",
                                             "const",
                                             "anyOf",
                                             "oneOf",
                                             "examples",
                                             "contentMediaType",
                                             "x-tessel-not-specified",
                                             "x-tessel-record",
                                             "x-tessel-fetches",
                                             "x-tessel-signals"};
        QByteArray error;
        int schemas = 0;
        forEachSchema([&](const Json& schema, const std::string& place) {
            ++schemas;
            for (const auto& member : schema.items()) {
                if (keywords.count(member.key()) == 0) {
                    error += QByteArray::fromStdString(place + ": " + member.key() + '\n');
                }
            }
            if (schema.contains("$ref") && schema.size() > 1) {
                error += QByteArray::fromStdString(place + ": draft 7 ignores what is beside $ref\n");
            }
            // One type, or several: a null where a type was forgotten would be valid and mean nothing.
            if (schema.contains("items") && schema.value("type", Json()) != "array") {
                error += QByteArray::fromStdString(place + ": items, and no list\n");
            }
            if (schema.contains("properties") && schema.value("type", Json()) != "object") {
                error += QByteArray::fromStdString(place + ": properties, and no object\n");
            }
            for (const auto& name : schema.value("required", Json::array())) {
                if (!schema.value("properties", Json::object()).contains(name.get<std::string>())) {
                    error += QByteArray::fromStdString(place + ": requires an unknown member\n");
                }
            }
        });
        QVERIFY2(error.isEmpty(), error.constData());
        QVERIFY(schemas > 1000);
    }

    void everyMemberIsDescribed()
    {
        QByteArray error;
        forEachSchema([&](const Json& schema, const std::string& place) {
            const Json properties = schema.value("properties", Json::object());
            for (const auto& [name, property] : properties.items()) {
                if (!property.contains("description") && !property.contains("$ref") &&
                    !property.contains("const")) {
                    error += QByteArray::fromStdString(place + ": " + name + '\n');
                }
            }
        });
        QVERIFY2(error.isEmpty(), error.constData());
    }

    void everyExampleIsAsItsSchemaSays()
    {
        int examples = 0;
        QByteArray errors;
        const auto check = [&](const Json& schema, const Json& example, const std::string& place) {
            ++examples;
            const QByteArray error = errorIn(schema, example);
            if (!error.isEmpty()) {
                errors += QByteArray::fromStdString(place) + ' ' + error + '\n';
            }
        };
        forEachSchema([&](const Json& schema, const std::string& place) {
            for (const auto& example : schema.value("examples", Json::array())) {
                check(schema, example, place);
            }
        });
        const std::function<void(const Json&, const std::string&)> walk = [&](const Json& node,
                                                                              const std::string& place) {
            if (node.is_object() && node.contains("schema") && node.contains("example")) {
                // Parameters travel as text.
                const bool isNumber = resolved(node.at("schema")).value("type", Json()) == "integer";
                if (!node.contains("in") || !isNumber || node.at("example").is_number()) {
                    check(node.at("schema"), node.at("example"), place);
                }
            }
            if (node.is_structured()) {
                for (const auto& [key, value] : node.items()) {
                    walk(value, place + pointerStep(key));
                }
            }
        };
        walk(apiDocument(), {});
        qInfo("%d examples", examples);
        QVERIFY2(errors.isEmpty(), errors.constData());
        QVERIFY(examples > 400);
    }

    void everyRecordsMembersAreInItsSchema()
    {
        std::map<std::string, int> described;
        QByteArray error;
        forEachSchema([&](const Json& schema, const std::string& place) {
            if (!schema.contains("x-tessel-record")) {
                return;
            }
            const std::string name = schema.at("x-tessel-record").at("class");
            const auto record = std::find_if(std::begin(records), std::end(records),
                                             [&](const Record& one) { return one.name == name; });
            if (record == std::end(records)) {
                error += QByteArray::fromStdString(place + ": there is no record " + name + '\n');
                return;
            }
            ++described[name];
            std::set<std::string> members;
            for (const auto& member : schema.at("x-tessel-record").at("members")) {
                members.insert(member.get<std::string>());
            }
            std::set<std::string> properties;
            for (int i = 0; i < record->meta->propertyCount(); ++i) {
                const QMetaProperty property = record->meta->property(i);
                properties.insert(property.name());
                const Json member = resolved(schema.at("properties").value(property.name(), Json::object()));
                const std::string type = member.value("type", std::string());
                const bool fits = property.userType() == QMetaType::QString ? type == "string"
                                  : property.userType() == QMetaType::Int
                                      ? type == "integer"
                                      : type == "object" || type == "array";
                if (!fits) {
                    error += QByteArray::fromStdString(place + ": the type of " + property.name() + '\n');
                }
            }
            if (members != properties) {
                error += QByteArray::fromStdString(place + ": other members than " + name + '\n');
            }
        });
        QVERIFY2(error.isEmpty(), error.constData());
        for (const Record& record : records) {
            QVERIFY2(described.count(record.name) == 1, record.name);
        }
    }

    void everyPushedEventHasItsSchema()
    {
        std::set<std::string> described;
        for (const auto& reference : apiDocument().at("components").at("schemas").at("Event").at("oneOf")) {
            described.insert(reference.at("$ref").get<std::string>());
        }
        QCOMPARE(described.size(), std::size(Tessel::eventRows));
        for (const auto& row : Tessel::eventRows) {
            Json event{{row.text.source.key, row.text.source.text}};
            if (row.text.kind.key) {
                event[row.text.kind.key] = row.text.kind.text;
            }
            const auto matching =
                std::count_if(described.begin(), described.end(), [&](const auto& reference) {
                    const Json schema = referred({{"$ref", reference}});
                    bool matches = true;
                    for (const auto& [key, text] : event.items()) {
                        const Json member = schema.at("properties").value(key, Json::object());
                        matches = matches && member.value("const", Json()) == text;
                    }
                    return matches;
                });
            QVERIFY2(matching == 1, event.dump().c_str());
        }
    }

    void whatIsNotSpecifiedIsOpenAndCounted()
    {
        forEachSchema([&](const Json& schema, const std::string& place) {
            if (schema.contains("x-tessel-not-specified")) {
                const bool open = !schema.contains("type") ||
                                  schema.value("additionalProperties", Json()) == true ||
                                  schema.value("items", Json()).contains("$ref");
                QVERIFY2(open, place.c_str());
                QVERIFY2(schema.at("description").get<std::string>().rfind("Not specified.", 0) == 0,
                         place.c_str());
            }
        });
        std::map<std::string, int> bodies;
        std::map<std::string, int> unknown;
        const auto count = [&](const char* kind, const Json& schema) {
            ++bodies[kind];
            unknown[kind] +=
                resolved(schema).dump().find("x-tessel-not-specified") != std::string::npos ? 1 : 0;
        };
        for (const auto& one : apiOperations()) {
            for (const auto& media :
                 one.operation.value("requestBody", Json::object()).value("content", Json::object())) {
                count("requests", media.at("schema"));
            }
            const Json reply = resolved(one.operation.at("responses").at("200"));
            for (const auto& media : reply.at("content")) {
                count(one.verb == "GET" ? "reads" : "writes", media.at("schema"));
            }
        }
        for (const auto& [kind, number] : bodies) {
            qInfo("%s: %d of %d bodies are not specified", kind.c_str(), unknown[kind], number);
        }
        QVERIFY(unknown["requests"] < bodies["requests"] / 2);
        QVERIFY(unknown["reads"] < bodies["reads"] / 2);
    }
};

QTEST_GUILESS_MAIN(TestApiDocument)
#include "tst_apidocument.moc"
