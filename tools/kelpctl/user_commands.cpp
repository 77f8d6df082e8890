#include <kelp/corbabase/user_database.h>
#include <kelp/util/trace_log.h>

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "password_input.h"

namespace kelp::ctl {

namespace {

using NS_CORBA::UserAccount;
using NS_CORBA::UserDatabase;

/// What the commands of this group share.
struct UserOptions {
    explicit UserOptions(const GlobalOptions& global) : globalOptions(global) {}

    const GlobalOptions& globalOptions;
    std::string database;
    std::string name;
    std::string passwordFile;
    bool json = false;

    /// Opens the database asked for. Only the first account makes a file: a misspelt name must not.
    UserDatabase open(UserDatabase::Missing missing = UserDatabase::Missing::IsAnError) const {
        loadConfiguration(globalOptions);
        return UserDatabase(database.empty() ? NS_CORBA::userDatabaseFile() : std::filesystem::path(database),
                            missing);
    }
};

/// "2025-03-01T12:00:00Z"
std::string utcText(std::int64_t seconds) {
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[32] = "";
    if (::gmtime_r(&time, &parts) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

void printJson(const std::vector<UserAccount>& accounts) {
    nlohmann::json array = nlohmann::json::array();
    for (const UserAccount& account : accounts)
        array.push_back({{"id", account.id},
                         {"name", account.name},
                         {"enabled", account.enabled},
                         {"created", utcText(account.createdUtc)},
                         {"password_changed", utcText(account.passwordChangedUtc)}});
    std::printf("%s\n", array.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

void printTable(const std::vector<UserAccount>& accounts) {
    std::size_t widest = 4;
    for (const UserAccount& account : accounts)
        widest = std::max(widest, util::escaped(account.name).size());
    const int width = static_cast<int>(widest);
    std::printf("%-*s  %-8s  %-20s  %s\n", width, "NAME", "STATE", "CREATED", "PASSWORD CHANGED");
    for (const UserAccount& account : accounts)
        std::printf("%-*s  %-8s  %-20s  %s\n", width, util::escaped(account.name).c_str(),
                    account.enabled ? "enabled" : "disabled", utcText(account.createdUtc).c_str(),
                    utcText(account.passwordChangedUtc).c_str());
}

void add(const UserOptions& options) {
    UserDatabase database = options.open(UserDatabase::Missing::IsMade);
    const Secret password = readPassword(options.passwordFile);
    database.add(options.name, password.text(), NS_CORBA::configuredHashCost());
    std::printf("user \"%s\" added\n", options.name.c_str());
}

void list(const UserOptions& options) {
    const std::vector<UserAccount> accounts = options.open().list();
    options.json ? printJson(accounts) : printTable(accounts);
}

void changePassword(const UserOptions& options) {
    UserDatabase database = options.open();
    const Secret password = readPassword(options.passwordFile);
    database.setPassword(options.name, password.text(), NS_CORBA::configuredHashCost());
    std::printf("password of user \"%s\" changed\n", options.name.c_str());
}

void disable(const UserOptions& options) {
    options.open().setEnabled(options.name, false);
    std::printf("user \"%s\" disabled\n", options.name.c_str());
}

void enable(const UserOptions& options) {
    options.open().setEnabled(options.name, true);
    std::printf("user \"%s\" enabled\n", options.name.c_str());
}

void removeUser(const UserOptions& options) {
    options.open().remove(options.name);
    std::printf("user \"%s\" removed\n", options.name.c_str());
}

struct Command {
    const char* name;
    const char* description;
    bool takesName;
    bool takesPassword;
    void (*run)(const UserOptions&);
};

constexpr Command kCommands[] = {
    {"add", "Add an NMS user", true, true, add},
    {"list", "List the NMS users", false, false, list},
    {"passwd", "Give a user a new password", true, true, changePassword},
    {"disable", "Refuse a user's log-ins", true, false, disable},
    {"enable", "Take a user's log-ins again", true, false, enable},
    {"remove", "Remove a user", true, false, removeUser},
};

constexpr const char* kFooter = R"(Examples:
  kelpctl user add nms1
  kelpctl user passwd nms1 --password-file nms1.pw
  kelpctl user --database /var/lib/kelp/users.db list)";

}  // namespace

void addUserCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<UserOptions>(globalOptions);
    CLI::App* group = app.add_subcommand("user", "The accounts that NMS log in with");
    group->require_subcommand(1)->fallthrough()->footer(kFooter);
    group->add_option("--database", options->database, "User database (as configured)")->type_name("FILE");
    for (const Command& command : kCommands) {
        CLI::App* sub = group->add_subcommand(command.name, command.description)->fallthrough();
        if (command.takesName)
            sub->add_option("name", options->name, "The user's name")->required()->type_name("NAME");
        if (command.takesPassword)
            sub->add_option("--password-file", options->passwordFile, "File whose first line is the password")
                ->type_name("FILE");
        if (command.run == list)
            sub->add_flag("--json", options->json, "Print JSON");
        sub->callback([options, &command] { command.run(*options); });
    }
}

}  // namespace kelp::ctl
