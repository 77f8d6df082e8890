#include "access/secret_lines.h"

#include <kelp/util/file_trust.h>

#include <optional>

namespace kelp::traps {

namespace {

constexpr std::size_t kSecretFileBytesMax = 1 << 20;
constexpr std::string_view kBlanks = " \t\r";

/// Take the text up to `end` from the beginning of `rest`, and remove both.
std::string_view takeUpTo(std::string_view& rest, std::string_view ends) {
    const std::size_t end = rest.find_first_of(ends);
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return taken;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    while (!line.empty()) {
        const std::string_view field = takeUpTo(line, kBlanks);
        if (!field.empty())
            fields.push_back(field);
    }
    return fields;
}

/// Wipes the content of a file at the end of a scope.
struct Wiped {
    std::string& text;
    ~Wiped() { util::wipe(text); }
};

}  // namespace

void readSecretLines(
    const std::filesystem::path& file, std::vector<std::string>& problems,
    const std::function<void(const std::vector<std::string_view>&, const std::string&)>& read) {
    std::string problem;
    std::optional<std::string> content =
        util::readTrustedFile(file, util::FileUse::Secret, problem, kSecretFileBytesMax);
    if (!content) {
        problems.push_back(file.string() + ": " + problem);
        return;
    }
    const Wiped wiped{*content};
    std::string_view rest = *content;
    for (int line = 1; !rest.empty(); ++line) {
        const std::vector<std::string_view> fields = fieldsOf(takeUpTo(rest, "\n"));
        if (!fields.empty() && fields.front().front() != '#')
            read(fields, file.string() + ":" + std::to_string(line) + ": ");
    }
}

void append(std::string_view field, util::Secret& to) {
    for (const char character : field)
        to.append(character);
}

}  // namespace kelp::traps
