#pragma once

#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// A value of [agent] as it is in the file.
struct AgentOption {
    struct OtherType {
        std::string text;  ///< description of the type
    };
    std::variant<std::int64_t, std::string, OtherType> value;
    int line = 0;
};

/// The content of a configuration file: a value for every key of the schema outside [agent], and
/// the problems of the file.
struct ConfigDocument {
    std::string name;                           ///< name of the file
    std::map<std::string, ConfigValue> values;  ///< by "table.key"
    std::map<std::string, int> lines;           ///< line of each value in the file, by "table.key"
    std::map<std::string, AgentOption> agent;   ///< by key
    /// Values of the file that take effect at the next start, by "table.key".
    std::map<std::string, ConfigValue> waiting;
    std::vector<ConfigProblem> problems;  ///< these make the file unusable
    std::vector<ConfigProblem>
        agentProblems;  ///< values of the wrong type, which are read as missing

    /// The line of a key; 0 if it is not in the file.
    int lineOf(const std::string& key) const;
    void addProblem(const std::string& key, const std::string& what);
};

ConfigDocument defaultDocument();
ConfigDocument readDocument(const std::filesystem::path& file);
ConfigDocument readDocumentText(const std::string& toml, const std::string& name);

/// The problem with reading an agent option as an integer or a text. `what` is empty if the option
/// has that type.
ConfigProblem agentProblem(const ConfigDocument& document, const std::string& key,
                           const AgentOption& option, bool asInteger);

}  // namespace NS_BUNDLEMGR1
