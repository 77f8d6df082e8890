#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/temporary_directory.h"

namespace kelp::test {

/// Records the calls on the manager interfaces of a test, in order: "Init A", "ExitThread A",
/// "Destroy A".
class CallLog {
  public:
    void add(const std::string& call) {
        const std::lock_guard guard(mutex_);
        calls_.push_back(call);
    }
    std::vector<std::string> calls() const {
        const std::lock_guard guard(mutex_);
        return calls_;
    }

  private:
    mutable std::mutex mutex_;
    std::vector<std::string> calls_;
};

/// A bundle's manager interface that logs its calls.
class RecordedInterface : public NS_CORBA::CorbaI {
  public:
    RecordedInterface(std::string name, long order, CallLog& log)
        : name_(std::move(name)), order_(order), log_(log) {}
    ~RecordedInterface() override = default;

    /// Runs in Init and provides its result.
    std::function<bool()> onInit = [] { return true; };
    std::function<void()> onExitThread = [] {};

    bool Init() override {
        log_.add("Init " + name_);
        return onInit();
    }
    void ExitThread() override {
        log_.add("ExitThread " + name_);
        onExitThread();
    }
    void Destroy() override { log_.add("Destroy " + name_); }
    long Order() override { return order_; }
    const char* Name() override { return name_.c_str(); }

  private:
    const std::string name_;
    const long order_;
    CallLog& log_;
};

/// The agent's configuration: its address, its naming service and its user database.
inline std::string agentConfiguration(const TemporaryDirectory& folder, std::uint16_t namingPort) {
    return "[orb]\nlisten = \"127.0.0.1:0\"\n[naming]\nembedded = false\nport = " +
           std::to_string(namingPort) + "\n[security]\ndatabase = \"" +
           (folder.path() / "users.db").string() + "\"\nhash_memory_kib = 8\nhash_passes = 1\n";
}

}  // namespace kelp::test
