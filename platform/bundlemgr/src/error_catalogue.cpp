#include <kelp/bundlemgr/error_catalogue.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "toml_text.h"

namespace NS_BUNDLEMGR1 {

namespace {

/// Parse "0x" with hexadecimal digits, or decimal digits. At most 32 bits; not 0, which means
/// success.
std::optional<unsigned long> parseCode(std::string_view text) {
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    if (isHex)
        text.remove_prefix(2);
    std::uint64_t code = 0;
    const auto [end, error] =
        std::from_chars(text.data(), text.data() + text.size(), code, isHex ? 16 : 10);
    if (error != std::errc() || end != text.data() + text.size() || code == 0 ||
        code > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return static_cast<unsigned long>(code);
}

}  // namespace

std::vector<ConfigProblem> ErrorCatalogue::load(const std::filesystem::path& file) {
    texts_.clear();
    ConfigProblem problem;
    const std::optional<std::string> content = readFile(file, problem);
    const std::optional<toml::table> root =
        content ? parseToml(*content, file.string(), problem) : std::nullopt;
    if (!root)
        return {problem};

    std::vector<ConfigProblem> problems;
    const auto add = [&](const toml::source_region& where, const std::string& key,
                         const std::string& what) {
        problems.push_back(ConfigProblem{file.string(), lineOf(where), key, what});
    };
    for (const auto& [name, node] : *root) {
        if (name.str() != "errors" || !node.is_table())
            add(name.source(), std::string(name.str()),
                "is unknown: the file has one table, [errors]");
    }
    std::map<unsigned long, std::string> texts;
    const toml::table* const errors = (*root)["errors"].as_table();
    if (errors == nullptr)
        add(root->source(), "errors", "is missing: the file has one table, [errors]");
    else {
        for (const auto& [name, node] : *errors) {
            const std::string key = "errors." + std::string(name.str());
            const std::optional<unsigned long> code = parseCode(name.str());
            const std::optional<std::string> text = node.value_exact<std::string>();
            if (!code)
                add(name.source(), key, "is not an error code: write it as \"0x411800BA\"");
            else if (!text || text->empty())
                add(name.source(), key, "must be a text that is not empty");
            else if (!texts.emplace(*code, *text).second)
                add(name.source(), key, "is already there in another spelling");
        }
    }
    std::stable_sort(
        problems.begin(), problems.end(),
        [](const ConfigProblem& a, const ConfigProblem& b) { return a.line < b.line; });
    if (problems.empty())
        texts_ = std::move(texts);
    return problems;
}

bool ErrorCatalogue::GetErrorText(unsigned long code, std::string& text) const {
    const auto found = texts_.find(code);
    if (found == texts_.end())
        return false;
    text = found->second;
    return true;
}

}  // namespace NS_BUNDLEMGR1
