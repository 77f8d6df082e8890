#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace kelp::test {

/// The OpenAPI document of the operator's interface.
class InterfaceDocument {
  public:
    using Json = nlohmann::ordered_json;

    struct Operation {
        std::string method;  ///< "GET"
        std::string path;    ///< as in the document, such as "/alarms/{notificationId}"
        Json content;
    };

    /// Throws when the file is not YAML.
    explicit InterfaceDocument(const std::filesystem::path& file);

    /// In the order of the document.
    std::vector<Operation> operations() const;
    /// The names of an operation's parameters in its query, sorted.
    std::vector<std::string> queryOf(const Operation& operation) const;
    /// The path with the example of each of its parameters, or the value given here.
    std::string examplePath(const Operation& operation,
                            const std::map<std::string, std::string>& given = {}) const;
    /// The example of the body; null if there is none.
    static Json exampleBody(const Operation& operation);
    /// Why a response is not as the document describes it; empty if it is.
    std::string violation(const Operation& operation, int status, const Json& body) const;

  private:
    Json resolved(const Json& node) const;

    Json content_;
};

}  // namespace kelp::test
