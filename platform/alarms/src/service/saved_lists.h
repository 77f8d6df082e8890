#pragma once

#include <kelp/alarms/list_state.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace kelp::alarms {

/// The saved lists in a folder: files with the whole list as it was after one record. Used by one
/// thread at a time. A file is complete or absent: it is written under another name and renamed
/// when it is durable. Every file has a checksum.
class SavedLists {
  public:
    /// How many are kept: the older one is for the case that the newer one is damaged.
    static constexpr std::size_t kKept = 2;

    explicit SavedLists(std::filesystem::path folder) : folder_(std::move(folder)) {}

    /// Their positions, the newest first. Empty when there is no folder.
    std::vector<Position> positions() const;
    /// Read one. Throws std::runtime_error, with a sentence that names the file, when it is damaged
    /// or cannot be read.
    ListState load(Position position) const;
    /// Write one, and remove those that are not kept. Throws std::runtime_error with a sentence
    /// that names the file.
    void save(std::shared_ptr<const ListState> state) const;

  private:
    std::filesystem::path fileOf(Position position) const;

    const std::filesystem::path folder_;
};

}  // namespace kelp::alarms
