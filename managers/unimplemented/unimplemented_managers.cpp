#include "unimplemented_managers.h"

#include <kelp/agent/error_translation.h>
#include <mtnm/emsMgr.h>
#include <mtnm/equipment.h>
#include <mtnm/flowDomain.h>
#include <mtnm/guiCutThrough.h>
#include <mtnm/mLSNPP.h>
#include <mtnm/mLSNPPLink.h>
#include <mtnm/maintenanceOps.h>
#include <mtnm/managedElementManager.h>
#include <mtnm/multiLayerSubnetwork.h>
#include <mtnm/performance.h>
#include <mtnm/protection.h>
#include <mtnm/softwareAndDataManager.h>
#include <mtnm/trafficConditioningProfile.h>
#include <mtnm/trafficDescriptor.h>
#include <mtnm/transmissionDescriptor.h>

#include "common/manager_bundle.h"

namespace kelp::unimplemented {

namespace {

void notImplemented() {
    NS_KELPCORBA::ThrowException(NS_KELPCORBA::kOperationNotImplemented);
}

/// The servant of a manager interface. Its specialisations are generated from the IDL.
template <class Skeleton>
class Unimplemented;

#include "unimplemented_managers.inc"

template <class Skeleton>
NS_CORBA::NorthMgrFactory* factoryOf() {
    static managers::ServantFactory<Unimplemented<Skeleton>> factory;
    return &factory;
}

}  // namespace

std::span<const UnimplementedManager> unimplementedManagers() {
    static const UnimplementedManager all[] = {
        {"EMS", factoryOf<POA_emsMgr::EMSMgr_I>()},
        {"ManagedElement", factoryOf<POA_managedElementManager::ManagedElementMgr_I>()},
        {"MultiLayerSubnetwork", factoryOf<POA_multiLayerSubnetwork::MultiLayerSubnetworkMgr_I>()},
        {"TrafficDescriptor", factoryOf<POA_trafficDescriptor::TrafficDescriptorMgr_I>()},
        {"PerformanceManagement", factoryOf<POA_performance::PerformanceManagementMgr_I>()},
        {"Protection", factoryOf<POA_protection::ProtectionMgr_I>()},
        {"EquipmentInventory", factoryOf<POA_equipment::EquipmentInventoryMgr_I>()},
        {"Maintenance", factoryOf<POA_maintenanceOps::MaintenanceMgr_I>()},
        {"softwareAndDataManager", factoryOf<POA_softwareAndDataManager::SoftwareAndDataMgr_I>()},
        {"transmissionDescriptor",
         factoryOf<POA_transmissionDescriptor::TransmissionDescriptorMgr_I>()},
        {"GuiCutThrough", factoryOf<POA_guiCutThrough::GuiCutThroughMgr_I>()},
        {"FlowDomain", factoryOf<POA_flowDomain::FlowDomainMgr_I>()},
        {"MultiLayerSNPPLink", factoryOf<POA_mLSNPPLink::MLSNPPLinkMgr_I>()},
        {"TrafficConditioningProfile", factoryOf<POA_trafficConditioningProfile::TCProfileMgr_I>()},
        {"MLSNPP", factoryOf<POA_mLSNPP::MLSNPPMgr_I>()}};
    return all;
}

}  // namespace kelp::unimplemented
