#include "alarms/alarm_options.h"

#include <kelp/admin/address.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/joined.h>

#include <stdexcept>

namespace kelp::ctl {

using admin::Json;

namespace {

Json pair(const std::string& name, const std::string& value) {
    return {{"name", name}, {"value", value}};
}

const Words kSeverityWords = {{"critical", "PS_CRITICAL"},
                              {"major", "PS_MAJOR"},
                              {"minor", "PS_MINOR"},
                              {"warning", "PS_WARNING"},
                              {"indeterminate", "PS_INDETERMINATE"}};

std::string joinedWords(const Words& words) {
    return util::joined(words, ", ", [](const auto& each) { return each.first; });
}

CLI::Validator validatorOf(const Words& words) {
    const auto toEnumerator = [words](std::string& given) -> std::string {
        for (const auto& [word, enumerator] : words) {
            if (word == CLI::detail::to_lower(given)) {
                given = enumerator;
                return {};
            }
        }
        return "\"" + given + "\" is none of " + joinedWords(words);
    };
    return CLI::Validator(toEnumerator, "");
}

}  // namespace

CLI::Option* addWordOption(CLI::App& command, const std::string& name, const Words& words,
                           const std::function<void(const std::string&)>& take,
                           const std::string& description) {
    return command
        .add_option_function<std::string>(name, take, description + ": " + joinedWords(words))
        ->transform(validatorOf(words))
        ->type_name("WORD");
}

CLI::Option* addSeverityOption(CLI::App& command,
                               const std::function<void(const std::string&)>& take,
                               const std::string& description) {
    return addWordOption(command, "--severity", kSeverityWords, take, description);
}

std::string severityWords() {
    return joinedWords(kSeverityWords);
}

CLI::Validator severityValidator() {
    return validatorOf(kSeverityWords);
}

Json pairsOf(const std::vector<std::string>& texts, const std::string& option) {
    Json pairs = Json::array();
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        if (equals == 0 || equals == std::string::npos)
            throw std::runtime_error(option + ": \"" + text + "\" is not of the form NAME=VALUE");
        pairs.push_back(pair(text.substr(0, equals), text.substr(equals + 1)));
    }
    return pairs;
}

void AlarmOptions::addSocket(CLI::App& command) {
    command
        .add_option("--socket", socket, "Unix socket of the running host; default: as configured")
        ->type_name("FILE");
}

void AlarmOptions::addObject(CLI::App& command) {
    command
        .add_option("--object", object,
                    "Name of the object, one NAME=VALUE for each component, such as "
                    "ManagedElement=NE-1 PTP=/port=1; the component EMS is added automatically")
        ->type_name("NAME=VALUE");
}

AdminClient AlarmOptions::client() const {
    loadConfiguration(globalOptions);
    admin::Address address = admin::configuredAddress();
    if (!socket.empty()) {
        address = {};
        address.socket = socket;
    }
    return AdminClient(address);
}

Json AlarmOptions::objectName() const {
    Json components = pairsOf(object, "--object");
    if (components.empty() || components.front()["name"] != "EMS")
        components.insert(components.begin(),
                          pair("EMS", NS_BUNDLEMGR1::ConfigStore::instance().text("ems.name")));
    return components;
}

}  // namespace kelp::ctl
