// SPDX-License-Identifier: MIT
#include <simulator/device/requestschemas.h>

#include <simulator/device/openapi.h>
#include <simulator/text/jsontools.h>

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validator.hpp>

#include <algorithm>
#include <map>
#include <mutex>

namespace Tessel::Simulator {
namespace {

using nlohmann::json;

/// @p schema without references, which refuses members that it does not describe unless it says that there
/// may be others. No schema of the description contains itself.
json complete(const json& schema, const json& description)
{
    if (schema.is_object() && schema.contains("$ref")) {
        const auto target = schema.at("$ref").get<std::string>().substr(1);
        return complete(description.at(json::json_pointer(target)), description);
    }
    json result = schema;
    if (result.is_structured()) {
        for (auto& member : result) {
            member = complete(member, description);
        }
    }
    if (result.is_object() && result.contains("properties") && !result.contains("additionalProperties")) {
        result["additionalProperties"] = false;
    }
    return result;
}

bool isOfType(const json& value, const std::string& type)
{
    return type == "object"    ? value.is_object()
           : type == "array"   ? value.is_array()
           : type == "string"  ? value.is_string()
           : type == "boolean" ? value.is_boolean()
           : type == "null"    ? value.is_null()
           : type == "integer" ? value.is_number_integer()
                               : value.is_number();
}

const char* typeInWords(const std::string& type)
{
    return type == "object"    ? "an object"
           : type == "array"   ? "a list"
           : type == "string"  ? "text"
           : type == "boolean" ? "true or false"
           : type == "null"    ? "null"
           : type == "integer" ? "a whole number"
                               : "a number";
}

std::string typeOf(const json& value)
{
    return value.is_number_integer() ? "integer" : value.type_name();
}

/// Finds the mistakes of a value that is not as its schema says.
class Explanation
{
public:
    std::vector<BodyMistake> of(const json& schema, const json& value)
    {
        look(schema, value, {}, {});
        if (m_mistakes.empty()) {
            add({}, {}, "is not as its schema says");
        }
        return std::move(m_mistakes);
    }

private:
    void look(const json& schema, const json& value, const std::string& path, const std::string& kind)
    {
        if (m_mistakes.size() >= RequestSchemas::maxMistakes) {
            return;
        }
        const json types = schema.value("type", json());
        const json list = types.is_string() ? json::array({types}) : types;
        const auto fits = [&value](const json& type) { return isOfType(value, type.get<std::string>()); };
        if (list.is_array() && std::none_of(list.begin(), list.end(), fits)) {
            std::string wanted;
            for (const auto& type : list) {
                wanted += (wanted.empty() ? "" : " or ") + std::string(typeInWords(type.get<std::string>()));
            }
            add(path, kind + " type", "must be " + wanted + ", not " + typeInWords(typeOf(value)));
        } else if (value.is_number()) {
            lookAtRange(schema, value, path, kind);
        } else if (value.is_object()) {
            lookAtMembers(schema, value, path, kind);
        } else if (value.is_array() && schema.contains("items")) {
            for (std::size_t i = 0; i < value.size(); ++i) {
                look(schema["items"], value[i], path + "[" + std::to_string(i) + "]", kind + "[]");
            }
        }
    }

    void lookAtRange(const json& schema, const json& value, const std::string& path, const std::string& kind)
    {
        const bool isLow = schema.contains("minimum") && value < schema["minimum"];
        const bool isHigh = schema.contains("maximum") && value > schema["maximum"];
        if (!isLow && !isHigh) {
            return;
        }
        const std::string least = schema.contains("minimum") ? schema["minimum"].dump() : std::string();
        const std::string most = schema.contains("maximum") ? schema["maximum"].dump() : std::string();
        const std::string range = least.empty()  ? most + " at most"
                                  : most.empty() ? least + " at least"
                                                 : least + " to " + most;
        add(path, kind + " range", "must be " + range + ", not " + value.dump());
    }

    void lookAtMembers(const json& schema, const json& value, const std::string& path,
                       const std::string& kind)
    {
        const std::string before = path.empty() ? path : path + ".";
        for (const auto& name : schema.value("required", json::array())) {
            if (!value.contains(name.get<std::string>())) {
                add(before + name.get<std::string>(), kind + " without " + name.get<std::string>(),
                    "is missing");
            }
        }
        const json properties = schema.value("properties", json::object());
        for (const auto& [name, member] : value.items()) {
            const std::string shown = nameInAscii(name);
            if (properties.contains(name)) {
                std::string within = kind;
                within.append(".").append(name);
                look(properties[name], member, before + shown, within);
            } else if (schema.value("additionalProperties", json(true)) == false) {
                add(before + shown, kind + " unknown", "is no member that is known here");
            }
        }
    }

    void add(const std::string& path, const std::string& kind, const std::string& text)
    {
        if (m_mistakes.size() < RequestSchemas::maxMistakes) {
            m_mistakes.push_back({kind, (path.empty() ? "the body" : path) + ' ' + text});
        }
    }

    std::vector<BodyMistake> m_mistakes;
};

} // namespace

class RequestSchemas::Schemas
{
public:
    Schemas()
        : m_description(json::parse(openApiText()))
    {}

    /// A schema that bodies of one type are checked against.
    struct Checked
    {
        json schema;
        valijson::Schema compiled;
    };
    /// What is described of a body, one for each type that it may have.
    using Variants = std::vector<std::unique_ptr<Checked>>;

    const Variants& variants(const std::string& pattern, const std::string& method)
    {
        const std::lock_guard lock(m_mutex);
        const auto [found, isNew] = m_variants.try_emplace({pattern, method});
        if (isNew) {
            found->second = variantsOf(pattern, method);
        }
        return found->second;
    }

private:
    Variants variantsOf(const std::string& pattern, const std::string& method) const
    {
        std::string verb = method;
        std::transform(verb.begin(), verb.end(), verb.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        const json operation =
            m_description.at("paths").value(pattern, json::object()).value(verb, json::object());
        const json content = operation.value("requestBody", json::object()).value("content", json::object());
        if (!content.contains("application/json")) {
            return {};
        }
        const json schema = complete(content.at("application/json").at("schema"), m_description);
        Variants variants;
        for (const auto& one : schema.value("anyOf", json::array({schema}))) {
            auto& checked = *variants.emplace_back(std::make_unique<Checked>());
            checked.schema = one;
            valijson::SchemaParser(valijson::SchemaParser::kDraft7)
                .populateSchema(valijson::adapters::NlohmannJsonAdapter(checked.schema), checked.compiled);
        }
        return variants;
    }

    const json m_description;
    std::mutex m_mutex; ///< guards what follows; what is in there stays as it is
    std::map<std::pair<std::string, std::string>, Variants> m_variants;
};

RequestSchemas::RequestSchemas()
    : m_schemas(std::make_unique<Schemas>())
{}

RequestSchemas::~RequestSchemas() = default;

const RequestSchemas& RequestSchemas::instance()
{
    static const RequestSchemas schemas;
    return schemas;
}

std::vector<BodyMistake> RequestSchemas::mistakesIn(const std::string& pattern, const std::string& method,
                                                    const json& body) const
{
    const auto& variants = m_schemas->variants(pattern, method);
    if (variants.empty()) {
        return {};
    }
    // The one for the body's type tells most about it.
    const auto isMeant = [&body](const auto& variant) {
        const json type = variant->schema.value("type", json());
        return type.is_string() && isOfType(body, type.template get<std::string>());
    };
    const auto found = std::find_if(variants.begin(), variants.end(), isMeant);
    const auto& meant = found == variants.end() ? *variants.front() : **found;
    valijson::Validator validator(valijson::Validator::kStrongTypes);
    return validator.validate(meant.compiled, valijson::adapters::NlohmannJsonAdapter(body), nullptr)
               ? std::vector<BodyMistake>()
               : Explanation().of(meant.schema, body);
}

} // namespace Tessel::Simulator
