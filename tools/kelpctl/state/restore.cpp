#include "state/restore.h"

#include <kelp/util/private_file.h>
#include <kelp/util/trace_log.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>

#include "state/archive_reader.h"
#include "state/backup.h"
#include "state/checksum.h"
#include "state/configuration_files.h"
#include "state/database_copy.h"
#include "state/file_copy.h"
#include "state/replacement.h"
#include "state/stopped_state.h"

namespace kelp::state {

namespace {

namespace fs = std::filesystem;

/// A configuration file has some hundred lines.
constexpr std::uint64_t kConfigurationBytesMax = 16u << 20;

[[noreturn]] void refuseArchive(const fs::path& archive, const std::string& why) {
    throw std::runtime_error(archive.string() + " is refused: " + why);
}

std::string shown(const std::string& name) {
    constexpr std::size_t kNameShownMax = 100;
    return "\"" + util::escaped(name, kNameShownMax) + "\"";
}

/// The folder for the configuration files. It is removed again unless it is kept.
class ConfigurationFolder {
  public:
    explicit ConfigurationFolder(const fs::path& folder) : folder_(folder) {
        if (folder_.empty())
            return;
        std::error_code error;
        if (fs::exists(fs::symlink_status(folder_, error)))
            throw std::runtime_error(folder_.string() + " exists already");
        if (const std::string problem = util::makePrivateFolder(folder_); !problem.empty())
            throw std::runtime_error("the folder " + folder_.string() +
                                     " cannot be made: " + problem);
        isMade_ = true;
    }
    ~ConfigurationFolder() {
        std::error_code ignored;
        if (isMade_)
            fs::remove_all(folder_, ignored);
    }
    ConfigurationFolder(const ConfigurationFolder&) = delete;
    ConfigurationFolder& operator=(const ConfigurationFolder&) = delete;

    /// Where to write a file of the archive; empty: nowhere.
    fs::path placeFor(const std::string& name) const {
        return isMade_ ? folder_ / fs::path(name).filename() : fs::path();
    }
    void keep() { isMade_ = false; }

  private:
    const fs::path folder_;
    bool isMade_ = false;
};

Manifest readManifest(const fs::path& archive, ArchiveReader& reader) {
    const std::optional<ArchiveEntry> first = reader.next();
    if (!first || first->name != kManifestName || first->bytes > kManifestBytesMax)
        refuseArchive(archive, "it does not begin with a manifest");
    std::string text;
    reader.read([&text](std::string_view octets) { text += octets; });
    try {
        return parseManifest(text, kBackupKind);
    } catch (const std::runtime_error& failure) {
        refuseArchive(archive, failure.what());
    }
}

/// Unpacks the files that a manifest promises, and no others.
class Unpacking {
  public:
    Unpacking(const fs::path& archive, const StateLayout& layout, const Replacement& replacement,
              const ConfigurationFolder& configuration)
        : archive_(archive),
          layout_(layout),
          replacement_(replacement),
          configuration_(configuration) {}

    Manifest run() {
        ArchiveReader reader(archive_);
        Manifest manifest = readManifest(archive_, reader);
        for (const ManifestFile& each : manifest.files)
            expected_[each.name] = each;
        checkExpected(manifest);
        while (const std::optional<ArchiveEntry> entry = reader.next())
            unpack(*entry, reader);
        if (!expected_.empty())
            refuseArchive(archive_, "it lacks " + shown(expected_.begin()->first));
        for (const StateFile& each : databases_)
            requireSoundDatabase(replacement_.placeFor(each), each.applicationId);
        return manifest;
    }

  private:
    void checkExpected(const Manifest& manifest) const {
        std::vector<Replacement::Need> needs;
        for (const ManifestFile& each : manifest.files) {
            if (const std::optional<StateFile> file = layout_.find(each.name))
                needs.push_back({*file, each.bytes});
            else if (!isConfigurationName(each.name))
                refuseArchive(archive_, "it has a file of unknown name, " + shown(each.name));
            else if (each.bytes > kConfigurationBytesMax)
                refuseArchive(archive_, shown(each.name) + " in it is too large");
        }
        if (needs.empty())
            refuseArchive(archive_, "it has no state");
        replacement_.requireRoom(needs);
    }

    void unpack(const ArchiveEntry& entry, ArchiveReader& reader) {
        const auto found = expected_.find(entry.name);
        if (found == expected_.end())
            refuseArchive(archive_,
                          shown(entry.name) + " in it is not in its manifest, or is there twice");
        const ManifestFile wanted = found->second;
        expected_.erase(found);
        if (entry.bytes != wanted.bytes)
            refuseArchive(archive_, shown(entry.name) +
                                        " in it has another size than its "
                                        "manifest says");
        const std::optional<StateFile> file = layout_.find(entry.name);
        if (file && file->isDatabase())
            databases_.push_back(*file);
        if (write(file ? replacement_.placeFor(*file) : configuration_.placeFor(entry.name),
                  reader) != wanted.sha256)
            refuseArchive(archive_, shown(entry.name) + " in it was changed");
    }

    /// Write the content of the current entry to a file, if a file is given. Return its checksum.
    static std::string write(const fs::path& place, ArchiveReader& reader) {
        std::optional<NewFile> out;
        if (!place.empty())
            out.emplace(place);
        Checksum checksum;
        reader.read([&](std::string_view octets) {
            checksum.add(octets);
            if (out)
                out->write(octets);
        });
        if (out)
            out->sync();
        return checksum.end();
    }

    const fs::path& archive_;
    const StateLayout& layout_;
    const Replacement& replacement_;
    const ConfigurationFolder& configuration_;
    std::map<std::string, ManifestFile> expected_;  ///< not unpacked yet
    std::vector<StateFile> databases_;
};

}  // namespace

RestoreResult restoreState(const StateLayout& layout, const RestoreRequest& request) {
    const StoppedState stopped(layout);
    Replacement replacement(layout);
    ConfigurationFolder configuration(request.configurationFolder);
    RestoreResult result;
    result.manifest = Unpacking(request.archive, layout, replacement, configuration).run();
    replacement.swapIn();
    configuration.keep();
    if (request.keepPrevious)
        result.previous = replacement.previous();
    else
        replacement.forgetPrevious();
    return result;
}

void undoRestore(const StateLayout& layout) {
    const StoppedState stopped(layout);
    Replacement::undo(layout);
}

}  // namespace kelp::state
