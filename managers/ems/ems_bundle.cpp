#include <ace/svc_export.h>
#include <kelp/admin/registry.h>

#include "alarms/alarm_keeping.h"
#include "alarms/alarm_requests.h"
#include "common/manager_bundle.h"
#include "ems_mgr.h"

namespace kelp::ems {

/// The service object of the bundle kelp_ems: the manager "EMS". While it is loaded it keeps the
/// list of alarms and answers the operator's requests about alarms.
class EmsBundle final : public managers::ManagerBundle<EmsMgr_IImpl> {
  public:
    static constexpr long kStartRank = 10;

    EmsBundle() : ManagerBundle("kelp_ems", "EMS", kStartRank) {}

    int init(int argc, char* argv[]) override {
        // first what throws on failure: the destructors of these members undo it
        keeping_.start();
        alarmRequests_.enter(admin::Registry::instance());
        return ManagerBundle::init(argc, argv);
    }

    void Shutdown() override {
        alarmRequests_.leave();
        keeping_.stop();
        ManagerBundle::Shutdown();
    }

  private:
    AlarmKeeping keeping_;
    AlarmRequests alarmRequests_;
};

}  // namespace kelp::ems

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_ems, kelp::ems::EmsBundle)
