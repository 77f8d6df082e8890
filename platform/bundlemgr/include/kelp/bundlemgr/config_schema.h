#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <string>
#include <variant>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// A value of the configuration; which alternative it holds is its type.
using ConfigValue = std::variant<std::int64_t, bool, std::string, std::vector<std::string>>;

/// One key of the configuration file.
struct KELP_EXPORT ConfigKey {
    std::string table;
    std::string key;
    ConfigValue
        standard;  ///< the value where the file is silent; what is read in its place for [agent]
    std::int64_t minimum = 0;          ///< of an integer
    std::int64_t maximum = 0;          ///< of an integer
    std::vector<std::string> choices;  ///< the texts that are allowed; empty: any
    bool needsRestart = false;         ///< a re-read of the file does not change it
    std::string meaning;               ///< sentences for the operator, with the unit

    /// "table.key", by which ConfigStore finds it.
    std::string name() const { return table + "." + key; }
    /// The value is read as missing when it has another type, and the file need not be silent about
    /// it for the fallback to hold (table [agent]).
    bool isAgentOption() const { return table == "agent"; }
};

/// One table of the configuration file.
struct KELP_EXPORT ConfigTable {
    std::string name;
    std::string meaning;
};

/// Every table, and every key in the order of the tables. The one place that knows names, types,
/// ranges and defaults: reading, checking and the shipped file follow it.
KELP_EXPORT const std::vector<ConfigTable>& configTables();
KELP_EXPORT const std::vector<ConfigKey>& configKeys();

/// The key of that "table.key", or null.
KELP_EXPORT const ConfigKey* findConfigKey(const std::string& name);

/// The value as the configuration file writes it.
KELP_EXPORT std::string tomlValue(const ConfigValue& value);

/// The configuration file as it is shipped: every key with its default, unit and meaning.
KELP_EXPORT std::string configTemplate();

}  // namespace NS_BUNDLEMGR1
