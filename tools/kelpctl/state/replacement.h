#pragma once

#include <cstdint>
#include <filesystem>
#include <vector>

#include "state/layout.h"

namespace kelp::state {

/// Replaces the whole state by other files. The new files are collected in a folder "restore.new"
/// next to those that they replace, so that each takes its place by a rename. The previous files
/// are kept in "restore.previous" until the replacement is complete. A mark in the state directory
/// (kelp/admin/restore_marks.h) says how far it is, so that undo() can repair the state after a
/// power cut at any moment. All operations throw std::runtime_error with one sentence. Only one at
/// a time may exist for a state, which StoppedState ensures.
class Replacement {
  public:
    /// Removes new files that a process has left that was killed. Refuses when an
    /// earlier replacement was interrupted, or has kept the previous files.
    explicit Replacement(const StateLayout& layout);
    /// Removes new files that have not taken their places.
    ~Replacement();
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;

    /// Where to write the new content of a file. Makes the folder.
    std::filesystem::path placeFor(const StateFile& file) const;
    /// Refuse if the disks have no room for files of these sizes.
    struct Need {
        StateFile file;
        std::uint64_t bytes = 0;
    };
    void requireRoom(const std::vector<Need>& needs) const;

    /// Put the new files in the places of the previous ones. After a failure all previous files are
    /// in their places again.
    void swapIn();
    /// Delete the previous files.
    void forgetPrevious();
    /// The folders with the previous files.
    std::vector<std::filesystem::path> previous() const;

    /// Put the previous files of an earlier replacement back, whether it was interrupted or
    /// completed. Deletes the present ones.
    static void undo(const StateLayout& layout);

  private:
    const StateLayout& layout_;
    const std::vector<std::filesystem::path> folders_;
};

}  // namespace kelp::state
