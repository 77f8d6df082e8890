#pragma once

#include <filesystem>
#include <string>

namespace kelp::host {

/// What callers over TCP prove themselves by: random text in a file of mode 0600, new with every
/// start. Whoever can read the file may use the operator's interface.
class AccessToken {
  public:
    /// Writes the file, replacing what is there. Throws std::runtime_error with one sentence.
    explicit AccessToken(const std::filesystem::path& file);
    /// Removes it.
    ~AccessToken();
    AccessToken(const AccessToken&) = delete;
    AccessToken& operator=(const AccessToken&) = delete;

    /// Whether a request's header "Authorization" carries it. Takes the same time for every wrong
    /// token of its length.
    bool isIn(const std::string& authorization) const;

  private:
    const std::filesystem::path file_;
    std::string expected_;  ///< the whole header
};

}  // namespace kelp::host
