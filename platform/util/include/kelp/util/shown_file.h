#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::util {

/// A small file that publishes a text to other programs as long as this object exists. Not
/// thread-safe.
class KELP_EXPORT ShownFile {
  public:
    ShownFile() = default;
    /// Calls remove().
    ~ShownFile();
    ShownFile(const ShownFile&) = delete;
    ShownFile& operator=(const ShownFile&) = delete;

    /// Write the text to a new file and rename it to `file`. Readers see either the previous file
    /// or the whole new one. Everybody may read it (mode 0644, whatever the umask). A symbolic link
    /// is replaced, not followed. Returns what went wrong as one sentence; empty: nothing.
    [[nodiscard]] std::string show(const std::filesystem::path& file, const std::string& text);
    /// Delete the file that show() wrote. Does nothing if its content has changed.
    void remove() noexcept;

  private:
    std::filesystem::path file_;  ///< empty: nothing is shown
    std::string text_;
};

}  // namespace kelp::util
