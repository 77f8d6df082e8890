#include <kelp/util/json_text.h>

#include <cstdio>
#include <memory>
#include <string>

#include "admin_client.h"
#include "show_command.h"

namespace kelp::ctl {

namespace {

using admin::Json;

constexpr const char* kConfigFooter =
    R"(Shows what the running host uses, not what the file says: a value in the file that waits for a restart is shown
behind it.

Examples:
  kelpctl config show
  kelpctl config show --json)";

constexpr const char* kReloadFooter =
    R"(A file with a mistake changes nothing; the mistakes are shown with file, line and key.

Examples:
  kelpctl reload
  kelpctl reload --json)";

std::string text(const Json& object, const char* key) {
    return object.value(key, "");
}

std::string originOf(const Json& setting) {
    if (text(setting, "file").empty())
        return "default";
    const std::string place =
        text(setting, "file") + ":" + std::to_string(setting.value("line", 0));
    const std::string problem = text(setting, "problem");
    return problem.empty() ? place : "default, because " + place + ": " + problem;
}

void printSettings(const Json& answer) {
    for (const Json& each : answer.value("settings", Json::array())) {
        const std::string waiting = text(each, "waiting");
        std::printf("%s = %s  # %s%s\n", text(each, "key").c_str(), text(each, "value").c_str(),
                    originOf(each).c_str(),
                    waiting.empty() ? "" : (", from the next start: " + waiting).c_str());
    }
}

void printVersion(const Json& answer) {
    std::printf("kelpd %s, %s%s\n", text(answer, "version").c_str(),
                text(answer, "compiler").c_str(),
                answer.value("assertions", false) ? ", with assertions" : "");
}

void printChanges(const char* title, const Json& changes) {
    if (changes.empty())
        return;
    std::printf("%s:\n", title);
    for (const Json& each : changes) {
        const auto shown = [&each](const char* key) {
            const std::string value = text(each, key);
            return value.empty() ? std::string("its default") : value;
        };
        std::printf("  %s: %s -> %s\n", text(each, "key").c_str(), shown("before").c_str(),
                    shown("after").c_str());
    }
}

void printReload(const Json& answer) {
    const Json changes = answer.value("changes", Json::array());
    const Json waiting = answer.value("waiting", Json::array());
    const std::string file = text(answer, "file");
    if (file.empty())
        std::printf("the host runs without a configuration file\n");
    else if (changes.empty() && waiting.empty())
        std::printf("%s: nothing has changed\n", file.c_str());
    printChanges("changed", changes);
    printChanges("needs a restart", waiting);
}

}  // namespace

void addConfigCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    CLI::App* config = app.add_subcommand("config", "Look into the host's configuration");
    config->require_subcommand(1)->fallthrough();
    addShowCommand(*config, globalOptions,
                   {.name = "show",
                    .description = "Show every setting in use, and where its value comes from",
                    .footer = kConfigFooter,
                    .path = "/config",
                    .table = printSettings});
    addShowCommand(app, globalOptions,
                   {.name = "version",
                    .description = "Show the version of the running host",
                    .footer = "Example:\n  kelpctl version",
                    .path = "/version",
                    .table = printVersion});
}

void addReloadCommand(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto json = std::make_shared<bool>(false);
    CLI::App* command = app.add_subcommand(
        "reload", "Make the host read its configuration again, and show what that changed");
    command->fallthrough()->footer(kReloadFooter);
    command->add_flag("--json", *json, "Write the answer as JSON");
    command->callback([&globalOptions, json] {
        loadConfiguration(globalOptions);
        const Json answer = AdminClient(admin::configuredAddress()).post("/reload", Json::object());
        if (*json)
            std::printf("%s\n", util::jsonText(answer, 2).c_str());
        else
            printReload(answer);
    });
}

}  // namespace kelp::ctl
