#include <ace/svc_export.h>

#include "common/manager_bundle.h"
#include "subnetwork_mgr.h"

namespace kelp::multilayersubnetwork {

/// The service object of the bundle kelp_multilayersubnetwork: the manager "MultiLayerSubnetwork".
class SubnetworkBundle final : public managers::ManagerBundle<MultiLayerSubnetworkMgr_I> {
  public:
    static constexpr long kStartRank = 40;

    SubnetworkBundle()
        : ManagerBundle("kelp_multilayersubnetwork", "MultiLayerSubnetwork", kStartRank) {}
};

}  // namespace kelp::multilayersubnetwork

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_multilayersubnetwork,
                             kelp::multilayersubnetwork::SubnetworkBundle)
