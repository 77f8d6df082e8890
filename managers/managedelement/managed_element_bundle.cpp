#include <ace/svc_export.h>

#include "common/manager_bundle.h"
#include "managed_element_mgr.h"

namespace kelp::managedelement {

/// The service object of the bundle kelp_managedelement: the manager "ManagedElement".
class ManagedElementBundle final : public managers::ManagerBundle<ManagedElementMgr_I> {
  public:
    static constexpr long kStartRank = 20;

    ManagedElementBundle() : ManagerBundle("kelp_managedelement", "ManagedElement", kStartRank) {}
};

}  // namespace kelp::managedelement

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_managedelement,
                             kelp::managedelement::ManagedElementBundle)
