#include <ace/svc_export.h>
#include <kelp/admin/registry.h>

#include "alarms/alarm_intake.h"
#include "alarms/alarm_keeping.h"
#include "common/manager_bundle.h"
#include "ems_mgr.h"

namespace kelp::ems {

/// The service object of the bundle kelp_ems: the manager "EMS". While it is loaded it keeps the
/// list of alarms and answers POST /alarms of the operator's interface.
class EmsBundle final : public managers::ManagerBundle<EmsMgr_IImpl> {
  public:
    static constexpr long kStartRank = 10;

    EmsBundle() : ManagerBundle("kelp_ems", "EMS", kStartRank) {}

    int init(int argc, char* argv[]) override {
        // first what throws on failure: the destructors of these members undo it
        keeping_.start();
        alarmRequests_ = admin::Registry::instance().enter(
            "POST", "/alarms", [](const admin::Json& request) { return acceptAlarms(request); });
        return ManagerBundle::init(argc, argv);
    }

    void Shutdown() override {
        alarmRequests_.leave();
        keeping_.stop();
        ManagerBundle::Shutdown();
    }

  private:
    AlarmKeeping keeping_;
    admin::Registration alarmRequests_;
};

}  // namespace kelp::ems

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_ems, kelp::ems::EmsBundle)
