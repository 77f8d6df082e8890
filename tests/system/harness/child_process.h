#pragma once

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "harness/eventually.h"
#include "support/tcp_peers.h"

namespace kelp::test {

/// The program to run, with its arguments and surroundings.
struct Launch {
    std::filesystem::path program;
    std::vector<std::string> arguments;
    std::map<std::string, std::string> environment;  ///< added to the test's environment
    std::filesystem::path output;  ///< file to which standard output and error are appended
    bool piped = false;            ///< standard input and output are pipes to the test instead
};

/// A process that a test starts and that cannot outlive the test. The destructor kills it together
/// with its process group. If the test dies, the system kills it.
class ChildProcess {
  public:
    /// Throws std::runtime_error if the program cannot be run.
    explicit ChildProcess(const Launch& launch);
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    void freeze() const;
    void thaw() const;
    /// Send SIGKILL and wait for the end.
    void kill();

    bool isRunning();
    /// Return the exit code, or 128 + the number of the signal that ended it; none if it still runs
    /// at the deadline.
    std::optional<int> waitExit(std::chrono::milliseconds deadline = kPatience);

    /// The pipes to standard input and from standard output.
    int input() const { return input_.fd(); }
    int output() const { return output_.fd(); }

  private:
    pid_t pid_ = -1;
    std::optional<int> exitCode_;
    Socket input_;
    Socket output_;
};

/// Run a program to its end and return its exit code. Its output goes to `launch.output`. Throws if
/// it does not end within the deadline.
int runToEnd(const Launch& launch, std::chrono::milliseconds deadline = kPatience);

/// Return the ids of all processes on this machine that were started with `name=value` in their
/// environment.
std::vector<pid_t> processesWith(const std::string& name, const std::string& value);

}  // namespace kelp::test
