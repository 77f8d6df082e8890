#pragma once

#include <kelp/util/descriptor.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace kelp::state {

/// Writes a new file that only its owner can use (mode 0600). A file that root makes gets the owner
/// of its folder. Throws std::runtime_error with one sentence that names the file.
class NewFile {
  public:
    /// The file must not exist.
    explicit NewFile(std::filesystem::path file);

    void write(std::string_view octets);
    /// Make the content durable.
    void sync();
    int descriptor() const { return out_.get(); }

  private:
    [[noreturn]] void fail() const;

    const std::filesystem::path file_;
    util::Descriptor out_;
};

enum class CopyResult { Done, IsMissing };

/// Copy a regular file to a new one. A symbolic link is not followed. Throws std::runtime_error
/// with one sentence.
CopyResult copyFile(const std::filesystem::path& from, const std::filesystem::path& to);

/// Size and SHA-256 of a file.
struct Measure {
    std::uint64_t bytes = 0;
    std::string sha256;
};
Measure measureOf(const std::filesystem::path& file);

/// Make the entries of a folder durable. Throws std::runtime_error with one sentence.
void syncFolder(const std::filesystem::path& folder);

}  // namespace kelp::state
