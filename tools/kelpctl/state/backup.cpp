#include "state/backup.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include "state/configuration_files.h"
#include "state/database_copy.h"
#include "state/file_copy.h"

namespace kelp::state {

namespace {

/// The host saves a list every few minutes at most.
constexpr int kAttempts = 10;

CopyResult copyState(const ArchiveFile& archive, const StateFile& file) {
    const std::filesystem::path place = archive.placeFor(file.name);
    return file.isDatabase() ? copyDatabase(file.path, place, file.applicationId)
                             : copyFile(file.path, place);
}

void addState(ArchiveFile& archive, const StateFile& file) {
    if (copyState(archive, file) == CopyResult::Done)
        archive.add(file.name, file.path);
}

std::vector<std::string> namesOf(const std::vector<StateFile>& files) {
    std::vector<std::string> names;
    names.reserve(files.size());
    for (const StateFile& each : files)
        names.push_back(each.name);
    return names;
}

/// Add the change log and the saved lists of alarms. The log has only the changes after the oldest
/// list, so the lists must be those that existed when the log was copied.
void addAlarms(ArchiveFile& archive, const StateLayout& layout, const StateFile& log) {
    for (int i = 0; i < kAttempts; ++i) {
        const std::vector<StateFile> lists = layout.presentLists();
        std::vector<StateFile> all = lists;
        all.push_back(log);
        std::vector<StateFile> copied;
        for (const StateFile& each : all) {
            std::filesystem::remove(archive.placeFor(each.name));
            if (copyState(archive, each) == CopyResult::Done)
                copied.push_back(each);
        }
        if (namesOf(layout.presentLists()) != namesOf(lists))
            continue;
        for (const StateFile& each : copied)
            archive.add(each.name, each.path);
        return;
    }
    throw std::runtime_error("the lists in " + layout.savedLists.string() +
                             " change faster than they can be copied");
}

void addConfiguration(ArchiveFile& archive) {
    for (const ConfigurationFile& each : configurationFiles()) {
        try {
            if (copyFile(each.path, archive.placeFor(each.name)) == CopyResult::Done)
                archive.add(each.name, each.path);
        } catch (const std::runtime_error& failure) {
            archive.leaveOut(failure.what());
        }
    }
}

}  // namespace

Manifest backUp(const StateLayout& layout, const std::filesystem::path& archive,
                Existing existing) {
    ArchiveFile made(archive, existing);
    for (const StateFile& each : layout.presentRecords())
        addState(made, each);
    bool hasState = false;
    for (const StateFile& each : layout.files) {
        std::error_code error;
        hasState = hasState || std::filesystem::exists(each.path, error);
        if (each.path == layout.changeLog)
            addAlarms(made, layout, each);
        else
            addState(made, each);
    }
    if (!hasState)
        throw std::runtime_error("there is no state in " + layout.folder.string());
    addConfiguration(made);
    return made.publish(kBackupKind);
}

}  // namespace kelp::state
