#pragma once

#include <gmock/gmock.h>
#include <kelp/traps/receiver.h>

#include <condition_variable>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "harness/child_process.h"
#include "harness/eventually.h"
#include "support/temporary_directory.h"

namespace kelp::test {

/// Keeps what a receiver submits, in the place of the alarm list.
class Store {
  public:
    std::vector<bool> submit(const std::vector<traps::Submission>& all) {
        std::unique_lock lock(mutex_);
        ++calls_;
        changed_.wait(lock, [this] { return !isHeld_; });
        for (const traps::Submission& each : all)
            seenKeys_.push_back(each.key);
        if (refusals_ > 0) {
            --refusals_;
            throw std::runtime_error("busy");
        }
        stored_.insert(stored_.end(), all.begin(), all.end());
        return std::vector<bool>(all.size(), true);
    }

    /// Let submissions wait until release().
    void hold() {
        const std::lock_guard lock(mutex_);
        isHeld_ = true;
    }
    void release() {
        const std::lock_guard lock(mutex_);
        isHeld_ = false;
        changed_.notify_all();
    }
    /// Refuse the next submissions.
    void refuse(int count) {
        const std::lock_guard lock(mutex_);
        refusals_ = count;
    }

    std::vector<traps::Submission> stored() const {
        const std::lock_guard lock(mutex_);
        return stored_;
    }
    std::vector<std::string> seenKeys() const {
        const std::lock_guard lock(mutex_);
        return seenKeys_;
    }
    int calls() const {
        const std::lock_guard lock(mutex_);
        return calls_;
    }

  private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    bool isHeld_ = false;
    int refusals_ = 0;
    int calls_ = 0;
    std::vector<traps::Submission> stored_;
    std::vector<std::string> seenKeys_;
};

/// A receiver at a free port with the shipped mapping, the community "public" and the user "ne17",
/// and the real snmptrap and snmpinform.
class SnmpTest : public testing::Test {
  protected:
    static constexpr const char* kEngine = "80001f880574686569727331";

    SnmpTest() {
        settings_.listen = {"127.0.0.1:0"};
        settings_.sources = {"127.0.0.0/8"};
        settings_.ems = "Kelp/EMS";
        settings_.engine = traps::startEngine(folder_ / "engine");
    }
    ~SnmpTest() override {
        store_.release();
        receiver_.reset();
    }

    void start() {
        std::vector<traps::MappingProblem> problems;
        settings_.mapping = traps::Mapping::read(
            {std::filesystem::path(SHIPPED_MAPPINGS) / "standard.toml"}, problems);
        ASSERT_THAT(problems, testing::IsEmpty());
        settings_.communities.push_back({util::Secret("public"), true, {}});
        settings_.users.push_back({"ne17",
                                   traps::Authentication::Sha256,
                                   util::Secret("authentication"),
                                   true,
                                   util::Secret("private password"),
                                   {traps::parseEngineId(kEngine).value()}});
        receiver_.emplace(std::move(settings_), [this](const std::vector<traps::Submission>& all) {
            return store_.submit(all);
        });
    }

    std::uint16_t port() const { return receiver_->ports().at(0); }
    std::string target() const { return "127.0.0.1:" + std::to_string(port()); }
    std::uint64_t countOf(const std::string& name) const { return receiver_->counts().at(name); }
    bool waitForCount(const std::string& name, std::uint64_t count) const {
        return eventually([&] { return countOf(name) >= count; });
    }
    bool waitForStored(std::size_t count) const {
        return eventually([&] { return store_.stored().size() >= count; });
    }

    /// A run of snmptrap or snmpinform with the trap's OID and variable bindings at the end.
    Launch tool(const std::string& program, const std::vector<std::string>& arguments,
                const std::vector<std::string>& content) const {
        return tool(program, arguments, target(), content);
    }
    Launch tool(const std::string& program, std::vector<std::string> arguments,
                const std::string& receiver, const std::vector<std::string>& content) const {
        arguments.insert(arguments.end(), {receiver, ""});
        arguments.insert(arguments.end(), content.begin(), content.end());
        const std::string scratch = folder_.path().string();
        return {program,
                std::move(arguments),
                {{"MIBS", ""}, {"SNMPCONFPATH", scratch}, {"SNMP_PERSISTENT_DIR", scratch}},
                folder_ / "output"};
    }
    static std::vector<std::string> linkDown() {
        return {"1.3.6.1.6.3.1.1.5.3", "1.3.6.1.2.1.2.2.1.1.4", "i", "4"};
    }
    static std::vector<std::string> version2c(const std::string& community = "public") {
        return {"-v", "2c", "-c", community, "-t", "1", "-r", "0"};
    }
    static std::vector<std::string> version3(const std::string& user = "ne17",
                                             const std::string& password = "authentication",
                                             const std::string& privacy = "private password") {
        return {"-v",     "3",  "-l",  "authPriv", "-u",    user, "-a", "SHA-256", "-A",
                password, "-x", "AES", "-X",       privacy, "-t", "1",  "-r",      "0"};
    }

    const TemporaryDirectory folder_;
    Store store_;
    traps::ReceiverSettings settings_;
    std::optional<traps::Receiver> receiver_;
};

}  // namespace kelp::test
