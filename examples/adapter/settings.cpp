#include "settings.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/file_trust.h>
#include <toml++/toml.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string_view>

namespace kelp::example {

namespace {

constexpr std::int64_t kPollMsMin = 10;
constexpr std::int64_t kPollMsMax = 60'000;

/// A problem in the form of those of kelp.toml, so that editors find the place.
[[noreturn]] void fail(const std::string& file, const toml::source_region& where,
                       const std::string& key, const std::string& what) {
    std::string text = file;
    if (where.begin.line > 0)
        text += ":" + std::to_string(where.begin.line);
    text += ": ";
    if (!key.empty())
        text += key + ": ";
    throw std::runtime_error(text + what);
}

toml::table parse(const std::filesystem::path& file) {
    std::string problem;
    const std::optional<std::string> text =
        util::readTrustedFile(file, util::FileUse::Trusted, problem);
    if (!text)
        fail(file.string(), {}, "", problem);
    try {
        return toml::parse(*text);
    } catch (const toml::parse_error& wrong) {
        fail(file.string(), wrong.source(), "",
             "is not valid TOML: " + std::string(wrong.description()));
    }
}

std::filesystem::path folderFrom(const toml::node& node, const std::string& file) {
    std::filesystem::path folder = node.value_exact<std::string>().value_or("");
    if (!folder.is_absolute())
        fail(file, node.source(), "folder", "must be an absolute path");
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder, ignored) ||
        ::access(folder.c_str(), R_OK | W_OK | X_OK) != 0)
        fail(file, node.source(), "folder",
             folder.string() + " must be a folder that the EMS can read and write");
    return folder;
}

std::chrono::milliseconds pollFrom(const toml::node& node, const std::string& file) {
    const std::int64_t poll = node.value_exact<std::int64_t>().value_or(0);
    if (poll < kPollMsMin || poll > kPollMsMax)
        fail(file, node.source(), "poll_ms",
             "must be an integer from " + std::to_string(kPollMsMin) + " to " +
                 std::to_string(kPollMsMax));
    return std::chrono::milliseconds(poll);
}

}  // namespace

std::filesystem::path settingsFile() {
    const std::filesystem::path config = NS_BUNDLEMGR1::ConfigStore::instance().file();
    return (config.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() : config.parent_path()) /
           "alarm_folder.toml";
}

Settings readSettings(const std::filesystem::path& file, const std::string& ems) {
    const std::string name = file.string();
    Settings settings;
    settings.ems = ems;
    for (const auto& [key, node] : parse(file)) {
        if (key.str() == "folder")
            settings.folder = folderFrom(node, name);
        else if (key.str() == "poll_ms")
            settings.poll = pollFrom(node, name);
        else
            fail(name, key.source(), std::string(key.str()), "is not a key of this file");
    }
    if (settings.folder.empty())
        fail(name, {}, "folder", "is missing");
    return settings;
}

}  // namespace kelp::example
