#pragma once

#include <filesystem>
#include <memory>
#include <string>

namespace kelp::state {

/// Writes an archive: tar, compressed with zstd. Not thread-safe. All operations throw
/// std::runtime_error with one sentence.
class ArchiveWriter {
  public:
    /// `descriptor` stays open and stays the caller's.
    explicit ArchiveWriter(int descriptor);
    ~ArchiveWriter();
    ArchiveWriter(const ArchiveWriter&) = delete;
    ArchiveWriter& operator=(const ArchiveWriter&) = delete;

    /// Add a file with this content. Only its owner can read it once it is unpacked.
    void addText(const std::string& name, const std::string& content);
    /// Add a file of exactly this size.
    void addFile(const std::string& name, const std::filesystem::path& file, std::uint64_t bytes);
    /// Write the end of the archive. Nothing can be added afterwards.
    void close();

  private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kelp::state
