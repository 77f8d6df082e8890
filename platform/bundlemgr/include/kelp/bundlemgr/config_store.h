#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// A problem in a configuration file.
struct KELP_EXPORT ConfigProblem {
    std::string file;
    int line = 0;      ///< 0 if the problem concerns the whole file
    std::string key;   ///< "table.key", empty for a syntax error
    std::string what;  ///< one sentence
    /// "file:line: key: what".
    std::string text() const;
};

/// A key whose value was changed by a reload. Values are in the syntax of the file. The value of an
/// [agent] option that is not in the file is empty.
struct KELP_EXPORT ConfigChange {
    std::string key;  ///< "table.key"
    std::string before;
    std::string after;
};

/// A key with the value that is in use, and where that comes from.
struct KELP_EXPORT ConfigSetting {
    std::string key;      ///< "table.key"
    std::string value;    ///< in the syntax of the file
    std::string file;     ///< that sets the value; empty: the default is in use
    int line = 0;         ///< in that file
    std::string waiting;  ///< value in the file that the next start uses; empty: the one in use
    std::string problem;  ///< why an [agent] option in the file is not used; empty: it is
};

/// The configuration of the process: one TOML file. A schema defines the tables and keys with their
/// types, ranges and defaults. A reload replaces the whole configuration at once, or nothing if the
/// file has a problem. Any thread may look values up.
class KELP_EXPORT ConfigStore {
  public:
    static ConfigStore& instance();

    /// Read a file and use it as the configuration if it has no problems. Returns the problems:
    /// unknown tables and keys, wrong types, and values out of range.
    std::vector<ConfigProblem> load(const std::filesystem::path& file);
    /// The same with a text instead of a file. `name` replaces the file's name in problems.
    std::vector<ConfigProblem> loadText(const std::string& toml, const std::string& name);
    /// Read the last file again. Keys that need a restart keep the value of the first load. If
    /// `changes` is given, the changed keys are stored there; if `waiting` is given, the keys whose
    /// value in the file takes effect at the next start.
    std::vector<ConfigProblem> reload(std::vector<ConfigChange>* changes = nullptr,
                                      std::vector<ConfigChange>* waiting = nullptr);
    /// Use the defaults, without a file.
    void reset();

    /// Check a file without using it.
    static std::vector<ConfigProblem> check(const std::filesystem::path& file);

    /// The value of a key of the schema, such as "session.ping_interval_s"; the default if it is
    /// not in the file. Throws std::logic_error, because it is a programming error, if the schema
    /// does not have the key or the key has another type.
    std::int64_t integer(const std::string& key) const;
    bool flag(const std::string& key) const;
    std::string text(const std::string& key) const;
    std::vector<std::string> texts(const std::string& key) const;

    /// The value of a key in the table [agent]. Empty if the key is missing. Empty, too, if the
    /// value has another type; `problem` (if given) then says where and why.
    std::optional<std::int64_t> agentInteger(const std::string& key,
                                             ConfigProblem* problem = nullptr) const;
    std::optional<std::string> agentText(const std::string& key,
                                         ConfigProblem* problem = nullptr) const;

    /// A problem with a key's value that only its user can detect. Names the last file and the line
    /// of the value.
    ConfigProblem problem(const std::string& key, const std::string& what) const;

    /// Every key in the order of the schema, with its value and origin.
    std::vector<ConfigSetting> settings() const;

    /// A number that changes with each load, reload and reset that changed the configuration.
    /// Owners of data derived from a value compare it to see whether the data is out of date. Fast.
    std::uint64_t generation() const;

    /// The last file that was loaded; empty if there was none or a text was loaded.
    std::filesystem::path file() const;

    ConfigStore(const ConfigStore&) = delete;
    ConfigStore& operator=(const ConfigStore&) = delete;

  private:
    ConfigStore();
    ~ConfigStore();
    struct State;
    std::unique_ptr<State> state_;
};

/// The default folder of every path that is not configured: $STATE_DIRECTORY (set by systemd), else
/// $XDG_STATE_HOME/kelp, else that of the installed package (/var/lib/kelp), else, in a build that
/// is not for a package, ~/.local/state/kelp.
KELP_EXPORT std::filesystem::path defaultStateDirectory();

/// The agent's options as the bundles read them.
class KELP_EXPORT CorbaConfigItems {
  public:
    static CorbaConfigItems* Instance();
    /// Returns false, and leaves `value` unchanged, if the key is missing or not an integer. A
    /// wrong type is traced with file and line.
    bool GetIntItemInfo(const std::string& key, int& value) const;
    /// Returns false, and leaves `value` unchanged, if the key is missing or not a text.
    bool GetStrItemInfo(const std::string& key, std::string& value) const;

  private:
    CorbaConfigItems() = default;
};

}  // namespace NS_BUNDLEMGR1
