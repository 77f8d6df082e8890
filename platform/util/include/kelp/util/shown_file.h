#pragma once

#include <kelp/util/export.h>

#include <filesystem>
#include <string>

namespace kelp::util {

/// A small file that shows other programs a text for a time. Not thread safe.
class KELP_EXPORT ShownFile {
  public:
    ShownFile() = default;
    /// Removes it.
    ~ShownFile();
    ShownFile(const ShownFile&) = delete;
    ShownFile& operator=(const ShownFile&) = delete;

    /// Puts the text in place of whatever the path names, so that readers see the former file or
    /// the whole new one. All may read it (mode 0644, whatever the umask). A symbolic link is
    /// replaced, not followed. Returns what went wrong in one sentence; empty: nothing.
    [[nodiscard]] std::string show(const std::filesystem::path& file, const std::string& text);
    /// Removes what show() has put there, unless the path names another file by now.
    void remove() noexcept;

  private:
    std::filesystem::path file_;  ///< empty: nothing is shown
    std::string text_;
};

}  // namespace kelp::util
