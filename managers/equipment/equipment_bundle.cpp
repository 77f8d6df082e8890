#include <ace/svc_export.h>

#include "common/manager_bundle.h"
#include "equipment_mgr.h"

namespace kelp::equipmentinventory {

/// The service object of the bundle kelp_equipment: the manager "EquipmentInventory".
class EquipmentBundle final : public managers::ManagerBundle<EquipmentInventoryMgr_I> {
  public:
    static constexpr long kStartRank = 30;

    EquipmentBundle() : ManagerBundle("kelp_equipment", "EquipmentInventory", kStartRank) {}
};

}  // namespace kelp::equipmentinventory

ACE_FACTORY_NAMESPACE_DEFINE(ACE_Svc, kelp_equipment, kelp::equipmentinventory::EquipmentBundle)
