#pragma once

#include <kelp/corbabase/manager_interface.h>

#include <mtnm/common.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "support/temporary_directory.h"

namespace kelp::test {

/// What the manager interfaces of a test were called for, in order: "Init A", "ExitThread A", "Destroy A".
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

    /// What Init does and answers.
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

/// A manager without operations.
class EmptyManager : public virtual POA_common::Common_I {
  public:
    void setNativeEMSName(const globaldefs::NamingAttributes_T&, const char*) override { refuse(); }
    void setUserLabel(const globaldefs::NamingAttributes_T&, const char*, CORBA::Boolean) override {
        refuse();
    }
    void setOwner(const globaldefs::NamingAttributes_T&, const char*) override { refuse(); }
    void getCapabilities(common::CapabilityList_T_out) override { refuse(); }
    void setAdditionalInfo(const globaldefs::NamingAttributes_T&, globaldefs::NVSList_T&) override {
        refuse();
    }

  private:
    static void refuse() { throw CORBA::NO_IMPLEMENT(); }
};

class EmptyManagerFactory : public NS_CORBA::NorthMgrFactory {
  public:
    ~EmptyManagerFactory() override = default;
    POA_common::Common_I* CreateServant() override { return new EmptyManager; }
};

/// Where the agent listens, finds the naming service and keeps its users.
inline std::string agentConfiguration(const TemporaryDirectory& folder, std::uint16_t namingPort) {
    return "[orb]\nlisten = \"127.0.0.1:0\"\n[naming]\nembedded = false\nport = " +
           std::to_string(namingPort) + "\n[security]\ndatabase = \"" +
           (folder.path() / "users.db").string() + "\"\nhash_memory_kib = 8\nhash_passes = 1\n";
}

}  // namespace kelp::test
