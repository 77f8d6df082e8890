// A bundle with manager interfaces that record how the agent drives them. KELP_TEST_MANAGERS lists
// them in the order of entry, "name:rank:ok" or "name:rank:fail", separated by commas.
// KELP_TEST_RECORD names the file to which each call adds a line.

#include <ace/svc_export.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/manager_interface.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace kelp::test {

namespace {

std::string setting(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

}  // namespace

class RecordingManager final : public NS_CORBA::CorbaI {
  public:
    RecordingManager(std::string name, long rank, bool starts)
        : name_(std::move(name)), rank_(rank), starts_(starts) {}
    ~RecordingManager() override = default;

    bool Init() override {
        record("init");
        return starts_;
    }
    void ExitThread() override { record("exit"); }
    void Destroy() override { record("destroy"); }
    long Order() override { return rank_; }
    const char* Name() override { return name_.c_str(); }

  private:
    void record(const std::string& call) const {
        std::ofstream(setting("KELP_TEST_RECORD"), std::ios::app) << call << " " << name_ << "\n";
    }

    const std::string name_;
    const long rank_;
    const bool starts_;
};

class RecordingManagers final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    RecordingManagers() : ServiceObjectBase("recording_managers_bundle", "recording_managers") {}

    int init(int, char*[]) override {
        std::istringstream list(setting("KELP_TEST_MANAGERS"));
        for (std::string entry; std::getline(list, entry, ',');) {
            std::istringstream parts(entry);
            std::string name;
            std::string rank;
            std::string outcome;
            std::getline(parts, name, ':');
            std::getline(parts, rank, ':');
            std::getline(parts, outcome);
            managers_.push_back(
                std::make_unique<RecordingManager>(name, std::stol(rank), outcome == "ok"));
        }
        for (const auto& manager : managers_)
            NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterManagerInterface(manager.get());
        return 0;
    }

    void Shutdown() override {
        for (const auto& manager : managers_)
            NS_CORBA::CorbaBaseAgentConfig::Instance()->LeaveManagerInterface(manager.get());
    }

    int fini() override { return 0; }

  private:
    std::vector<std::unique_ptr<RecordingManager>> managers_;
};

}  // namespace kelp::test

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, recording_managers, kelp::test::RecordingManagers)
