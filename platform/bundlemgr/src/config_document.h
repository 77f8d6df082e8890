#pragma once

#include <kelp/bundlemgr/config_schema.h>
#include <kelp/bundlemgr/config_store.h>

#include <map>
#include <string>
#include <variant>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// A value of [agent] as it stands in the file.
struct AgentOption {
    struct OtherType {
        std::string text;  ///< the type in words
    };
    std::variant<std::int64_t, std::string, OtherType> value;
    int line = 0;
};

/// One configuration file, read: a value for every key of the schema outside [agent], and what is
/// wrong with it.
struct ConfigDocument {
    std::string name;                           ///< the file's
    std::map<std::string, ConfigValue> values;  ///< by "table.key"
    std::map<std::string, int> lines;           ///< where the file gives a value, by "table.key"
    std::map<std::string, AgentOption> agent;   ///< by key
    std::vector<ConfigProblem> problems;        ///< what refuses the file
    std::vector<ConfigProblem> agentProblems;   ///< values that count as unreadable

    /// The line of a key; 0 where the file is silent.
    int lineOf(const std::string& key) const;
    void addProblem(const std::string& key, const std::string& what);
};

ConfigDocument defaultDocument();
ConfigDocument readDocument(const std::filesystem::path& file);
ConfigDocument readDocumentText(const std::string& toml, const std::string& name);

/// What is wrong with an agent's option when it is read as a type; empty `what` when it is
/// readable.
ConfigProblem agentProblem(const ConfigDocument& document, const std::string& key,
                           const AgentOption& option, bool asInteger);

}  // namespace NS_BUNDLEMGR1
