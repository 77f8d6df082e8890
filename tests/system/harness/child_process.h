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

/// What to run, and with what.
struct Launch {
    std::filesystem::path program;
    std::vector<std::string> arguments;
    std::map<std::string, std::string> environment;  ///< added to the test's own
    std::filesystem::path output;  ///< standard output and error are appended to this file
    bool piped = false;            ///< standard input and output are pipes of ours instead
};

/// A process that a test starts and that cannot outlive it: it is killed with its process group by
/// the destructor, and by the system when the test dies.
class ChildProcess {
  public:
    /// Throws std::runtime_error when the program cannot be run.
    explicit ChildProcess(const Launch& launch);
    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&& other) noexcept;

    pid_t pid() const { return pid_; }
    void signal(int number) const;
    void freeze() const;
    void thaw() const;
    /// SIGKILL, and waits for the end.
    void kill();

    bool isRunning();
    /// The exit code, or 128 + the signal that ended it; none when it still runs at the deadline.
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

/// Runs a program to its end; throws when that does not come. Gives its exit code and, in
/// `launch.output`, what it wrote.
int runToEnd(const Launch& launch, std::chrono::milliseconds deadline = kPatience);

/// Ids of all processes of this machine that run with `name=value` in the environment they were
/// started with.
std::vector<pid_t> processesWith(const std::string& name, const std::string& value);

}  // namespace kelp::test
