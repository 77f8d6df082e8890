#pragma once

#include <kelp/bundlemgr/service_object.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>

#include <new>
#include <string>

namespace kelp::managers {

/// A manager's entry in the agent's start and stop order. The manager has no threads, so there is
/// nothing to start or end.
class PassiveInterface final : public NS_CORBA::CorbaI {
  public:
    PassiveInterface(const char* name, long startRank) : name_(name), startRank_(startRank) {}
    ~PassiveInterface() override = default;
    bool Init() override { return true; }
    void ExitThread() override {}
    void Destroy() override {}
    long Order() override { return startRank_; }
    const char* Name() override { return name_; }

  private:
    const char* const name_;
    const long startRank_;
};

template <class Servant>
class ServantFactory final : public NS_CORBA::NorthMgrFactory {
  public:
    ~ServantFactory() override = default;
    POA_common::Common_I* CreateServant() override { return new (std::nothrow) Servant; }
};

/// The service object of a bundle with one manager. It enters the manager before the agent starts
/// and removes it after the agent has stopped.
template <class Servant>
class ManagerBundle : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    /// `bundle` and `manager` are the names of the bundle and of the manager (TMF 814, SD1-15).
    /// They must live as long as the bundle.
    ManagerBundle(const char* bundle, const char* manager, long startRank)
        : ServiceObjectBase((std::string(bundle) + "_bundle").c_str(), bundle),
          bundle_(bundle),
          manager_(manager),
          interface_(manager, startRank) {}

    int init(int, char*[]) override {
        auto* agentConfig = NS_CORBA::CorbaBaseAgentConfig::Instance();
        if (!agentConfig->EnterNorthMgrFactory(manager_, &factory_)) {
            NS_CORBA::tracePoint("managerbundle");
            NS_CORBA::TaTrace(
                "[ManagerBundle::init] %s: another bundle serves the manager %s already", bundle_,
                manager_);
            return -1;
        }
        agentConfig->EnterManagerInterface(&interface_);
        return 0;
    }

    int fini() override { return 0; }

    void Shutdown() override {
        auto* agentConfig = NS_CORBA::CorbaBaseAgentConfig::Instance();
        agentConfig->LeaveManagerInterface(&interface_);
        agentConfig->LeaveNorthMgrFactory(manager_);
    }

  private:
    const char* const bundle_;
    const char* const manager_;
    PassiveInterface interface_;
    ServantFactory<Servant> factory_;
};

}  // namespace kelp::managers
