#pragma once

#include <kelp/traps/mapping.h>
#include <toml++/toml.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kelp::traps {

/// Reads the keys of one table of a mapping file and collects the problems. Keys that nobody has
/// asked for are problems too: see finish().
class TomlReader {
  public:
    /// `path` is the table's name in problems; empty: the whole file.
    TomlReader(const toml::table& table, std::string file, std::string path,
               std::vector<MappingProblem>& problems);

    /// The value of a key; nothing if it is missing, or has another type, which is a problem.
    std::optional<std::string> text(const std::string& key);
    std::optional<std::string> requiredText(const std::string& key);
    std::optional<std::int64_t> integer(const std::string& key, std::int64_t minimum,
                                        std::int64_t maximum);
    std::optional<bool> flag(const std::string& key);
    const toml::table* table(const std::string& key);
    const toml::array* array(const std::string& key);
    /// The number of a text in `choices`; nothing if the key is missing.
    std::optional<int> choice(const std::string& key, const std::vector<std::string>& choices);

    void addProblem(const std::string& key, const std::string& what);
    void addProblem(const std::string& key, const toml::node& node, const std::string& what);
    /// Add a problem for every key that was not read.
    void finish();

    int line() const { return static_cast<int>(table_.source().begin.line); }
    std::string fullKey(const std::string& key) const;

  private:
    const toml::node* find(const std::string& key);

    const toml::table& table_;
    const std::string file_;
    const std::string path_;
    std::vector<MappingProblem>& problems_;
    std::set<std::string> read_;
};

}  // namespace kelp::traps
