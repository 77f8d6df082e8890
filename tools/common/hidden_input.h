#pragma once

#include <kelp/util/secret.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::tools {

using util::Secret;

/// A signal that would have ended the program arrived while it was waiting for input. what() is
/// "interrupted".
class InputInterrupted : public std::runtime_error {
  public:
    explicit InputInterrupted(int signal) : std::runtime_error("interrupted"), signal_(signal) {}
    int signal() const { return signal_; }

  private:
    const int signal_;
};

/// Read one line for each prompt from the controlling terminal, without echo. The terminal's
/// settings are restored however the call ends. The signals must not be blocked in the calling
/// thread, and no other thread may accept them. Throws InputInterrupted. Throws std::runtime_error
/// with one line on any other failure, such as when there is no terminal.
std::vector<Secret> askHidden(const std::vector<std::string>& prompts);

/// Read the first line of a file, without its line end. Set `othersCanRead` to true if the file's
/// mode is too open for a password, otherwise to false. Throws std::runtime_error with one line.
Secret firstLineOf(const std::string& file, bool& othersCanRead);

}  // namespace kelp::tools
