#include "state/layout.h"

#include <kelp/bundlemgr/config_store.h>
#include <kelp/inventory/inventory.h>
#include <kelp/oplog/log_settings.h>
#include <kelp/users/user_database.h>

#include <algorithm>
#include <string_view>
#include <system_error>

namespace kelp::state {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kFolder = "state/";
constexpr std::string_view kListsFolder = "state/changes-lists/";
constexpr std::string_view kListPrefix = "alarms-";
constexpr std::string_view kListSuffix = ".list";
/// A position has up to 20 digits.
constexpr std::size_t kDigitsMax = 20;
/// Between the name of a log and the time of records that could not be written to it.
constexpr std::string_view kRecordsMark = ".rest-";
constexpr std::size_t kRecordsSuffixMax = 100;

// each is four letters, as the schemas have them
constexpr int kUsersId = 0x4B555352;       // KUSR
constexpr int kOperationsId = 0x4B4F504C;  // KOPL
constexpr int kSecurityId = 0x4B415544;    // KAUD
constexpr int kInventoryId = 0x4B494E56;   // KINV
constexpr int kChangesId = 0x4B434847;     // KCHG
constexpr int kSessionsId = 0x4B534553;    // KSES

constexpr const char* kDatabaseParts[] = {"", "-wal", "-shm", "-journal"};

fs::path configured(const char* key, const char* standard) {
    const std::string text = NS_BUNDLEMGR1::ConfigStore::instance().text(key);
    return text.empty() ? NS_BUNDLEMGR1::defaultStateDirectory() / standard : fs::path(text);
}

bool isDigit(char each) {
    return each >= '0' && each <= '9';
}

bool isListName(std::string_view name) {
    if (!name.starts_with(kListPrefix) || !name.ends_with(kListSuffix) ||
        name.size() <= kListPrefix.size() + kListSuffix.size())
        return false;
    const std::string_view digits =
        name.substr(kListPrefix.size(), name.size() - kListPrefix.size() - kListSuffix.size());
    return digits.size() <= kDigitsMax && std::all_of(digits.begin(), digits.end(), isDigit);
}

/// A time and the number of a process, such as "2025-03-01T12:00:00.000Z-4711".
bool isRecordsSuffix(std::string_view suffix) {
    return !suffix.empty() && suffix.size() <= kRecordsSuffixMax &&
           std::all_of(suffix.begin(), suffix.end(), [](char each) {
               return isDigit(each) || each == '-' || each == ':' || each == '.' || each == 'T' ||
                      each == 'Z';
           });
}

bool isLog(const StateFile& file) {
    return file.applicationId == kOperationsId || file.applicationId == kSecurityId;
}

std::vector<std::string> namesIn(const fs::path& folder) {
    std::vector<std::string> names;
    std::error_code error;
    for (auto each = fs::directory_iterator(folder.empty() ? "." : folder, error);
         !error && each != fs::directory_iterator(); each.increment(error))
        names.push_back(each->path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

std::optional<StateFile> StateLayout::find(const std::string& name) const {
    for (const StateFile& each : files) {
        if (each.name == name)
            return each;
        const std::string mark = each.name + std::string(kRecordsMark);
        if (isLog(each) && name.starts_with(mark) && isRecordsSuffix(name.substr(mark.size())))
            return StateFile{name, each.path.string() + name.substr(each.name.size()), 0};
    }
    if (!name.starts_with(kListsFolder) || !isListName(name.substr(kListsFolder.size())))
        return std::nullopt;
    return StateFile{name, savedLists / name.substr(kListsFolder.size()), 0};
}

std::vector<StateFile> StateLayout::presentLists() const {
    std::vector<StateFile> found;
    for (const std::string& each : namesIn(savedLists)) {
        if (isListName(each))
            found.push_back({std::string(kListsFolder) + each, savedLists / each, 0});
    }
    return found;
}

std::vector<StateFile> StateLayout::presentRecords() const {
    std::vector<StateFile> found;
    for (const StateFile& log : files) {
        if (!isLog(log))
            continue;
        const std::string base = log.path.filename().string();
        const std::string mark = base + std::string(kRecordsMark);
        for (const std::string& each : namesIn(log.path.parent_path())) {
            if (each.starts_with(mark) && isRecordsSuffix(each.substr(mark.size())))
                found.push_back(
                    {log.name + each.substr(base.size()), log.path.parent_path() / each, 0});
        }
    }
    return found;
}

std::vector<fs::path> StateLayout::places() const {
    std::vector<fs::path> all;
    for (const StateFile& each : files) {
        if (each.isDatabase()) {
            for (const char* const part : kDatabaseParts)
                all.emplace_back(each.path.string() + part);
        } else {
            all.push_back(each.path);
        }
    }
    for (const StateFile& each : presentRecords())
        all.push_back(each.path);
    all.push_back(savedLists);
    return all;
}

StateLayout configuredLayout() {
    StateLayout layout;
    layout.folder = NS_BUNDLEMGR1::defaultStateDirectory();
    layout.changeLog = configured("alarms.log", "changes.db");
    layout.savedLists =
        layout.changeLog.parent_path() / (layout.changeLog.stem().string() + "-lists");
    const oplog::LogSettings security = oplog::configuredSecurityLog();
    const std::string in(kFolder);
    layout.files = {
        {in + "users.db", users::userDatabaseFile(), kUsersId},
        {in + "inventory.db", inventory::configuredInventory(), kInventoryId},
        {in + "changes.db", layout.changeLog, kChangesId},
        {in + "sessions.db", configured("session.history", "sessions.db"), kSessionsId},
        {in + "oplog.db", oplog::configuredOperationLog().database, kOperationsId},
        {in + "oplog-before-login.db", oplog::configuredLogBeforeLogIn().database, kOperationsId},
        {in + "oplog-audit.db", security.database, kSecurityId},
        {in + "audit.key", security.auditKeyFile, 0},
        {in + "snmp-engine", layout.folder / "snmp-engine", 0},
    };
    return layout;
}

}  // namespace kelp::state
