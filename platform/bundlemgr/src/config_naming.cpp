#include "config_naming.h"

#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace NS_BUNDLEMGR1 {

namespace {

using kelp::util::NamingPath;

/// Far more than the NMS of one network need. Keeps the tree small, because a reply may list all of
/// it.
constexpr std::size_t kAliasesMax = 100;
constexpr std::size_t kBytesMax = 1024;
constexpr std::size_t kComponentsMax = 32;

/// A path of the session factory, and its name in messages.
struct FactoryPath {
    NamingPath path;
    std::string shown;
};

std::string shownText(const std::string& text) {
    return "\"" + kelp::util::escaped(text, 200) + "\"";
}

bool leadsThrough(const NamingPath& path, const NamingPath& object) {
    return path.size() > object.size() && std::equal(object.begin(), object.end(), path.begin());
}

/// Return why a path cannot exist next to the other; empty: it can.
std::string conflictOf(const FactoryPath& one, const FactoryPath& other) {
    if (one.path == other.path)
        return one.shown + " is already a path of the session factory";
    if (leadsThrough(one.path, other.path))
        return one.shown + " leads through " + other.shown + ", where the session factory is";
    if (leadsThrough(other.path, one.path))
        return one.shown + " cannot be the session factory: " + other.shown + " leads through it";
    return {};
}

/// Parse an alias. Returns what is wrong with it; empty: nothing.
std::string problemOfAlias(const std::string& alias, FactoryPath& read) {
    read.shown = shownText(alias);
    try {
        read.path = kelp::util::toNamingPath(alias);
    } catch (const std::invalid_argument& refusal) {
        return kelp::util::escaped(refusal.what(), 300);
    }
    if (alias.size() <= kBytesMax && read.path.size() <= kComponentsMax)
        return {};
    return read.shown + " has more than " + std::to_string(kComponentsMax) + " components or " +
           std::to_string(kBytesMax) + " characters";
}

}  // namespace

std::vector<std::string> problemsOfAliases(const std::vector<std::string>& aliases,
                                           const NamingPath& standard) {
    if (aliases.size() > kAliasesMax)
        return {"must have at most " + std::to_string(kAliasesMax) + " paths, but has " +
                std::to_string(aliases.size())};
    std::vector<std::string> problems;
    std::vector<FactoryPath> paths = {
        {standard, "the standard path " + shownText(toText(standard))}};
    for (const std::string& alias : aliases) {
        FactoryPath read;
        std::string problem = problemOfAlias(alias, read);
        for (std::size_t i = 0; problem.empty() && i < paths.size(); ++i)
            problem = conflictOf(read, paths[i]);
        if (problem.empty())
            paths.push_back(std::move(read));
        else
            problems.push_back(std::move(problem));
    }
    return problems;
}

std::string problemOfIorFile(const std::string& file) {
    if (file.empty())
        return {};
    const std::filesystem::path path(file);
    const std::filesystem::path folder = path.has_parent_path() ? path.parent_path() : ".";
    std::error_code ignored;
    if (path.has_filename() && std::filesystem::is_directory(folder, ignored) &&
        !std::filesystem::is_directory(path, ignored))
        return {};
    return shownText(file) +
           " cannot be a file: its folder must be there, and no folder may have its name";
}

}  // namespace NS_BUNDLEMGR1
