#pragma once

#include <string>

namespace kelp::ctl {

/// A password in memory, overwritten at the end of its life.
class Secret {
  public:
    Secret() = default;
    Secret(Secret&& other) noexcept;
    Secret& operator=(Secret&&) = delete;
    ~Secret();

    const std::string& text() const { return text_; }
    void append(char character);

  private:
    std::string text_;
};

/// The first line of a file, or, for an empty name, what is typed at the terminal twice without echo. Never
/// empty. Throws std::runtime_error with one line.
Secret readPassword(const std::string& file);

}  // namespace kelp::ctl
