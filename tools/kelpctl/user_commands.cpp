#include <kelp/users/user_database.h>
#include <kelp/util/joined.h>
#include <kelp/util/json_text.h>
#include <kelp/util/now_utc.h>
#include <kelp/util/trace_log.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands.h"
#include "password_input.h"
#include "user_record.h"

namespace kelp::ctl {

namespace {

using kelp::users::UserAccount;
using kelp::users::UserDatabase;

/// Whose accounts a group of commands changes.
enum class AccountKind { Nms, Operators };

/// The options that the commands of this group share.
struct UserOptions {
    UserOptions(const GlobalOptions& global, AccountKind accounts)
        : globalOptions(global), kind(accounts) {}

    const GlobalOptions& globalOptions;
    const AccountKind kind;
    std::string database;
    std::string name;
    std::string passwordFile;
    std::string expiry;
    std::vector<std::string> networks;
    std::vector<std::string> subjects;
    bool isAnyCertificate = false;
    bool json = false;
    bool force = false;

    Secret newPassword() const {
        return readPassword(passwordFile,
                            force ? ShortPassword::IsTaken : ShortPassword::IsRefused);
    }

    /// Open the selected database. Only adding the first account creates a file, so that a misspelt
    /// name does not create one.
    UserDatabase open(UserDatabase::Missing missing = UserDatabase::Missing::IsAnError) const {
        return UserDatabase(database.empty() ? configuredFile() : std::filesystem::path(database),
                            missing);
    }
    std::filesystem::path configuredFile() const {
        return kind == AccountKind::Nms ? kelp::users::userDatabaseFile()
                                        : kelp::users::operatorDatabaseFile();
    }
};

constexpr const char* kNever = "never";
constexpr const char* kAny = "any";

/// Read a complete date, "2025-03-01" or "2025-03-01T12:00:00Z", as seconds since the epoch.
std::optional<std::int64_t> parseUtc(const std::string& text) {
    for (const char* const format : {"%Y-%m-%dT%H:%M:%SZ", "%Y-%m-%d"}) {
        std::tm parts{};
        const char* const end = ::strptime(text.c_str(), format, &parts);
        if (end == nullptr || *end != '\0')
            continue;
        const std::tm read = parts;
        const std::time_t seconds = ::timegm(&parts);
        // timegm counts a day that the month does not have into the next month
        if (parts.tm_mday == read.tm_mday && parts.tm_sec == read.tm_sec)
            return static_cast<std::int64_t>(seconds);
    }
    return std::nullopt;
}

const char* stateOf(const UserAccount& account) {
    return !account.enabled                    ? "disabled"
           : account.isExpired(util::nowUtc()) ? "expired"
                                               : "enabled";
}

/// Format as "2025-03-01T12:00:00Z".
std::string utcText(std::int64_t seconds) {
    const std::time_t time = static_cast<std::time_t>(seconds);
    std::tm parts{};
    char text[32] = "";
    if (::gmtime_r(&time, &parts) != nullptr)
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

std::string expiryText(const UserAccount& account) {
    return account.expiresUtc ? utcText(*account.expiresUtc) : kNever;
}

std::string joinedNetworks(const std::vector<std::string>& networks) {
    return util::joined(networks, " ");
}

std::string networksText(const UserAccount& account) {
    const std::string text = joinedNetworks(account.networks);
    return text.empty() ? kAny : text;
}

/// Join as "CN=nms1,O=Operator; CN=nms2,O=Operator".
std::string joinedSubjects(const std::vector<std::string>& subjects) {
    return util::joined(subjects, "; ");
}

std::string certificatesText(const UserAccount& account) {
    return account.subjects.empty() ? kAny : joinedSubjects(account.subjects);
}

void printJson(const std::vector<UserAccount>& accounts) {
    nlohmann::json array = nlohmann::json::array();
    for (const UserAccount& account : accounts)
        array.push_back(
            {{"id", account.id},
             {"name", account.name},
             {"enabled", account.enabled},
             {"state", stateOf(account)},
             {"expires", account.expiresUtc ? nlohmann::json(utcText(*account.expiresUtc))
                                            : nlohmann::json(nullptr)},
             {"networks", account.networks},
             {"subjects", account.subjects},
             {"created", utcText(account.createdUtc)},
             {"password_changed", utcText(account.passwordChangedUtc)}});
    std::printf("%s\n", util::jsonText(array, 2).c_str());
}

void printTable(const std::vector<UserAccount>& accounts) {
    std::size_t widest = 4;
    for (const UserAccount& account : accounts)
        widest = std::max(widest, util::escaped(account.name).size());
    const int width = static_cast<int>(widest);
    std::printf("%-*s  %-8s  %-20s  %-20s  %-20s  %-15s  %s\n", width, "NAME", "STATE", "CREATED",
                "PASSWORD CHANGED", "EXPIRES", "NETWORKS", "CERTIFICATES");
    for (const UserAccount& account : accounts)
        std::printf("%-*s  %-8s  %-20s  %-20s  %-20s  %-15s  %s\n", width,
                    util::escaped(account.name).c_str(), stateOf(account),
                    utcText(account.createdUtc).c_str(),
                    utcText(account.passwordChangedUtc).c_str(), expiryText(account).c_str(),
                    util::escaped(networksText(account)).c_str(),
                    util::escaped(certificatesText(account)).c_str());
}

void add(const UserOptions& options) {
    UserDatabase database = options.open(UserDatabase::Missing::IsMade);
    const Secret password = options.newPassword();
    database.add(options.name, password.text(), kelp::users::configuredHashCost());
    std::printf("user \"%s\" added\n", options.name.c_str());
}

void list(const UserOptions& options) {
    const std::vector<UserAccount> accounts = options.open().list();
    options.json ? printJson(accounts) : printTable(accounts);
}

void changePassword(const UserOptions& options) {
    UserDatabase database = options.open();
    const Secret password = options.newPassword();
    database.setPassword(options.name, password.text(), kelp::users::configuredHashCost());
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

void expire(const UserOptions& options) {
    std::optional<std::int64_t> expiry;
    if (options.expiry == "now")
        expiry = util::nowUtc();
    else if (options.expiry != kNever && !(expiry = parseUtc(options.expiry)))
        throw std::runtime_error(
            "\"" + util::escaped(options.expiry) +
            "\" is not a time: write never, now, 2027-01-31 or 2027-01-31T12:00:00Z");
    options.open().setExpiry(options.name, expiry);
    if (expiry)
        std::printf("user \"%s\" expires at %s\n", options.name.c_str(), utcText(*expiry).c_str());
    else
        std::printf("user \"%s\" never expires\n", options.name.c_str());
}

void setNetworks(const UserOptions& options) {
    std::vector<std::string> networks = options.networks;
    if (networks == std::vector<std::string>{kAny})
        networks.clear();
    options.open().setNetworks(options.name, networks);
    UserAccount account;
    account.networks = networks;
    std::printf("user \"%s\" may log in from: %s\n", options.name.c_str(),
                networksText(account).c_str());
}

void setCertificates(const UserOptions& options) {
    if (options.subjects.empty() != options.isAnyCertificate)
        throw std::runtime_error("give either --subject, once or several times, or --any");
    UserDatabase database = options.open();
    database.setSubjects(options.name, options.subjects);
    const std::optional<UserAccount> account = database.find(options.name);
    const std::string text = account ? certificatesText(*account) : kAny;
    std::printf("user \"%s\" may log in with a certificate of: %s\n", options.name.c_str(),
                util::escaped(text).c_str());
}

void unlock(const UserOptions& options) {
    options.open().unlock(options.name);
    std::printf("user \"%s\" unlocked\n", options.name.c_str());
}

void removeUser(const UserOptions& options) {
    options.open().remove(options.name);
    std::printf("user \"%s\" removed\n", options.name.c_str());
}

struct Command {
    const char* name;
    const char* description;
    const char* forOperators;  ///< the description in `kelpctl operator`; null: not a command of it
    bool takesName;            ///< takes the name of the account that it changes
    bool takesPassword;
    void (*run)(const UserOptions&);
};

constexpr Command kCommands[] = {
    {"add", "Add an NMS user", "Add an operator", true, true, add},
    {"list", "List the NMS users", "List the operators", false, false, list},
    {"passwd", "Give a user a new password and end its sessions", "Give an operator a new password",
     true, true, changePassword},
    {"disable", "Refuse a user's log-ins and end its sessions", "Refuse an operator's requests",
     true, false, disable},
    {"enable", "Accept a user's log-ins again", "Accept an operator's requests again", true, false,
     enable},
    {"expire", "Set when a user's account expires and its sessions end",
     "Set when an operator's account expires", true, false, expire},
    {"networks", "Set the addresses from which a user may log in, beginning with the next log-in",
     "Set the addresses from which an operator may ask", true, false, setNetworks},
    {"tls",
     "Accept a user only with the certificates of its NMS, and end its sessions that have others",
     nullptr, true, false, setCertificates},
    {"unlock", "End a user's lock-outs after wrong passwords", nullptr, true, false, unlock},
    {"remove", "Remove a user and end its sessions", "Remove an operator", true, false, removeUser},
};

/// Return the command as it was given, without the account's name and without the name of a
/// password file.
std::string whatOf(const Command& command, const UserOptions& options) {
    std::string text = options.kind == AccountKind::Nms ? "" : "operator ";
    text += command.name;
    if (command.run == expire)
        text += " " + options.expiry;
    if (command.run == setNetworks)
        text += " " + joinedNetworks(options.networks);
    if (command.run == setCertificates)
        text += " " + (options.isAnyCertificate ? kAny : joinedSubjects(options.subjects));
    return text;
}

void runCommand(const Command& command, const UserOptions& options) {
    loadConfiguration(options.globalOptions);
    if (command.takesName)
        recorded({options.name, whatOf(command, options)}, [&] { command.run(options); });
    else
        command.run(options);
}

void addCertificateOptions(CLI::App& app, UserOptions& options) {
    app.add_option("--subject", options.subjects,
                   "Subject of a certificate, as printed by openssl x509 -noout -subject -nameopt "
                   "RFC2253; may be given several times")
        ->allow_extra_args(false)
        ->type_name("NAME");
    app.add_flag("--any", options.isAnyCertificate,
                 "Accept any certificate, and log-ins without one, over TCP too");
}

constexpr const char* kFooter =
    R"(A password has at least 8 characters and at most 1024 octets. Every change, even one that fails, is recorded in the
security log: kelpctl audit --event user.

Examples:
  kelpctl user add nms1
  kelpctl user passwd nms1 --password-file nms1.pw
  kelpctl user expire nms1 2027-01-31
  kelpctl user networks nms1 10.1.0.0/16 2001:db8::/32
  kelpctl user tls nms1 --subject "CN=nms1,O=Operator" --subject "CN=nms1-standby,O=Operator"
  kelpctl user --database /var/lib/kelp/users.db list)";

constexpr const char* kOperatorFooter =
    R"(Operators read the status page from other machines, when [admin] network_listen is set. Their accounts are not those
that NMS log in with. Every change is recorded in the security log: kelpctl audit --event user. A change applies from the
next request on.

Examples:
  kelpctl operator add anna
  kelpctl operator networks anna 10.1.0.0/16
  kelpctl operator list)";

void addCommand(CLI::App& group, const Command& command,
                const std::shared_ptr<UserOptions>& options) {
    const char* const description =
        options->kind == AccountKind::Nms ? command.description : command.forOperators;
    CLI::App* sub = group.add_subcommand(command.name, description)->fallthrough();
    if (command.takesName)
        sub->add_option("name", options->name, "The user's name")->required()->type_name("NAME");
    if (command.takesPassword) {
        sub->add_option("--password-file", options->passwordFile,
                        "File whose first line is the password")
            ->type_name("FILE");
        sub->add_flag("--force", options->force, "Accept a password of fewer than 8 characters");
    }
    if (command.run == expire)
        sub->add_option("time", options->expiry,
                        "never, now, a date (00:00 UTC of that day), or a time such as "
                        "2027-01-31T12:00:00Z")
            ->required()
            ->type_name("TIME");
    if (command.run == setNetworks)
        sub->add_option("networks", options->networks,
                        "IPv4 or IPv6 addresses, or networks as ADDRESS/PREFIX-LENGTH; any: "
                        "every address")
            ->required()
            ->type_name("NETWORK");
    if (command.run == setCertificates)
        addCertificateOptions(*sub, *options);
    if (command.run == list)
        sub->add_flag("--json", options->json, "Write JSON");
    sub->callback([options, &command] { runCommand(command, *options); });
}

CLI::App* addGroup(CLI::App& app, const char* name, const char* description, const char* footer,
                   const std::shared_ptr<UserOptions>& options) {
    CLI::App* group = app.add_subcommand(name, description);
    group->require_subcommand(1)->fallthrough()->footer(footer);
    group->add_option("--database", options->database, "Database; default: as configured")
        ->type_name("FILE");
    return group;
}

}  // namespace

void addUserCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<UserOptions>(globalOptions, AccountKind::Nms);
    CLI::App* group =
        addGroup(app, "user", "Manage the accounts that NMSs log in with", kFooter, options);
    for (const Command& command : kCommands)
        addCommand(*group, command, options);
}

void addOperatorCommands(CLI::App& app, const GlobalOptions& globalOptions) {
    const auto options = std::make_shared<UserOptions>(globalOptions, AccountKind::Operators);
    CLI::App* group = addGroup(app, "operator",
                               "Manage the accounts of operators who read the status page over "
                               "the network",
                               kOperatorFooter, options);
    for (const Command& command : kCommands) {
        if (command.forOperators != nullptr)
            addCommand(*group, command, options);
    }
}

}  // namespace kelp::ctl
