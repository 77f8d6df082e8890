#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace kelp::state {

/// A file in an archive.
struct ArchiveEntry {
    std::string name;
    std::uint64_t bytes = 0;
};

/// Reads an archive of ArchiveWriter file by file, without unpacking it anywhere. Whoever made the
/// archive may be hostile: links, devices, folders, sparse files, and names that lead elsewhere are
/// refused. Sizes are those that the archive claims; the caller bounds them. Not thread-safe. All
/// operations throw std::runtime_error with one sentence that names the archive.
class ArchiveReader {
  public:
    /// Refuses a file that somebody else can write, and a symbolic link.
    explicit ArchiveReader(const std::filesystem::path& file);
    ~ArchiveReader();
    ArchiveReader(const ArchiveReader&) = delete;
    ArchiveReader& operator=(const ArchiveReader&) = delete;

    /// The next file; none at the end of the archive.
    std::optional<ArchiveEntry> next();
    /// Pass the content of that file to `sink` in pieces. Together they have the size of the entry.
    void read(const std::function<void(std::string_view)>& sink);

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::state
