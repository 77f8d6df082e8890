#pragma once

#include <kelp/util/export.h>

#include <cstddef>
#include <string>

namespace kelp::util {

/// Overwrite the whole buffer of a text with zeros, including the part after its end, and empty the
/// text.
KELP_EXPORT void wipe(std::string& text) noexcept;

/// A password in memory, overwritten when it is destroyed. It leaves no copies behind, neither when
/// it grows nor when it is moved.
class KELP_EXPORT Secret {
  public:
    /// Memory in bytes that is reserved for the text. Far more than any password that a password
    /// database accepts. Also limits reading from a file without line ends.
    static constexpr std::size_t kBytesMax = 4096;

    Secret() = default;
    explicit Secret(const char* text);
    /// Takes the text over and wipes `text`.
    explicit Secret(std::string& text);
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&&) = delete;
    ~Secret();

    /// Valid as long as this object. The caller has to wipe every copy of it.
    const std::string& text() const { return text_; }
    void append(char character);

  private:
    void reserve();

    std::string text_;
};

}  // namespace kelp::util
