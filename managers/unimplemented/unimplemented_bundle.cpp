#include <ace/svc_export.h>
#include <kelp/bundlemgr/service_object.h>
#include <kelp/corbabase/base_config.h>

#include "unimplemented_managers.h"

namespace kelp::unimplemented {

/// The service object of the bundle kelp_unimplemented. It enters a fallback for every manager of
/// the standard, which is used where no bundle implements the manager. It must be loaded before the
/// agent. Its position among the other bundles does not matter.
class UnimplementedBundle final : public NS_BUNDLEMGR1::ServiceObjectBase {
  public:
    UnimplementedBundle() : ServiceObjectBase("kelp_unimplemented_bundle", "kelp_unimplemented") {}

    int init(int, char*[]) override {
        for (const UnimplementedManager& each : unimplementedManagers())
            NS_CORBA::CorbaBaseAgentConfig::Instance()->EnterFallbackMgrFactory(each.name,
                                                                                each.factory);
        return 0;
    }

    int fini() override { return 0; }

    void Shutdown() override {
        for (const UnimplementedManager& each : unimplementedManagers())
            NS_CORBA::CorbaBaseAgentConfig::Instance()->LeaveFallbackMgrFactory(each.name);
    }
};

}  // namespace kelp::unimplemented

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_unimplemented, kelp::unimplemented::UnimplementedBundle)
