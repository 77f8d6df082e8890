#include "harness/host.h"

#include <gtest/gtest.h>
#include <signal.h>

#include <iostream>
#include <stdexcept>

#include "harness/name_server.h"

namespace kelp::test {

namespace {

constexpr const char* kReadyLine = "===[CorbaAgentFacade::Init] Corba Agent is running! ===";
/// Environment variable that marks the host and its children.
constexpr const char* kMark = "KELP_TEST_HOST";

constexpr const char* kAgentBundle = "mx_kelpcorba_env";
constexpr const char* kManagerBundles[] = {"kelp_ems", "kelp_managedelement", "kelp_equipment",
                                           "kelp_multilayersubnetwork", "kelp_unimplemented"};

}  // namespace

std::string quoted(const std::string& text) {
    return "'" + text + "'";
}

Host::Host() : log_(scratch_ / "kelpd.log") {
    set("orb", "listen", quoted(address()));
    set("naming", "port", ownNamingPort_.port());
    set("session", "ping_interval_s", 1);
    set("session", "call_timeout_s", 1);
    set("security", "hash_memory_kib", 8);
    set("security", "hash_passes", 1);
    set("trace", "level", 3);
    setEnvironment("XDG_STATE_HOME", (scratch_ / "state").string());
    writeFile(passwordFile(), std::string(kPassword) + "\n");
}

Host::~Host() {
    process_.reset();
    if (::testing::Test::HasFailure())
        std::cerr << "---- end of kelpd's log ----\n" << log_.tail(120) << "\n---- end ----\n";
}

Host& Host::set(const std::string& table, const std::string& key, const std::string& literal) {
    settings_[table][key] = literal;
    return *this;
}

Host& Host::set(const std::string& table, const std::string& key, int number) {
    return set(table, key, std::to_string(number));
}

Host& Host::useNamingService(std::uint16_t port) {
    otherNamingPort_ = port;
    set("naming", "port", port);
    return set("naming", "embedded", "false");
}

Host& Host::addBundle(const std::string& name) {
    ownBundles_.push_back(name);
    return *this;
}

Host& Host::withoutManagers() {
    managers_ = false;
    return *this;
}

Host& Host::setEnvironment(const std::string& name, const std::string& value) {
    environment_[name] = value;
    return *this;
}

std::uint16_t Host::namingPort() const {
    return otherNamingPort_.value_or(ownNamingPort_.port());
}

std::string Host::factoryReference() const {
    return "corbaloc:iiop:1.2@" + address() + "/%ffV4800%00EMSSessionFactory";
}

/// Return one folder with all bundles to load, because the configuration names only one.
std::filesystem::path Host::bundleFolder() const {
    const std::filesystem::path folder = scratch_ / "bundles";
    std::filesystem::create_directories(folder);
    for (const std::filesystem::path built : {BUNDLE_DIR, TEST_BUNDLE_DIR}) {
        for (const auto& entry : std::filesystem::directory_iterator(built)) {
            std::error_code exists;
            std::filesystem::create_symlink(entry.path(), folder / entry.path().filename(), exists);
        }
    }
    return folder;
}

void Host::writeConfiguration() const {
    auto settings = settings_;
    std::string names;
    for (const std::string& name : ownBundles_)
        names += quoted(name) + ", ";
    if (managers_) {
        for (const char* const name : kManagerBundles)
            names += quoted(name) + ", ";
    }
    settings["bundles"].emplace("load", "[" + names + quoted(kAgentBundle) + "]");
    settings["bundles"].emplace("dir", quoted(bundleFolder().string()));

    std::string text;
    for (const auto& [table, keys] : settings) {
        text += "[" + table + "]\n";
        for (const auto& [key, literal] : keys)
            text += key + " = " + literal + "\n";
    }
    writeFile(configFile(), text);
}

Launch Host::launch(const std::filesystem::path& program,
                    std::vector<std::string> arguments) const {
    return {program, std::move(arguments), environment_, log_.file(), false};
}

void Host::addUser(const std::string& name) {
    writeConfiguration();
    user({"add", name, "--password-file", passwordFile().string()});
}

void Host::user(const std::vector<std::string>& arguments) const {
    std::vector<std::string> all = {"--config", configFile().string(), "user"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    if (runToEnd(launch(KELPCTL, all)) != 0)
        throw std::runtime_error("kelpctl user " + arguments.front() + " failed");
}

void Host::spawn() {
    writeConfiguration();
    readyLinesBefore_ = log_.count(kReadyLine);
    Launch marked = launch(KELPD, {"--config", configFile().string()});
    marked.environment[kMark] = scratch_.path().string();
    process_.emplace(marked);
}

void Host::start() {
    spawn();
    const bool ready = eventually(
        [this] { return log_.count(kReadyLine) > readyLinesBefore_ || !process_->isRunning(); });
    if (!ready || !process_->isRunning())
        throw std::runtime_error("kelpd does not start");
}

int Host::startToFail() {
    spawn();
    return waitExit();
}

void Host::reconfigure() {
    writeConfiguration();
    process_->signal(SIGHUP);
}

void Host::terminate() {
    process_->signal(SIGTERM);
}

int Host::waitExit(std::chrono::milliseconds deadline) {
    const std::optional<int> exitCode = process_->waitExit(deadline);
    if (!exitCode)
        throw std::runtime_error("kelpd does not end");
    return *exitCode;
}

int Host::stop(std::chrono::milliseconds deadline) {
    terminate();
    return waitExit(deadline);
}

std::vector<pid_t> Host::processesLeft() const {
    return processesWith(kMark, scratch_.path().string());
}

}  // namespace kelp::test
