#pragma once

#include <filesystem>
#include <string>

namespace kelp::host {

/// The token that callers over TCP authenticate with: random text in a file of mode 0600, new at
/// every start. Everyone who can read the file may use the operator's interface.
class AccessToken {
  public:
    /// Write the file in place of any existing one. Throws std::runtime_error with a one-sentence
    /// text.
    explicit AccessToken(const std::filesystem::path& file);
    /// Remove the file.
    ~AccessToken();
    AccessToken(const AccessToken&) = delete;
    AccessToken& operator=(const AccessToken&) = delete;

    /// Whether a request's header "Authorization" contains the token. The check takes the same time
    /// for every wrong token of the right length, so that its duration does not help to guess the
    /// token.
    bool isIn(const std::string& authorization) const;

  private:
    const std::filesystem::path file_;
    std::string expected_;  ///< the complete header value
};

}  // namespace kelp::host
