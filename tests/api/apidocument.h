// SPDX-License-Identifier: MIT
#ifndef TESTS_API_APIDOCUMENT_H
#define TESTS_API_APIDOCUMENT_H

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <QByteArray>
#include <QFile>
#include <QString>

#include <set>
#include <string>
#include <vector>

using Json = nlohmann::json;

inline Json jsonFile(const char* path)
{
    QFile file(QStringLiteral(TESSEL_SOURCE_DIR "/") + QLatin1String(path));
    if (!file.open(QIODevice::ReadOnly)) {
        return Json::value_t::discarded;
    }
    return Json::parse(file.readAll().toStdString(), nullptr, false);
}

/// api/openapi.json, read once.
inline const Json& apiDocument()
{
    static const Json document = jsonFile("api/openapi.json");
    return document;
}

/// What a `$ref` of the document stands for.
inline const Json& referred(const Json& reference)
{
    return apiDocument().at(Json::json_pointer(reference.at("$ref").get<std::string>().substr(1)));
}

/// @p schema without references. No schema of the document contains itself.
inline Json resolved(const Json& schema)
{
    if (schema.is_object() && schema.contains("$ref")) {
        return resolved(referred(schema));
    }
    if (!schema.is_structured()) {
        return schema;
    }
    Json result = schema;
    for (auto& member : result) {
        member = resolved(member);
    }
    return result;
}

/// @p schema, resolved, that refuses members which it does not describe, unless it says that there may be
/// others.
inline Json closed(const Json& schema)
{
    Json result = schema;
    if (result.is_object() && result.contains("properties") && !result.contains("additionalProperties")) {
        result["additionalProperties"] = false;
    }
    if (result.is_structured()) {
        for (auto& member : result) {
            member = closed(member);
        }
    }
    return result;
}

/// A schema that values can be checked against.
class Validator
{
public:
    explicit Validator(const Json& schema)
    {
        valijson::SchemaParser(valijson::SchemaParser::kDraft7)
            .populateSchema(valijson::adapters::NlohmannJsonAdapter(schema), m_schema);
    }
    /// @return what is wrong with @p value; empty if it is as the schema says.
    QByteArray errorIn(const Json& value) const
    {
        valijson::Validator validator(valijson::Validator::kStrongTypes);
        valijson::ValidationResults results;
        if (validator.validate(m_schema, valijson::adapters::NlohmannJsonAdapter(value), &results)) {
            return {};
        }
        QByteArray text;
        valijson::ValidationResults::Error error;
        // The first says where it is; each of the others says of which part that is a fault.
        for (int shown = 0; shown < 3 && results.popError(error); ++shown) {
            for (const auto& part : error.context) {
                text += part.c_str();
            }
            text += ": " + QByteArray::fromStdString(error.description) + '\n';
        }
        return text + QByteArray::fromStdString(value.dump()).left(200);
    }

private:
    valijson::Schema m_schema;
};

/// What is wrong with @p value; empty if it is as @p schema says and has no member besides.
inline QByteArray errorIn(const Json& schema, const Json& value)
{
    return Validator(closed(resolved(schema))).errorIn(value);
}

/// One verb of a path.
struct ApiOperation
{
    std::string path;
    std::string verb;      ///< in capitals
    const Json& operation; ///< in the document, like the next
    const Json& pathItem;
};

/// Every verb of every path.
inline const std::vector<ApiOperation>& apiOperations()
{
    static const auto all = [] {
        std::vector<ApiOperation> list;
        for (const auto& [path, item] : apiDocument().at("paths").items()) {
            for (const char* verb : {"get", "put", "post", "delete"}) {
                if (item.contains(verb)) {
                    list.push_back({path, QByteArray(verb).toUpper().toStdString(), item.at(verb), item});
                }
            }
        }
        return list;
    }();
    return all;
}

/// The path with the first instance of everything in place of its placeholders.
inline QByteArray samplePath(const std::string& path)
{
    QByteArray sample = QByteArray::fromStdString(path);
    for (const char* placeholder : {"{id}", "{cid}", "{outputid}", "{type}"}) {
        sample.replace(placeholder, "1");
    }
    return sample.replace(' ', "%20");
}

#endif
