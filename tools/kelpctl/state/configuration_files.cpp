#include "state/configuration_files.h"

#include <kelp/bundlemgr/config_store.h>

#include <algorithm>
#include <charconv>
#include <system_error>

namespace kelp::state {

namespace {

using NS_BUNDLEMGR1::ConfigStore;

struct Key {
    const char* name;
    bool isSecret;
};

constexpr Key kFileKeys[] = {
    {"tls.ca", false},  {"tls.certificate", true},       {"tls.key_password_file", true},
    {"tls.crl", false}, {"snmp.communities_file", true}, {"snmp.users_file", true},
};
constexpr const char* kMainFiles[] = {"kelp.toml", "errors.toml"};
constexpr const char* kMappings = "snmp.mappings";
constexpr std::size_t kMappingsMax = 1000;

bool isMappingName(const std::string& name) {
    const std::string prefix = std::string(kMappings) + ".";
    if (!name.starts_with(prefix))
        return false;
    const std::string digits = name.substr(prefix.size());
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    return error == std::errc() && number < kMappingsMax && digits == std::to_string(number);
}

}  // namespace

std::vector<ConfigurationFile> configurationFiles() {
    const ConfigStore& config = ConfigStore::instance();
    const std::string folder = kConfigurationFolder;
    std::vector<ConfigurationFile> all;
    if (const std::filesystem::path file = config.file(); !file.empty()) {
        all.push_back({folder + kMainFiles[0], file, false});
        all.push_back({folder + kMainFiles[1], file.parent_path() / kMainFiles[1], false});
    }
    for (const Key& key : kFileKeys) {
        if (const std::string path = config.text(key.name); !path.empty())
            all.push_back({folder + key.name, path, key.isSecret});
    }
    const std::vector<std::string> mappings = config.texts(kMappings);
    for (std::size_t i = 0; i < std::min(mappings.size(), kMappingsMax); ++i)
        all.push_back({folder + kMappings + "." + std::to_string(i), mappings[i], false});
    return all;
}

bool isConfigurationName(const std::string& name) {
    const std::string folder = kConfigurationFolder;
    if (!name.starts_with(folder))
        return false;
    const std::string rest = name.substr(folder.size());
    return std::any_of(std::begin(kMainFiles), std::end(kMainFiles),
                       [&rest](const char* each) { return rest == each; }) ||
           std::any_of(std::begin(kFileKeys), std::end(kFileKeys),
                       [&rest](const Key& each) { return rest == each.name; }) ||
           isMappingName(rest);
}

}  // namespace kelp::state
