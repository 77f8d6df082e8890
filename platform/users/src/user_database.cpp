#include <SQLiteCpp/SQLiteCpp.h>
#include <SQLiteCpp/VariadicBind.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/users/oss_networks.h>
#include <kelp/users/subject_name.h>
#include <kelp/users/user_database.h>
#include <kelp/users/user_name.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/joined.h>
#include <kelp/util/now_utc.h>
#include <kelp/util/private_file.h>
#include <sqlite3.h>

#include <chrono>
#include <cstring>
#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "password_hash.h"
#include "user_schema.h"

namespace kelp::users {

namespace {

constexpr int kBusyTimeoutMs = 2000;

constexpr const char* kSelect =
    "SELECT id, name, enabled, created_utc, password_changed_utc, password_hash, expires_utc, "
    "networks, "
    "password_number, unlocks, subjects FROM user";

UserAccount accountOf(SQLite::Statement& row) {
    UserAccount account;
    account.id = row.getColumn(0).getInt64();
    account.name = row.getColumn(1).getString();
    account.enabled = row.getColumn(2).getInt() != 0;
    account.createdUtc = row.getColumn(3).getInt64();
    account.passwordChangedUtc = row.getColumn(4).getInt64();
    if (!row.getColumn(6).isNull())
        account.expiresUtc = row.getColumn(6).getInt64();
    std::istringstream networks(row.getColumn(7).getString());
    for (std::string network; networks >> network;)
        account.networks.push_back(network);
    account.passwordNumber = row.getColumn(8).getInt64();
    account.unlocks = row.getColumn(9).getInt64();
    std::istringstream subjects(row.getColumn(10).getString());
    for (std::string subject; std::getline(subjects, subject);)
        account.subjects.push_back(subject);
    return account;
}

/// Join the networks to one text. Throws std::runtime_error that names an entry that is not a
/// network.
std::string joinedNetworks(const std::vector<std::string>& networks) {
    std::string whyNot;
    if (!OssNetworks().parse(networks, whyNot))
        throw std::runtime_error(whyNot);
    return util::joined(networks, " ");
}

/// Normalise the subjects and join them, one on each line; line feeds inside a subject are escaped.
/// Throws std::runtime_error that shows a text that is not a subject.
std::string subjectLines(const std::vector<std::string>& subjects) {
    std::string lines;
    for (const std::string& subject : subjects) {
        std::string whyNot;
        const std::optional<std::string> normalised = normalisedSubject(subject, whyNot);
        if (!normalised)
            throw std::runtime_error(whyNot);
        lines += *normalised + "\n";
    }
    return lines;
}

void requireUsablePassword(const std::string& password) {
    if (password.empty())
        throw std::runtime_error("the password must not be empty");
    if (password.size() > kPasswordBytesMax)
        throw std::runtime_error("the password must have at most " +
                                 std::to_string(kPasswordBytesMax) + " bytes");
}

void requireUsableName(const std::string& name) {
    if (const std::string problem = problemOfUserName(name); !problem.empty())
        throw std::runtime_error(problem);
}

/// Throw std::runtime_error that reports SQLite's failure in one sentence and names the file.
[[noreturn]] void rethrow(const std::filesystem::path& file, const SQLite::Exception& failure) {
    const std::string subject = "user database " + file.string();
    switch (failure.getErrorCode()) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            throw std::runtime_error(subject + " is locked by another process");
        case SQLITE_NOTADB:
        case SQLITE_CORRUPT:
            throw std::runtime_error(subject + " is damaged: " + failure.getErrorStr());
        case SQLITE_READONLY:
            throw std::runtime_error(subject + " is read-only");
        default:
            throw std::runtime_error(subject + ": " + failure.what());
    }
}

template <class Body>
auto translated(const std::filesystem::path& file, Body body) {
    try {
        return body();
    } catch (const SQLite::Exception& failure) {
        rethrow(file, failure);
    }
}

}  // namespace

struct UserDatabase::State {
    std::filesystem::path path;
    SQLite::Database database;

    explicit State(const std::filesystem::path& file)
        : path(file),
          database(util::inRealFolder(file).string(), SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW,
                   kBusyTimeoutMs) {}

    /// Run a statement that changes one account. Its parameter 1 is the name; the others are
    /// `values`, in order, or null. Throws std::runtime_error when there is no such account.
    template <class... Values>
    void changeOne(const char* sql, const std::string& name, const Values&... values) {
        translated(path, [&] {
            SQLite::Statement statement(database, sql);
            SQLite::bind(statement, name, values...);
            if (statement.exec() == 0)
                throw std::runtime_error("there is no user \"" + name + "\"");
        });
    }
    void spendCheck(std::string_view password, const HashCost& cost);
};

UserDatabase::UserDatabase(const std::filesystem::path& file, Missing missing) {
    if (missing == Missing::IsMade) {
        if (const std::string problem = util::makePrivateFile(file); !problem.empty())
            throw std::runtime_error("user database " + file.string() + ": " + problem);
    } else if (std::error_code error; !std::filesystem::exists(file, error)) {
        throw std::runtime_error("user database " + file.string() + " does not exist");
    } else if (const std::string problem = util::problemOfTrust(file); !problem.empty()) {
        throw std::runtime_error("user database " + file.string() + ": it " + problem);
    }
    translated(file, [&] {
        state_ = std::make_unique<State>(file);
        if (missing == Missing::IsMade)
            makeUserSchema(state_->database);
        updateUserSchema(state_->database, file);
    });
}

UserDatabase::~UserDatabase() = default;

void UserDatabase::add(const std::string& name, const std::string& password, const HashCost& cost) {
    requireUsableName(name);
    requireUsablePassword(password);
    if (find(name))
        throw std::runtime_error("user \"" + name + "\" already exists");
    const std::string hash = hashOfPassword(password, cost);
    translated(state_->path, [&] {
        SQLite::Statement insert(
            state_->database,
            "INSERT INTO user (name, password_hash, created_utc, password_changed_utc) "
            "VALUES (?1, ?2, ?3, ?3) ON CONFLICT (name) DO NOTHING");
        insert.bind(1, name);
        insert.bind(2, hash);
        insert.bind(3, util::nowUtc());
        if (insert.exec() == 0)
            throw std::runtime_error("user \"" + name + "\" already exists");
    });
}

void UserDatabase::setPassword(const std::string& name, const std::string& password,
                               const HashCost& cost) {
    requireUsablePassword(password);
    const std::string hash = hashOfPassword(password, cost);
    state_->changeOne(
        "UPDATE user SET password_hash = ?2, password_changed_utc = ?3, "
        "password_number = password_number + 1 WHERE name = ?1",
        name, hash, util::nowUtc());
}

void UserDatabase::setEnabled(const std::string& name, bool enabled) {
    state_->changeOne("UPDATE user SET enabled = ?2 WHERE name = ?1", name, enabled ? 1 : 0);
}

void UserDatabase::setExpiry(const std::string& name, std::optional<std::int64_t> expiresUtc) {
    constexpr const char* kUpdate = "UPDATE user SET expires_utc = ?2 WHERE name = ?1";
    if (expiresUtc)
        state_->changeOne(kUpdate, name, *expiresUtc);
    else
        state_->changeOne(kUpdate, name);
}

void UserDatabase::setNetworks(const std::string& name, const std::vector<std::string>& networks) {
    state_->changeOne("UPDATE user SET networks = ?2 WHERE name = ?1", name,
                      joinedNetworks(networks));
}

void UserDatabase::setSubjects(const std::string& name, const std::vector<std::string>& subjects) {
    state_->changeOne("UPDATE user SET subjects = ?2 WHERE name = ?1", name,
                      subjectLines(subjects));
}

void UserDatabase::unlock(const std::string& name) {
    state_->changeOne("UPDATE user SET unlocks = unlocks + 1 WHERE name = ?1", name);
}

void UserDatabase::remove(const std::string& name) {
    state_->changeOne("DELETE FROM user WHERE name = ?1", name);
}

std::vector<UserAccount> UserDatabase::list() {
    return translated(state_->path, [&] {
        std::vector<UserAccount> accounts;
        SQLite::Statement query(state_->database, std::string(kSelect) + " ORDER BY name");
        while (query.executeStep())
            accounts.push_back(accountOf(query));
        return accounts;
    });
}

std::optional<UserAccount> UserDatabase::find(const std::string& name) {
    return translated(state_->path, [&]() -> std::optional<UserAccount> {
        SQLite::Statement query(state_->database, std::string(kSelect) + " WHERE name = ?1");
        query.bind(1, name);
        if (!query.executeStep())
            return std::nullopt;
        return accountOf(query);
    });
}

std::optional<UserAccount> UserDatabase::authenticate(const std::string& name,
                                                      const std::string& password,
                                                      const HashCost& cost) {
    std::string hash;
    // the statement ends before the hashing, so that the file is not locked during it
    std::optional<UserAccount> account =
        translated(state_->path, [&]() -> std::optional<UserAccount> {
            SQLite::Statement query(state_->database, std::string(kSelect) + " WHERE name = ?1");
            query.bind(1, name);
            if (!query.executeStep())
                return std::nullopt;
            hash = query.getColumn(5).getString();
            return accountOf(query);
        });
    const bool isTooLong = password.size() > kPasswordBytesMax;
    const std::string_view tried = std::string_view(password).substr(0, kPasswordBytesMax);
    if (!account) {
        state_->spendCheck(tried, cost);
        return std::nullopt;
    }
    if (!isPasswordOf(hash, tried) || isTooLong)
        return std::nullopt;
    return account;
}

void UserDatabase::State::spendCheck(std::string_view password, const HashCost& cost) {
    // check against an existing hash, whose cost may differ from the one configured now
    const std::string hash = translated(path, [&]() -> std::string {
        SQLite::Statement query(database, "SELECT password_hash FROM user ORDER BY id LIMIT 1");
        return query.executeStep() ? query.getColumn(0).getString() : std::string();
    });
    if (hash.empty())
        spendPasswordCheck(password, cost);
    else
        (void)isPasswordOf(hash, password);
}

bool UserDatabase::passwordMatches(const std::string& name, const std::string& password,
                                   const HashCost& cost) {
    return authenticate(name, password, cost).has_value();
}

std::int64_t UserDatabase::dataVersion() {
    return translated(state_->path, [&] {
        return state_->database.execAndGet("PRAGMA data_version").getInt64();
    });
}

void UserDatabase::setPatience(std::chrono::milliseconds patience) {
    translated(state_->path,
               [&] { state_->database.setBusyTimeout(static_cast<int>(patience.count())); });
}

std::filesystem::path userDatabaseFile() {
    const std::string configured = NS_BUNDLEMGR1::ConfigStore::instance().text("security.database");
    return configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "users.db"
                              : std::filesystem::path(configured);
}

std::filesystem::path operatorDatabaseFile() {
    const std::string configured = NS_BUNDLEMGR1::ConfigStore::instance().text("admin.operators");
    return configured.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / "operators.db"
                              : std::filesystem::path(configured);
}

HashCost configuredHashCost() {
    const NS_BUNDLEMGR1::ConfigStore& config = NS_BUNDLEMGR1::ConfigStore::instance();
    HashCost cost;
    cost.memoryKib = static_cast<std::uint32_t>(config.integer("security.hash_memory_kib"));
    cost.passes = static_cast<std::uint32_t>(config.integer("security.hash_passes"));
    return cost;
}

}  // namespace kelp::users
