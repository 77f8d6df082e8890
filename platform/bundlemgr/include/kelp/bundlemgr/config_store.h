#pragma once

#include <kelp/util/export.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace NS_BUNDLEMGR1 {

/// One thing wrong with a configuration file.
struct KELP_EXPORT ConfigProblem {
    std::string file;
    int line = 0;      ///< 0 when it concerns the whole file
    std::string key;   ///< "table.key", empty for a syntax error
    std::string what;  ///< one sentence
    /// "file:line: key: what"
    std::string text() const;
};

/// A key whose value a re-read changed, values as in the file; an option of [agent] that the file
/// does not give has an empty one.
struct KELP_EXPORT ConfigChange {
    std::string key;  ///< "table.key"
    std::string before;
    std::string after;
};

/// The process's configuration: one TOML file under a schema of known tables and keys with types,
/// ranges and defaults. The whole configuration is replaced at once by a re-read; a file with a
/// problem replaces nothing. Every look-up may be made from any thread.
class KELP_EXPORT ConfigStore {
  public:
    static ConfigStore& instance();

    /// Reads a file; unknown tables and keys, wrong types and values out of range are problems.
    /// Empty result: taken over.
    std::vector<ConfigProblem> load(const std::filesystem::path& file);
    /// The same from text; `name` stands for the file in problems.
    std::vector<ConfigProblem> loadText(const std::string& toml, const std::string& name);
    /// Reads the file loaded last again. Keys that need a restart keep the value they had at the
    /// first load. What has changed is told in `changes`, if given.
    std::vector<ConfigProblem> reload(std::vector<ConfigChange>* changes = nullptr);
    /// Back to the defaults: no file.
    void reset();

    /// Checks a file without taking it over.
    static std::vector<ConfigProblem> check(const std::filesystem::path& file);

    /// Values of the schema's keys ("session.ping_interval_s"), the default where the file is
    /// silent. A key that the schema does not have, or has with another type, is a programming
    /// error: std::logic_error.
    std::int64_t integer(const std::string& key) const;
    bool flag(const std::string& key) const;
    std::string text(const std::string& key) const;
    std::vector<std::string> texts(const std::string& key) const;

    /// A value of the [agent] table, whose keys the schema lists with their types. None when
    /// missing; when the value has another type it counts as unreadable: none, and `problem` (if
    /// given) says where and why.
    std::optional<std::int64_t> agentInteger(const std::string& key,
                                             ConfigProblem* problem = nullptr) const;
    std::optional<std::string> agentText(const std::string& key,
                                         ConfigProblem* problem = nullptr) const;

    /// A problem with the value of one of the schema's keys that only its user can see; with the
    /// file loaded last and the line where the value stands.
    ConfigProblem problem(const std::string& key, const std::string& what) const;

    /// A number that is another one after each load, reload and reset that took something over:
    /// whoever keeps what he made of a value asks for it first. Cheap.
    std::uint64_t generation() const;

    /// The file loaded last; empty for none or for text.
    std::filesystem::path file() const;

    ConfigStore(const ConfigStore&) = delete;
    ConfigStore& operator=(const ConfigStore&) = delete;

  private:
    ConfigStore();
    ~ConfigStore();
    struct State;
    std::unique_ptr<State> state_;
};

/// The default for every path that is not configured: under $STATE_DIRECTORY (systemd), else
/// $XDG_STATE_HOME/kelp, else
/// ~/.local/state/kelp.
KELP_EXPORT std::filesystem::path defaultStateDirectory();

/// The agent's options by key, as the bundles read them.
class KELP_EXPORT CorbaConfigItems {
  public:
    static CorbaConfigItems* Instance();
    /// False when the key is missing or no integer (a wrong type is traced with file and line);
    /// `value` is then unchanged.
    bool GetIntItemInfo(const std::string& key, int& value) const;
    /// False when the key is missing or no text; `value` is then unchanged.
    bool GetStrItemInfo(const std::string& key, std::string& value) const;

  private:
    CorbaConfigItems() = default;
};

}  // namespace NS_BUNDLEMGR1
