#include "subnetwork_mgr.h"

#include "common/attributes.h"
#include "common/find_object.h"

namespace kelp::multilayersubnetwork {

namespace {

using globaldefs::NamingAttributes_T;

constexpr managers::Capability kCapabilities[] = {
#define MANAGER_OPERATION MANAGER_CAPABILITY
#include "subnetwork_operations.inc"
#undef MANAGER_OPERATION
};

constexpr auto kKinds = {inventory::ObjectKind::Subnetwork, inventory::ObjectKind::TopologicalLink};

}  // namespace

void MultiLayerSubnetworkMgr_I::getCapabilities(common::CapabilityList_T_out capabilities) {
    capabilities = managers::capabilityList(kCapabilities);
}

void MultiLayerSubnetworkMgr_I::setUserLabel(const NamingAttributes_T& object, const char* label,
                                             CORBA::Boolean isUnique) {
    managers::setUserLabel(kKinds, object, label, isUnique);
}

void MultiLayerSubnetworkMgr_I::setNativeEMSName(const NamingAttributes_T& object,
                                                 const char* name) {
    managers::setNativeEmsName(kKinds, object, name);
}

void MultiLayerSubnetworkMgr_I::setOwner(const NamingAttributes_T& object, const char* owner) {
    managers::setOwner(kKinds, object, owner);
}

void MultiLayerSubnetworkMgr_I::getMultiLayerSubnetwork(
    const NamingAttributes_T& name, multiLayerSubnetwork::MultiLayerSubnetwork_T_out subnetwork) {
    subnetwork = managers::getObject<inventory::SubnetworkName,
                                     multiLayerSubnetwork::MultiLayerSubnetwork_T>(name);
}

void MultiLayerSubnetworkMgr_I::getTopologicalLink(const NamingAttributes_T& name,
                                                   topologicalLink::TopologicalLink_T_out link) {
    link = managers::getObject<inventory::LinkName, topologicalLink::TopologicalLink_T>(name);
}

}  // namespace kelp::multilayersubnetwork
