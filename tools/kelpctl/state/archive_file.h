#pragma once

#include <kelp/util/descriptor.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "state/manifest.h"

namespace kelp::state {

/// Whether an archive may take the place of a file.
enum class Existing { IsRefused, IsReplaced };

/// Builds an archive from files that are first collected in a folder next to it. The archive gets
/// its name once it is complete and durable. Only one process at a time writes an archive of a
/// name. What a process that was killed has left is removed by the next one. Only the user of this
/// process can read the folder and the archive. All operations throw std::runtime_error with one
/// sentence.
class ArchiveFile {
  public:
    ArchiveFile(const std::filesystem::path& file, Existing existing);
    /// Removes the folder.
    ~ArchiveFile();
    ArchiveFile(const ArchiveFile&) = delete;
    ArchiveFile& operator=(const ArchiveFile&) = delete;

    /// Where to put the content of a file before add().
    std::filesystem::path placeFor(const std::string& name) const;
    /// Add the file at placeFor(name).
    void add(const std::string& name, const std::filesystem::path& origin);
    /// Add a file with this content.
    void addText(const std::string& name, const std::string& content);
    /// Note what could not be included.
    void leaveOut(const std::string& sentence) { manifest_.leftOut.push_back(sentence); }

    /// Write the archive, and return its manifest.
    Manifest publish(const std::string& kind);

  private:
    void claimFolder();
    void requirePlace() const;

    const std::filesystem::path file_;
    const Existing existing_;
    std::filesystem::path folder_;
    util::Descriptor claim_;  ///< on a file in the folder
    Manifest manifest_;
};

}  // namespace kelp::state
