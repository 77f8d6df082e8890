#pragma once

#include <cstddef>
#include <string>

namespace kelp::tools {

/// A password in memory, overwritten at the end of its life.
class Secret {
  public:
    /// Far above what any password database takes; ends the reading of a file without lines.
    static constexpr std::size_t kBytesMax = 4096;

    Secret() = default;
    explicit Secret(const char* text);
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&&) = delete;
    ~Secret();

    const std::string& text() const { return text_; }
    void append(char character);

  private:
    std::string text_;
};

}  // namespace kelp::tools
