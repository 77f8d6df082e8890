#include "alarms/alarm_intake.h"
#include "ems_mgr.h"

#include <ace/svc_export.h>

#include <kelp/admin/registry.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/corbabase/base_config.h>
#include <kelp/corbabase/trace.h>

#include <new>

namespace kelp::ems {

namespace {

constexpr const char* kManagerName = "EMS";
constexpr long kStartRank = 10;

/// The manager's place in the agent's start and stop. It has no threads, so there is nothing to start or end.
class EmsInterface final : public NS_CORBA::CorbaI {
  public:
    ~EmsInterface() override = default;
    bool Init() override { return true; }
    void ExitThread() override {}
    void Destroy() override {}
    long Order() override { return kStartRank; }
    const char* Name() override { return kManagerName; }
};

class EmsMgrFactory final : public NS_CORBA::NorthMgrFactory {
  public:
    ~EmsMgrFactory() override = default;
    POA_common::Common_I* CreateServant() override { return new (std::nothrow) EmsMgr_IImpl; }
};

}  // namespace

/// The service object of the bundle kelp_ems: enters the manager "EMS" before the agent starts and takes it
/// back after the agent has stopped. Meanwhile it answers POST /alarms of the operator's interface.
class EmsBundle final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    EmsBundle() : ServiceObjectBase("kelp_ems_bundle", "kelp_ems") {}

    int init(int, char*[]) override {
        // first, since it raises what is wrong, and leaves by itself
        alarmRequests_ = admin::Registry::instance().enter(
            "POST", "/alarms", [this](const admin::Json& request) { return alarms_.take(request); });
        auto* agentConfig = NS_CORBA::CorbaBaseAgentConfig::Instance();
        if (!agentConfig->EnterNorthMgrFactory(kManagerName, &factory_)) {
            NS_CORBA::GetTss()->Set("emsbundle", "unknown", __LINE__);
            NS_CORBA::TaTrace("[EmsBundle::init] another bundle serves the manager %s already", kManagerName);
            return -1;
        }
        agentConfig->EnterManagerInterface(&interfaceOfManager_);
        return 0;
    }

    int fini() override { return 0; }

    void Shutdown() override {
        alarmRequests_.leave();
        auto* agentConfig = NS_CORBA::CorbaBaseAgentConfig::Instance();
        agentConfig->LeaveManagerInterface(&interfaceOfManager_);
        agentConfig->LeaveNorthMgrFactory(kManagerName);
    }

  private:
    EmsInterface interfaceOfManager_;
    EmsMgrFactory factory_;
    AlarmIntake alarms_;
    admin::Registration alarmRequests_;
};

}  // namespace kelp::ems

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_ems, kelp::ems::EmsBundle)
