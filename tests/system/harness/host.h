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

/// A real kelpd of the build tree, with a state directory, ports and users of its own. Configured
/// by set() and its like before start(). The defaults suit tests: short intervals, the cheapest
/// password hash, the whole trace.
class Host {
  public:
    static constexpr const char* kPassword = "open sesame 7";

    Host();
    /// Ends what is left; shows the end of the log when the test has failed.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// A key of the configuration file; the value is a TOML literal.
    Host& set(const std::string& table, const std::string& key, const std::string& literal);
    Host& set(const std::string& table, const std::string& key, int number);
    /// Uses the naming service at this port instead of an embedded one.
    Host& useNamingService(std::uint16_t port);
    /// Loads one of the tests' own bundles, before the others.
    Host& addBundle(const std::string& name);
    Host& withoutManagers();
    Host& setEnvironment(const std::string& name, const std::string& value);

    /// Makes a user by kelpctl; the password is kPassword.
    void addUser(const std::string& name);
    /// Runs `kelpctl user ARGUMENTS` on this host's users; throws when it fails.
    void user(const std::vector<std::string>& arguments) const;

    /// Starts the host, for the first time or again after its end, and waits until it takes
    /// log-ins.
    void start();
    /// Starts it to see it fail: its exit code.
    int startToFail();

    /// Writes what set() has changed and tells the host to read its configuration again (SIGHUP).
    void reconfigure();
    /// Tells the host to stop (SIGTERM).
    void terminate();
    /// Its exit code; throws when it does not end within the deadline.
    int waitExit(std::chrono::milliseconds deadline = kPatience);
    /// Both in one: how long the stop took is bounded by the deadline.
    int stop(std::chrono::milliseconds deadline = kPatience);

    ChildProcess& process() { return *process_; }
    LogFile& log() { return log_; }
    std::uint16_t port() const { return port_.port(); }
    std::uint16_t namingPort() const;
    std::string address() const { return port_.hostAndPort(); }
    /// The session factory by its well-known persistent key; it needs no naming service.
    std::string factoryReference() const;
    std::filesystem::path scratch(const std::string& name) const { return scratch_ / name; }
    std::filesystem::path configFile() const { return scratch_ / "kelp.toml"; }
    std::filesystem::path passwordFile() const { return scratch_ / "password"; }

    /// Whatever still runs of this host, children included.
    std::vector<pid_t> processesLeft() const;

    /// How to run another program in this host's surroundings; its output joins the host's log.
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

/// A text as a TOML literal.
std::string quoted(const std::string& text);

}  // namespace kelp::test
