#include "database/side_file.h"

#include <fcntl.h>
#include <kelp/util/file_trust.h>
#include <kelp/util/private_file.h>
#include <kelp/util/trace_log.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <system_error>

#include "database/log_file.h"
#include "records/entry_rules.h"

namespace kelp::oplog {

namespace {

using Json = nlohmann::json;

constexpr const char* kMark = ".rest-";

std::string lineOf(const LogEntry& entry) {
    Json line = {{"time", entry.time.time_since_epoch().count()},
                 {"user", entry.user},
                 {"nms", entry.nmsAddress},
                 {"peer", entry.peer},
                 {"operation", entry.operation},
                 {"objectKind", entry.objectKind},
                 {"object", entry.object},
                 {"outcome", entry.outcome},
                 {"detail", entry.detail},
                 {"missing", entry.missing},
                 {"until", entry.until.time_since_epoch().count()}};
    if (entry.duration)
        line["durationUs"] = entry.duration->count();
    return line.dump() + "\n";
}

/// Throws Json::exception for a line that is not a record.
LogEntry readEntry(const std::string& text) {
    const Json line = Json::parse(text);
    const auto time = [&line](const char* key) {
        return UtcTime(std::chrono::milliseconds(line.at(key).get<std::int64_t>()));
    };
    LogEntry entry;
    entry.time = time("time");
    entry.user = line.at("user").get<std::string>();
    entry.nmsAddress = line.at("nms").get<std::string>();
    entry.peer = line.at("peer").get<std::string>();
    entry.operation = line.at("operation").get<std::string>();
    entry.objectKind = line.at("objectKind").get<std::string>();
    entry.object = line.at("object").get<std::string>();
    entry.outcome = line.at("outcome").get<std::string>();
    entry.detail = line.at("detail").get<std::string>();
    entry.missing = line.at("missing").get<std::uint64_t>();
    entry.until = time("until");
    if (line.contains("durationUs"))
        entry.duration = std::chrono::microseconds(line["durationUs"].get<std::int64_t>());
    return entry;
}

void writeAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t written = ::write(descriptor, text.data() + done, text.size() - done);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            throw std::system_error(errno, std::generic_category());
        done += static_cast<std::size_t>(written);
    }
}

/// Write the whole file or none. Throws LogFailure.
void writeTo(const std::filesystem::path& file, const std::string& text) {
    std::string problem;
    const util::Descriptor made = util::openPrivateFile(file, O_EXCL, problem);
    if (!made.isOpen())
        throw LogFailure(file.string() + " " + problem);
    try {
        writeAll(made.get(), text);
        if (::fsync(made.get()) != 0)
            throw std::system_error(errno, std::generic_category());
    } catch (const std::system_error& failure) {
        ::unlink(file.c_str());
        throw LogFailure(file.string() + ": " + failure.code().message());
    }
}

}  // namespace

std::filesystem::path writeSideFile(const std::filesystem::path& database,
                                    std::vector<LogEntry> entries) {
    std::string text;
    for (LogEntry& entry : entries) {
        escape(entry);
        text += lineOf(entry);
    }
    const std::string name =
        database.filename().string() + kMark + timeText(now()) + "-" + std::to_string(::getpid());
    std::filesystem::path beside = database.parent_path() / name;
    try {
        writeTo(beside, text);
        return beside;
    } catch (const LogFailure& failure) {
        std::error_code error;
        std::filesystem::path elsewhere = std::filesystem::temp_directory_path(error) / name;
        util::traceFrom("oplog", std::string("[SideFile] ") + failure.what() + "; trying " +
                                     elsewhere.string());
        writeTo(elsewhere, text);
        return elsewhere;
    }
}

std::vector<std::filesystem::path> sideFilesOf(const std::filesystem::path& database) {
    std::vector<std::filesystem::path> files;
    const std::string beginning = database.filename().string() + kMark;
    const std::filesystem::path folder = database.has_parent_path() ? database.parent_path() : ".";
    std::error_code error;
    for (auto each = std::filesystem::directory_iterator(folder, error);
         !error && each != std::filesystem::directory_iterator(); each.increment(error)) {
        if (each->path().filename().string().starts_with(beginning))
            files.push_back(each->path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool readSideFile(const std::filesystem::path& file, std::vector<LogEntry>& entries) {
    if (const std::string problem = util::problemOfTrust(file); !problem.empty()) {
        util::traceFrom("oplog", "[SideFile] " + file.string() + " " + problem);
        return false;
    }
    std::ifstream in(file);
    if (!in) {
        util::traceFrom("oplog", "[SideFile] " + file.string() + " cannot be read");
        return false;
    }
    std::size_t unreadable = 0;
    for (std::string line; std::getline(in, line);) {
        try {
            entries.push_back(readEntry(line));
        } catch (const Json::exception&) {
            ++unreadable;
        }
    }
    if (unreadable > 0)
        util::traceFrom("oplog", "[SideFile] " + file.string() + " has " +
                                     std::to_string(unreadable) + " line(s) that cannot be read");
    return true;
}

}  // namespace kelp::oplog
