#include "state/support_bundle.h"

#include <SQLiteCpp/SQLiteCpp.h>
#include <kelp/admin/settings_json.h>
#include <kelp/bundlemgr/config_store.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/json_text.h>
#include <sqlite3.h>

#include <algorithm>
#include <exception>
#include <optional>
#include <system_error>
#include <vector>

#include "state/configuration_files.h"
#include "state/known_secrets.h"
#include "state/machine_facts.h"
#include "state/stopped_state.h"
#include "state/trace_end.h"

namespace kelp::state {

namespace {

namespace fs = std::filesystem;
using admin::Json;
using NS_BUNDLEMGR1::ConfigSetting;
using NS_BUNDLEMGR1::ConfigStore;

struct Question {
    const char* path;
    const char* file;
};

/// The first question shows whether the host answers at all.
constexpr Question kQuestions[] = {
    {"/version", "version.json"}, {"/status", "status.json"},
    {"/health", "health.json"},   {"/sessions", "sessions.json"},
    {"/drain", "drain.json"},     {"/sessions/ended", "sessions-ended.json"},
    {"/naming", "naming.json"},   {"/consumers", "consumers.json"},
};
constexpr int kEndedSessionsMax = 1000;
constexpr int kHistoryBusyMs = 2000;
constexpr std::size_t kFolderEntriesMax = 2000;

/// Collects the texts, each without secrets.
class Collection {
  public:
    Collection(ArchiveFile& archive, const KnownSecrets& secrets)
        : archive_(archive), secrets_(secrets) {}

    void add(const std::string& name, const std::string& text) {
        archive_.addText(name, secrets_.masked(text));
    }
    void add(const std::string& name, const Json& json) {
        add(name, util::jsonText(json, 2) + "\n");
    }
    void leaveOut(const std::string& what, const std::string& why) {
        archive_.leaveOut(secrets_.masked(what + ": " + why));
    }

  private:
    ArchiveFile& archive_;
    const KnownSecrets& secrets_;
};

Json maskedSetting(Json setting) {
    if (!isSecretKey(setting.value("key", "")))
        return setting;
    for (const char* const each : {"value", "waiting"}) {
        if (!setting.value(each, "").empty())
            setting[each] = "***";
    }
    return setting;
}

Json masked(Json configuration) {
    Json settings = Json::array();
    for (const Json& each : configuration.value("settings", Json::array()))
        settings.push_back(maskedSetting(each));
    configuration["settings"] = settings;
    return configuration;
}

/// The last rows of the ended sessions.
Json endedSessionsIn(const fs::path& file) {
    SQLite::Database database(util::inRealFolder(file).string(),
                              SQLite::OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW, kHistoryBusyMs);
    database.exec("PRAGMA query_only = ON");
    SQLite::Statement rows(database, "SELECT * FROM session ORDER BY number DESC LIMIT ?");
    rows.bind(1, kEndedSessionsMax);
    Json all = Json::array();
    while (rows.executeStep()) {
        Json row = Json::object();
        for (int i = 0; i < rows.getColumnCount(); ++i)
            row[rows.getColumnName(i)] = rows.getColumn(i).getString();
        all.push_back(row);
    }
    return all;
}

/// Whether the host answers at all.
bool addAnswers(const SupportRequest& request, Collection& to) {
    bool isRunning = true;
    for (const Question& each : kQuestions) {
        try {
            to.add(each.file, request.ask(each.path, isRunning));
        } catch (const std::exception& failure) {
            to.leaveOut(each.file, failure.what());
        }
        // a host that hangs would take its time for every question
        if (!isRunning)
            return false;
    }
    return true;
}

void addConfiguration(const SupportRequest& request, bool isRunning, Collection& to) {
    if (isRunning) {
        try {
            to.add("configuration.json", masked(request.ask("/config", isRunning)));
            return;
        } catch (const std::exception& failure) {
            to.leaveOut("configuration.json of the running host", failure.what());
        }
    }
    to.add("configuration-of-file.json", masked(admin::settingsJson()));
}

void addEndedSessions(const StateLayout& layout, Collection& to) {
    for (const StateFile& each : layout.files) {
        std::error_code error;
        if (each.name != "state/sessions.db" || !fs::exists(each.path, error))
            continue;
        try {
            to.add("sessions-ended.json", endedSessionsIn(each.path));
        } catch (const std::exception& failure) {
            to.leaveOut("sessions-ended.json", failure.what());
        }
    }
}

void addTrace(std::size_t bytesMax, Collection& to) {
    const ConfigStore& config = ConfigStore::instance();
    const std::vector<std::string> sinks = config.texts("trace.sinks");
    if (std::find(sinks.begin(), sinks.end(), "file") == sinks.end()) {
        to.leaveOut("trace.log", "[trace] sinks has no \"file\"; the trace may be in the journal");
        return;
    }
    try {
        to.add("trace.log", endOfTrace(config.text("trace.file"), bytesMax));
    } catch (const std::exception& failure) {
        to.leaveOut("trace.log", failure.what());
    }
}

/// The files of the state, the configuration and the state directory.
std::vector<fs::path> filesOfHost(const StateLayout& layout,
                                  const std::vector<ConfigurationFile>& configuration) {
    std::vector<fs::path> all = layout.places();
    for (const StateFile& each : layout.presentLists())
        all.push_back(each.path);
    for (const ConfigurationFile& each : configuration)
        all.push_back(each.path);
    std::error_code error;
    std::size_t count = 0;
    for (auto each = fs::directory_iterator(layout.folder, error);
         !error && each != fs::directory_iterator() && count < kFolderEntriesMax;
         each.increment(error), ++count)
        all.push_back(each->path());
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all;
}

std::vector<fs::path> parentsOf(const std::vector<fs::path>& files) {
    std::vector<fs::path> all;
    all.reserve(files.size());
    for (const fs::path& each : files)
        all.push_back(each.has_parent_path() ? each.parent_path() : ".");
    return all;
}

std::string hello(bool isRunning) {
    return std::string("Support bundle of kelpctl ") + KELP_VERSION + ".\n\n" +
           (isRunning ? "The host answered."
                      : "The host does not run, or does not answer. What it would have told is "
                        "missing; what is in files is included.") +
           "\nSecrets are left out or replaced by ***. User names, addresses and paths are "
           "included.\nmanifest.json lists what is included and what is left out.\n";
}

}  // namespace

Manifest collectSupport(const StateLayout& layout, const fs::path& archive, Existing existing,
                        const SupportRequest& request) {
    ArchiveFile made(archive, existing);
    const std::vector<ConfigurationFile> configuration = configurationFiles();
    const KnownSecrets secrets = KnownSecrets::ofHost(layout, configuration);
    Collection collection(made, secrets);
    const bool isRunning = addAnswers(request, collection);
    addConfiguration(request, isRunning, collection);
    if (!isRunning)
        addEndedSessions(layout, collection);
    addTrace(request.traceBytesMax, collection);
    const std::vector<fs::path> files = filesOfHost(layout, configuration);
    collection.add("files.json", fileFacts(files));
    collection.add("disks.json", diskFacts(parentsOf(files)));
    collection.add("machine.json", machineFacts(processUsing(layout.changeLog)));
    collection.add("README.txt", hello(isRunning));
    return made.publish(kSupportKind);
}

}  // namespace kelp::state
