#include "equipment_mgr.h"

#include "common/attributes.h"
#include "common/find_object.h"

namespace kelp::equipmentinventory {

namespace {

using globaldefs::NamingAttributes_T;

constexpr managers::Capability kCapabilities[] = {
#define MANAGER_OPERATION MANAGER_CAPABILITY
#include "equipment_operations.inc"
#undef MANAGER_OPERATION
};

constexpr auto kKinds = {inventory::ObjectKind::EquipmentHolder, inventory::ObjectKind::Equipment};

}  // namespace

void EquipmentInventoryMgr_I::getCapabilities(common::CapabilityList_T_out capabilities) {
    capabilities = managers::capabilityList(kCapabilities);
}

void EquipmentInventoryMgr_I::setUserLabel(const NamingAttributes_T& object, const char* label,
                                           CORBA::Boolean isUnique) {
    managers::setUserLabel(kKinds, object, label, isUnique);
}

void EquipmentInventoryMgr_I::setNativeEMSName(const NamingAttributes_T& object, const char* name) {
    managers::setNativeEmsName(kKinds, object, name);
}

void EquipmentInventoryMgr_I::setOwner(const NamingAttributes_T& object, const char* owner) {
    managers::setOwner(kKinds, object, owner);
}

void EquipmentInventoryMgr_I::getEquipment(const NamingAttributes_T& name,
                                           equipment::EquipmentOrHolder_T_out either) {
    if (std::holds_alternative<inventory::HolderName>(managers::objectNamed(name)))
        either = managers::getObject<inventory::HolderName, equipment::EquipmentOrHolder_T>(name);
    else
        either =
            managers::getObject<inventory::EquipmentName, equipment::EquipmentOrHolder_T>(name);
}

}  // namespace kelp::equipmentinventory
