#pragma once

#include <kelp/util/secret.h>

#include <stdexcept>
#include <string>
#include <vector>

namespace kelp::tools {

using util::Secret;

/// A signal that would have ended the program came while it waited for input. what() is
/// "interrupted".
class InputInterrupted : public std::runtime_error {
  public:
    explicit InputInterrupted(int signal) : std::runtime_error("interrupted"), signal_(signal) {}
    int signal() const { return signal_; }

  private:
    const int signal_;
};

/// What is typed at the controlling terminal without echo, one line a prompt. However it ends, the
/// terminal is as before. The signals must not be taken off the calling thread, and no other thread
/// may take them. Throws InputInterrupted, or std::runtime_error with one line, also when there is
/// no terminal.
std::vector<Secret> askHidden(const std::vector<std::string>& prompts);

/// The first line of a file, without its line end. `othersCanRead` says whether the file's mode is
/// too open for a password. Throws std::runtime_error with one line.
Secret firstLineOf(const std::string& file, bool& othersCanRead);

}  // namespace kelp::tools
