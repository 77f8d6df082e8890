#include "state_fixture.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/bundlemgr/config_store.h>

#include <fstream>
#include <stdexcept>

namespace kelp::test {

namespace fs = std::filesystem;
using NS_BUNDLEMGR1::ConfigStore;

StateTest::StateTest() {
    fs::create_directory(state_);
    fs::permissions(state_, fs::perms::owner_all);
    ConfigStore::instance().reset();
}

StateTest::~StateTest() {
    ConfigStore::instance().reset();
}

void StateTest::makeState(const std::string& text) const {
    for (const state::StateFile& each : state::configuredLayout().files) {
        if (each.isDatabase())
            makeDatabase(each.path, each.applicationId, text);
        else
            writeSecret(each.path, text);
    }
    fs::create_directories(inState("changes-lists"));
    writeSecret(inState("changes-lists") / "alarms-17.list", text);
    writeSecret(inState("oplog.db.rest-2025-03-01T12:00:00.000Z-4711"), text);
}

void StateTest::removeState() const {
    fs::remove_all(state_);
    fs::create_directory(state_);
    fs::permissions(state_, fs::perms::owner_all);
}

void StateTest::writeSecret(const fs::path& file, const std::string& content) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << content;
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
}

void StateTest::configure(const std::string& toml) const {
    const fs::path file = folder_.write("kelp.toml", toml);
    const auto problems = ConfigStore::instance().load(file);
    if (!problems.empty())
        throw std::runtime_error(problems.front().text());
}

std::map<std::string, std::string> StateTest::contentsOf(const fs::path& folder) {
    std::map<std::string, std::string> found;
    for (const fs::directory_entry& each : fs::recursive_directory_iterator(folder)) {
        const std::string name = each.path().filename();
        if (name == "admin.lock" || name == "changes.db-lock")
            continue;
        found[each.path()] = each.is_regular_file() ? contentOf(each.path()) : "";
    }
    return found;
}

std::string StateTest::textInState() const {
    std::string text;
    for (const state::StateFile& each : state::configuredLayout().files) {
        if (!each.isDatabase())
            continue;
        const std::string found = fs::exists(each.path) ? textInDatabase(each.path) : "";
        if (found.empty() || (!text.empty() && found != text))
            return "";
        text = found;
    }
    return text;
}

void makeDatabase(const fs::path& file, int applicationId, const std::string& text) {
    fs::remove(file);
    SQLite::Database database(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
    fs::permissions(file, fs::perms::owner_read | fs::perms::owner_write);
    database.exec("PRAGMA journal_mode = WAL");
    database.exec("PRAGMA application_id = " + std::to_string(applicationId));
    database.exec("CREATE TABLE note (text TEXT)");
    SQLite::Statement insert(database, "INSERT INTO note VALUES (?)");
    insert.bind(1, text);
    insert.exec();
}

std::string textInDatabase(const fs::path& file) {
    SQLite::Database database(file.string(), SQLite::OPEN_READWRITE);
    return database.execAndGet("SELECT text FROM note").getString();
}

}  // namespace kelp::test
