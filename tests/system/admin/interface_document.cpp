#include "interface_document.h"

#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>
#include <yaml-cpp/yaml.h>

#include <algorithm>

namespace kelp::test {

namespace {

using Json = InterfaceDocument::Json;

Json scalarOf(const YAML::Node& node) {
    const std::string text = node.Scalar();
    if (node.Tag() == "!")  // quoted
        return text;
    // plain scalars that are JSON literals have their types
    const Json literal = Json::parse(text, nullptr, false);
    return literal.is_discarded() ? Json(text) : literal;
}

Json jsonOf(const YAML::Node& node) {
    if (node.IsMap()) {
        Json map = Json::object();
        for (const auto& each : node)
            map[each.first.Scalar()] = jsonOf(each.second);
        return map;
    }
    if (node.IsSequence()) {
        Json list = Json::array();
        for (const auto& each : node)
            list.push_back(jsonOf(each));
        return list;
    }
    return node.IsScalar() ? scalarOf(node) : Json();
}

}  // namespace

InterfaceDocument::InterfaceDocument(const std::filesystem::path& file)
    : content_(jsonOf(YAML::LoadFile(file.string()))) {}

std::vector<InterfaceDocument::Operation> InterfaceDocument::operations() const {
    std::vector<Operation> all;
    for (const auto& [path, methods] : content_.at("paths").items()) {
        for (const auto& [method, content] : methods.items()) {
            std::string upper = method;
            std::transform(upper.begin(), upper.end(), upper.begin(),
                           [](char c) { return static_cast<char>(c >= 'a' ? c - 'a' + 'A' : c); });
            all.push_back({upper, path, content});
        }
    }
    return all;
}

Json InterfaceDocument::resolved(const Json& node) const {
    if (!node.contains("$ref"))
        return node;
    return content_.at(Json::json_pointer(node["$ref"].get<std::string>().substr(1)));
}

std::vector<std::string> InterfaceDocument::queryOf(const Operation& operation) const {
    std::vector<std::string> names;
    for (const Json& each : operation.content.value("parameters", Json::array())) {
        const Json parameter = resolved(each);
        if (parameter.at("in") == "query")
            names.push_back(parameter.at("name"));
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::string InterfaceDocument::examplePath(const Operation& operation,
                                           const std::map<std::string, std::string>& given) const {
    std::string path = operation.path;
    for (const Json& each : operation.content.value("parameters", Json::array())) {
        const Json parameter = resolved(each);
        const std::string name = parameter.at("name");
        const std::string place = "{" + name + "}";
        const auto value = given.find(name);
        if (const std::size_t at = path.find(place); at != std::string::npos)
            path.replace(
                at, place.size(),
                value != given.end() ? value->second : parameter.at("example").get<std::string>());
    }
    return path;
}

Json InterfaceDocument::exampleBody(const Operation& operation) {
    static const Json::json_pointer kExample("/requestBody/content/application~1json/example");
    return operation.content.contains(kExample) ? operation.content.at(kExample) : Json();
}

std::string InterfaceDocument::violation(const Operation& operation, int status,
                                         const Json& body) const {
    const Json& responses = operation.content.at("responses");
    const std::string code = std::to_string(status);
    const std::string found = responses.contains(code) ? code : "default";
    if (!responses.contains(found))
        return "the status " + code + " is not described";
    const Json content = resolved(responses.at(found)).at("content");
    if (!content.contains("application/json"))
        return body.is_discarded() ? "" : "the answer is JSON";
    // the references in the schema lead to the components of the document
    nlohmann::json root;
    root["components"] = content_.at("components");
    root["allOf"] = {content.at("application/json").at("schema")};
    valijson::Schema schema;
    valijson::SchemaParser().populateSchema(valijson::adapters::NlohmannJsonAdapter(root), schema);
    valijson::ValidationResults results;
    const nlohmann::json value = body;
    if (valijson::Validator(valijson::Validator::kStrongTypes)
            .validate(schema, valijson::adapters::NlohmannJsonAdapter(value), &results))
        return {};
    std::string text;
    for (valijson::ValidationResults::Error error; results.popError(error);) {
        for (const std::string& step : error.context)
            text += step;
        text += " " + error.description + "\n";
    }
    return text;
}

}  // namespace kelp::test
