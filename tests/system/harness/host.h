#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "harness/child_process.h"
#include "harness/log_file.h"
#include "harness/port_lease.h"
#include "harness/scratch_dir.h"

namespace kelp::test {

/// A real kelpd from the build tree, with a separate state directory, ports and users. Configure it
/// with set() and the functions after it before start(). The defaults suit tests: short intervals,
/// the cheapest password hash, the highest trace level.
class Host {
  public:
    static constexpr const char* kPassword = "open sesame 7";

    Host();
    /// Kill the remaining processes. If the test has failed, show the end of the log.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Set a key of the configuration file. The value is a TOML literal.
    Host& set(const std::string& table, const std::string& key, const std::string& literal);
    Host& set(const std::string& table, const std::string& key, int number);
    /// Use the naming service at this port instead of the embedded one.
    Host& useNamingService(std::uint16_t port);
    /// Load one of the test bundles, before the others.
    Host& addBundle(const std::string& name);
    Host& withoutManagers();
    Host& setEnvironment(const std::string& name, const std::string& value);

    /// Create a user with kelpctl. The password is kPassword.
    void addUser(const std::string& name);
    /// Run `kelpctl user ARGUMENTS` on this host's users. Throws if it fails.
    void user(const std::vector<std::string>& arguments) const;

    /// Start the host, for the first time or again after its end. Wait until it accepts log-ins.
    void start();
    /// Start a host that is expected to fail. Return its exit code.
    int startToFail();

    /// Write the settings that set() has changed, and send SIGHUP so that the host reads its
    /// configuration again.
    void reconfigure();
    /// Send SIGTERM to stop the host.
    void terminate();
    /// Return the exit code. Throws if the host does not end within the deadline.
    int waitExit(std::chrono::milliseconds deadline = kPatience);
    /// Call terminate() and waitExit(). The host must stop within the deadline. Return the exit
    /// code.
    int stop(std::chrono::milliseconds deadline = kPatience);

    ChildProcess& process() { return *process_; }
    LogFile& log() { return log_; }
    std::uint16_t port() const { return port_.port(); }
    std::uint16_t namingPort() const;
    std::string address() const { return port_.hostAndPort(); }
    /// The session factory under its well-known persistent key. It needs no naming service.
    std::string factoryReference() const;
    std::filesystem::path scratch(const std::string& name) const { return scratch_ / name; }
    std::filesystem::path configFile() const { return scratch_ / "kelp.toml"; }
    std::filesystem::path passwordFile() const { return scratch_ / "password"; }

    /// Return the processes of this host that still run, including its children.
    std::vector<pid_t> processesLeft() const;

    /// Describe how to run another program with this host's environment and log.
    Launch launch(const std::filesystem::path& program, std::vector<std::string> arguments) const;

  private:
    void writeConfiguration() const;
    std::filesystem::path bundleFolder() const;
    void spawn();

    ScratchDir scratch_;
    PortLease port_;
    PortLease ownNamingPort_;
    std::optional<std::uint16_t> otherNamingPort_;
    std::map<std::string, std::map<std::string, std::string>> settings_;
    std::vector<std::string> ownBundles_;
    bool managers_ = true;
    std::map<std::string, std::string> environment_;
    LogFile log_;
    std::optional<ChildProcess> process_;
    std::size_t readyLinesBefore_ = 0;
};

/// Return a text as a TOML literal.
std::string quoted(const std::string& text);

}  // namespace kelp::test
