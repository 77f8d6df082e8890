#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelp::state {

/// A file of the host's state.
struct StateFile {
    std::string name;            ///< in an archive, such as "state/users.db", wherever it lies here
    std::filesystem::path path;  ///< its place here
    /// PRAGMA application_id of a database, which tells ours from those of other programs; 0: the
    /// file is not a database.
    int applicationId = 0;

    bool isDatabase() const { return applicationId != 0; }
};

/// Where the state lies, as the configuration says.
struct StateLayout {
    std::filesystem::path folder;  ///< the state directory
    /// The files with a fixed name, in the order of a backup. The inventory comes before the change
    /// log: changes of the network wait in the inventory until the change log has them.
    std::vector<StateFile> files;
    std::filesystem::path changeLog;
    std::filesystem::path savedLists;  ///< folder with the saved lists of alarms

    /// The file that a name in an archive stands for; none if no file of the state has such a name.
    std::optional<StateFile> find(const std::string& name) const;
    /// The saved lists of alarms that exist.
    std::vector<StateFile> presentLists() const;
    /// The records that exist next to the logs, because the logs could not be written.
    std::vector<StateFile> presentRecords() const;
    /// All files and folders that belong to the state, with those that SQLite keeps next to its
    /// databases. They need not exist.
    std::vector<std::filesystem::path> places() const;
};

/// The layout of the configuration in use.
StateLayout configuredLayout();

}  // namespace kelp::state
