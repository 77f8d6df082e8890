#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// A value of the configuration. The alternative that it holds is its type.
using ConfigValue = std::variant<std::int64_t, bool, std::string, std::vector<std::string>>;

/// One key of the configuration file.
struct KELP_EXPORT ConfigKey {
    std::string table;
    std::string key;
    ConfigValue standard;      ///< default; for [agent] the value used if the key is missing
    std::int64_t minimum = 0;  ///< of an integer
    std::int64_t maximum = 0;  ///< of an integer
    std::vector<std::string> choices;  ///< the allowed texts; empty: any text
    bool needsRestart = false;         ///< reloading the file does not change it
    std::string meaning;               ///< sentences for the operator, with the unit

    /// "table.key", the key's name in ConfigStore.
    std::string name() const { return table + "." + key; }
    /// True for the table [agent]. A value of the wrong type in it counts as missing, and its
    /// reader uses `standard`.
    bool isAgentOption() const { return table == "agent"; }
};

/// One table of the configuration file.
struct KELP_EXPORT ConfigTable {
    std::string name;
    std::string meaning;
};

/// Every table, and every key in the order of the tables. This is the only place that defines
/// names, types, ranges and defaults. Reading, checking and the shipped file use it.
KELP_EXPORT const std::vector<ConfigTable>& configTables();
KELP_EXPORT const std::vector<ConfigKey>& configKeys();

/// The key with the name "table.key", or null.
KELP_EXPORT const ConfigKey* findConfigKey(const std::string& name);

/// The value in the syntax of the configuration file.
KELP_EXPORT std::string tomlValue(const ConfigValue& value);

/// The configuration file as it is shipped: every key with its default, unit and meaning.
KELP_EXPORT std::string configTemplate();

}  // namespace NS_BUNDLEMGR1
