#pragma once

#include <kelp/traps/trap.h>

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelp::traps {

/// Values by the text that a variable binding has. "*" in the file is the value for all others.
struct ValueTable {
    std::map<std::string, std::string> values;
    std::optional<std::string> otherwise;

    const std::string* find(const std::string& key) const;
};

/// What the placeholders of a template can refer to.
struct Vocabulary {
    std::map<std::string, Oid> varBinds;
    std::map<std::string, std::shared_ptr<const ValueTable>> tables;
};

/// What a trap fills placeholders with.
struct Filling {
    const Trap& trap;
    const std::string& ems;
    const std::string& element;  ///< the name of the managed element that sent the trap
};

/// A text with placeholders: {name} for the value of a variable binding, {name.index} for the part
/// of its OID after the configured one, {name|table} for the value's entry in a table. {ems},
/// {element}, {address}, {user}, {trap}, {uptime} and {varbinds} are the EMS's name, the element's
/// name, the sender's address and user, the trap's OID, the sender's time since its start, and all
/// of the trap's content. {{ and }} stand for braces.
class Template {
  public:
    Template() = default;

    /// Returns nothing, and a sentence in `whyNot`, if the text is not a template.
    static std::optional<Template> parse(const std::string& text, const Vocabulary& vocabulary,
                                         std::string& whyNot);

    /// Fill in the placeholders. Control characters of values are escaped. Returns nothing, and the
    /// placeholder in `missing`, if the trap does not have what it refers to.
    std::optional<std::string> fill(const Filling& filling, std::string& missing) const;
    /// The same, with nothing in the place of what is missing.
    std::string fillWhatIsThere(const Filling& filling) const;

    bool isConstant() const;
    /// The first placeholder that is not looked up in a table; nothing if there is none.
    std::optional<std::string> placeholderWithoutTable() const;
    /// Every text that the template can result in, if it is a constant or one placeholder with a
    /// table; otherwise empty.
    std::vector<std::string> possibleResults() const;
    const std::string& source() const { return source_; }

  private:
    struct Part {
        std::string text;  ///< a constant, or the placeholder without its braces
        bool isPlaceholder = false;
        bool isIndex = false;
        bool isBuiltIn = false;
        std::string builtIn;
        Oid varBind;
        std::shared_ptr<const ValueTable> table;
    };

    static bool parsePlaceholder(const std::string& inner, const Vocabulary& vocabulary, Part& part,
                                 std::string& whyNot);
    static std::optional<std::string> valueOf(const Part& part, const Filling& filling);

    std::string source_;
    std::vector<Part> parts_;
};

}  // namespace kelp::traps
