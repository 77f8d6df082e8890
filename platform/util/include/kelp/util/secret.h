#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string>

namespace kelp::util {

/// Overwrites a text with zeros, what its buffer holds behind the end included, and empties it.
KELP_EXPORT void wipe(std::string& text) noexcept;

/// A password in memory, overwritten at the end of its life. It never leaves a copy behind: neither
/// by growing nor by being moved.
class KELP_EXPORT Secret {
  public:
    /// Far above what any password database takes; ends the reading of a file without lines.
    static constexpr std::size_t kBytesMax = 4096;

    Secret() = default;
    explicit Secret(const char* text);
    /// Wipes `text`.
    explicit Secret(std::string& text);
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&&) = delete;
    ~Secret();

    /// Valid as long as this is; whoever copies it has a copy to wipe.
    const std::string& text() const { return text_; }
    void append(char character);

  private:
    void reserve();

    std::string text_;
};

}  // namespace kelp::util
